#include "korvane/tests/views/StripFixture.h"

#include <QAccessible>
#include <QQuickItem>

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

constexpr double middle = 400;  // x of the mark
constexpr double height = 60;   // y of a finger

std::string idOf(const std::shared_ptr<ScrubberEvent>& event) {
    if (!event) return "null";
    if (event->type() == ScrubberEventTypeLive) return "live";
    if (event->type() == ScrubberEventTypePending) return "pending";
    return std::to_string(event->identificator().value_or(-1));
}

}  // namespace

RecordingHost::RecordingHost() {
    delegate->OnScrubberDidSelectEvent = [this](const auto& event) { hear("select " + idOf(event)); };
    delegate->OnScrubberDraggingStartFlyOverEvent = [this](const auto& event) { hear("start " + idOf(event)); };
    delegate->OnScrubberDraggingContinueFlyOverEvent = [this](const auto& event) { hear("continue " + idOf(event)); };
    delegate->OnScrubberDraggingEndFlyOverEvent = [this](const auto& event) { hear("end " + idOf(event)); };
    delegate->OnScrubberStateChangedFrom = [this](auto from, auto to, auto status) {
        hear("state " + std::to_string(from) + ">" + std::to_string(to) + " " + std::to_string(status));
    };
    delegate->OnScrubberSetCurrentPositionForPlayingEvent = [this](const auto& event, TimeMs position) {
        hear("seek " + idOf(event) + " " + std::to_string(position));
    };
    delegate->onSharedTokenWillExpireIn = [this](std::int64_t) {
        hear("expires");
        return 5;
    };
}

void RecordingHost::hear(const std::string& line) {
    lines.push_back(line);
    for (const auto& [prefix, action] : std::map(on)) {
        if (line.starts_with(prefix)) action();
    }
}

std::shared_ptr<ScrubberEvent> OwnEvents::OnScrubberGetEventByIndex(std::int64_t index) {
    if (index < 0 || index >= count) return nullptr;
    auto& event = made[index];
    if (event) return event;
    ScrubberEvent::Fields fields;
    fields.type = index == 0           ? ScrubberEventTypeHead
                  : index == count - 1 ? ScrubberEventTypeLive
                                       : ScrubberEventTypeItem;
    if (fields.type == ScrubberEventTypeItem) {
        fields.identificator = index;
        fields.timeAsValue = 1'000'000 + index * 60'000;
        fields.start = fields.timeAsValue - 5'000;
        fields.end = fields.timeAsValue + 45'000;
    }
    fields.timezone = "UTC";
    return event = std::make_shared<ScrubberEvent>(fields);
}

std::string spoken(ScrubberWidget& scrubber) {
    for (QQuickItem* child : scrubber.childItems()) {
        QAccessibleInterface* const heard = QAccessible::queryAccessibleInterface(child);
        if (!heard || heard->role() != QAccessible::Slider || !heard->valueInterface()) continue;
        const QAccessibleValueInterface& value = *heard->valueInterface();
        return QStringLiteral("%1 of %2..%3 | %4 | %5")
            .arg(value.currentValue().toInt())
            .arg(value.minimumValue().toInt())
            .arg(value.maximumValue().toInt())
            .arg(heard->text(QAccessible::Name), heard->text(QAccessible::Description))
            .toStdString();
    }
    return "nothing";
}

StripTest::StripTest()
    : service_(ui_.scheduler()), environment_{nullptr, std::shared_ptr<KorvaneService>(&service_, [](auto*) {})} {
    makeView();
}

void StripTest::makeView() {
    view_ = std::make_unique<ScrubberView>(environment_, Rect{}, ui_.root());
    view_->getConfig().setCellWidth(100);
    view_->applyConfig();
    view_->setDelegate(host_.delegate);
    settle();
}

StripTest::~StripTest() {
    view_.reset();
    service_.releaseAll();
    settle();
}

void StripTest::load(std::int64_t events) {
    service_.addEvents(events, ui_.scheduler().utcNow());
    EXPECT_EQ(view_->setSource(QString::fromStdString(service_.makeToken())), 0);
    comeToRestUnheard();
}

std::shared_ptr<OwnEvents> StripTest::show(std::int64_t entries) {
    auto source = std::make_shared<OwnEvents>(entries);
    view_->setDataSourceDelegate(source);
    view_->reload();
    comeToRestUnheard();
    return source;
}

void StripTest::comeToRestUnheard() {
    settle();
    ui_.advance(50ms);
    host_.take();
}

ScrubberCollectionView& StripTest::strip() const {
    return *qvariant_cast<ScrubberCollectionView*>(view_->contentView()->property("scrubberEventsCollectionView"));
}

ScrubberCell* StripTest::cell(std::int64_t index) const {
    return qobject_cast<ScrubberCell*>(strip().cellForItemAtIndexPath(index));
}

void StripTest::moveTo(std::int64_t index, double offset) {
    strip().setContentOffset({frame(index).x + 1.5 + offset - middle, 0});
    settle();
}

void StripTest::drag(double by) {
    ui_.drag({middle, height}, {middle + by, height}, 200ms, true);
}

void StripTest::dragToRest(double by) {
    drag(by);
    ui_.advance(1100ms);
}

}  // namespace korvane::test
