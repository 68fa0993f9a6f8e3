#include "apps/browser/StripHost.h"

#include <QColor>
#include <QFont>
#include <algorithm>
#include <chrono>
#include <utility>

#include "apps/browser/Glyph.h"
#include "toolkit/ImageCache.h"
#include "toolkit/ToolkitContext.h"
#include "views/timeline/Presentation/Outlets.h"
#include "views/timeline/Presentation/Scrubber/ScrubberCell.h"
#include "views/timeline/Presentation/Scrubber/ScrubberCollectionView.h"

namespace korvane {

namespace {

// A page that was asked for is usually there by then.
constexpr std::chrono::milliseconds patience{500};

QFont labelFont(int pixels, QFont::Weight weight) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

// The built-in icons, and one for recordings.
QHash<QString, QImage> eventIcons() {
    return {{QStringLiteral("motion"), imageNamed(QStringLiteral("scrubberEventTypeMotion"))},
            {QStringLiteral("doorbell"), imageNamed(QStringLiteral("scrubberEventTypeDoorbellMissed"))},
            {QStringLiteral("record_segment"), Glyph::image(Glyph::Recordings, 42)}};
}

bool isRecorded(const StripHost::Event& event) {
    return event && (event->type() == ScrubberEventTypeItem || event->type() == ScrubberEventTypeGroup);
}

std::int64_t idOf(const StripHost::Event& event) {
    return event ? event->identificator().value_or(0) : 0;
}

// The colours of Theme.qml.
void makeDark(ScrubberConfig& config) {
    config.setBackgroundColor(QColor(0x0c, 0x0e, 0x11));
    config.setBackgroundCellColor(QColor(0x16, 0x19, 0x1e));
    config.setScrubberCenterMarkColor(QColor(0xe5, 0x48, 0x4d));
    config.setEventTypeTintColor(QColor(0x9a, 0xa1, 0xab));
    config.setDateTimeTextFont(labelFont(11, QFont::Normal));
    config.setDateTimeTextColor(QColor(0xd6, 0xda, 0xdf));
    config.setDateTimeFormat(QStringLiteral("EEE HH:mm:ss"));
    config.setLiveViewTextFont(labelFont(13, QFont::Normal));
    config.setLiveViewTextColor(QColor(0x9a, 0xa1, 0xab));
    config.setCellSeparatorWidth(2);
    config.setCellWidth(160);
    config.setEventTypeImages(eventIcons());
}

}  // namespace

StripHost::StripHost(Scheduler& scheduler, KorvanePlayer& player, const KorvaneHelpers& helpers, QObject* parent)
    : QObject(parent),
      scheduler_(scheduler),
      player_(player),
      helpers_(helpers),
      delegate_(std::make_shared<ScrubberViewDelegate>()) {
    fill(*delegate_);
    fillPlayback(*delegate_);
}

void StripHost::attach(ScrubberView* view) {
    view_ = view;
    if (!view_) return;
    makeDark(view_->getConfig());
    // The answer to a finished entry decides alone, so that it may change while one plays.
    view_->getConfig().setContinuousEventPlaying(true);
    view_->applyConfig();
    view_->setDelegate(delegate_);
}

void StripHost::showRecordings(bool areRecordings) {
    hasRecordings_ = areRecordings;
}

void StripHost::group(bool isGrouping) {
    isGrouping_ = isGrouping;
}

std::int32_t StripHost::open(const QString& token, TimeMs moment) {
    endFlyOver();
    selectedId_ = 0;
    wanted_ = moment > 0 ? std::optional(moment) : std::nullopt;
    if (!view_) return -1;
    view_->getConfig().setDataSourceType(hasRecordings_ ? ScrubberDataSourceTypeRecords : ScrubberDataSourceTypeEvents);
    view_->getConfig().setEventGrouping(isGrouping_);
    forgetPictures();
    return view_->setSource(token);
}

// They are kept by camera and number alone, and an event and a recording may have the same; so may two services.
void StripHost::forgetPictures() {
    // Nor may a picture that is on its way come in later.
    for (ScrubberCell* const cell : view_->findChildren<ScrubberCell*>()) cell->clean();
    ToolkitContext::shared()->imageCache->clearMemory();
}

std::int64_t StripHost::count() const {
    return view_ ? std::max<std::int64_t>(0, view_->getEventsCount() - 2) : 0;
}

bool StripHost::isReady() const {
    return view_ && view_->getState() == ScrubberStateReady && count() > 0;
}

StripHost::Event StripHost::entry(std::int64_t index) const {
    return view_ ? view_->getEvent(index) : nullptr;
}

std::optional<std::int64_t> StripHost::indexUnderMark() const {
    return view_ ? view_->getIndexPathFromPointer() : IndexPath();
}

TimeMs StripHost::momentOf(const ScrubberEvent& event) const {
    const int type = event.type();
    if (type != ScrubberEventTypeItem && type != ScrubberEventTypeGroup) return -1;
    return helpers_.parseUTCtime(event.time().value_or(std::string()));
}

// Near the mark, the last entry that has begun at `moment`, if it goes on until then or nothing follows; else the one
// after it. Null when there is neither.
StripHost::Event StripHost::entryFor(TimeMs moment) const {
    std::int64_t index = indexUnderMark().value_or(0);
    const auto begins = [this](const Event& event) { return momentOf(*event); };
    const auto at = [this](std::int64_t wanted) {
        const Event found = entry(wanted);
        return isRecorded(found) ? found : nullptr;
    };
    while (at(index - 1) && (!at(index) || begins(at(index)) > moment)) --index;
    while (at(index + 1) && begins(at(index + 1)) <= moment) ++index;
    const Event found = at(index);
    const bool isOver = found && found->end() < moment;
    const Event next = isOver ? at(index + 1) : nullptr;
    return next ? next : found;
}

void StripHost::fill(ScrubberViewDelegate& delegate) {
    delegate.OnScrubberDidSelectEvent = [this](const Event& event) { onSelected(event); };
    delegate.OnScrubberDraggingStartFlyOverEvent = [this](const Event&) { isDragging_ = true; };
    delegate.OnScrubberDraggingContinueFlyOverEvent = [this](const Event& event) { onFlownOver(event); };
    delegate.OnScrubberDraggingEndFlyOverEvent = [this](const Event&) { endFlyOver(); };

    // These come on other threads as well.
    delegate.OnScrubberStateChangedFrom = [&scheduler = scheduler_, tell = life_.guard([this](int state, int status) {
        onState(state, status);
    })](std::int32_t, std::int32_t toState, std::int32_t withStatus) {
        scheduler.post([tell, toState, withStatus]() mutable { tell(toState, withStatus); });
    };
    delegate.onSharedTokenWillExpireIn = [&scheduler = scheduler_, tell = life_.guard([this](qint64 left) {
        emit tokenWillExpire(left);
    })](std::int64_t timeLeft) {
        scheduler.post([tell, timeLeft]() mutable { tell(timeLeft); });
        return 0;
    };
}

void StripHost::fillPlayback(ScrubberViewDelegate& delegate) {
    // A cell may be at play for a moment where the player is not, after a page came in or while the strip looks for its
    // place. It must not move the strip.
    delegate.OnScrubberGetCurrentPositionForPlayingEvent = [this](const Event& event) -> TimeMs {
        const std::int64_t id = idOf(event);
        const TimeMs position = player_.getPosition();
        return id != 0 && id == selectedId_ && position >= event->start() ? position : -1;
    };
    delegate.OnScrubberSetCurrentPositionForPlayingEvent = [this](const Event& event, TimeMs newPosition) {
        const bool isSelected = idOf(event) == selectedId_;
        if (isSelected) player_.setPosition(newPosition);
        endFlyOver();
        // A page that came in under the finger has put its own cell to play.
        if (!isSelected) return scheduler_.post(life_.guard([this] { realign(); }));
        emit sought();
    };
    delegate.OnScrubberEventPlayFinished =
        [this, tell = life_.guard([this](const Event& event) { emit playFinished(event); })](const Event& event) {
            scheduler_.post([tell, event]() mutable { tell(event); });
            return isPlayingOn_ ? 1 : 0;
        };
}

void StripHost::onState(int state, int status) {
    const bool isLoaded = std::exchange(state_, state) == ScrubberStateLoading && state == ScrubberStateReady;
    if (isLoaded && (status != 0 || count() == 0)) wanted_.reset();
    if (isLoaded && wanted_) view_->toClosestEvent(ScrubberEvent::build(*wanted_));
    emit stateChanged(state, status);
}

void StripHost::onSelected(const Event& event) {
    endFlyOver();
    const auto index = indexUnderMark();
    const Event under = index ? entry(*index) : nullptr;
    if (under && event && under != event) {
        // A page came in and selects an entry of its own, wherever the strip stands. That cell is put to play now.
        scheduler_.post(life_.guard([this] { realign(); }));
        return;
    }
    const Event chosen = event ? event : under;
    if (const auto moment = std::exchange(wanted_, std::nullopt)) {
        // The strip goes to what begins after a moment; its neighbour may hold it. What lies further off the person has
        // chosen meanwhile; but among groups the strip only guesses at first.
        const Event wanted = entryFor(*moment);
        const bool isNear = index && (wanted == entry(*index - 1) || wanted == entry(*index + 1));
        if (wanted && wanted != chosen && (isNear || isGrouping_)) return view_->toEvent(wanted);
    }
    select(chosen);
}

void StripHost::select(const Event& chosen) {
    selectedId_ = idOf(chosen);
    // A selection does not make itself the strip's position, to which the strip returns when its size changes.
    if (isRecorded(chosen))
        view_->toEvent(chosen, false, false);
    else if (chosen && chosen->type() == ScrubberEventTypeLive)
        view_->toEvent(nullptr, false, false);
    else if (chosen && chosen->type() == ScrubberEventTypePending)
        scheduler_.after(patience, life_.guard([this, chosen] { loadIfForgotten(chosen); }));
    emit selected(chosen);
}

void StripHost::realign() {
    const auto index = indexUnderMark();
    const Event under = index ? entry(*index) : nullptr;
    if (isDragging_ || !under) return;
    if (under->type() == ScrubberEventTypeLive) return view_->toEvent(nullptr, selectedId_ != 0, true);
    if (isRecorded(under)) view_->toEvent(under, idOf(under) != selectedId_, true);
}

void StripHost::loadIfForgotten(const Event& event) {
    // The ways from one entry to the next ask for nothing, where a tap or a drag does.
    const auto index = indexUnderMark();
    const bool isWaiting = !isDragging_ && index && entry(*index) == event && asked_.lock() != event;
    if (!isWaiting || event->type() != ScrubberEventTypePending) return;
    asked_ = event;
    tap(*index);
}

void StripHost::tap(std::int64_t index) {
    auto* const strip = view_ ? view_->findChild<ScrubberCollectionView*>() : nullptr;
    if (strip) view_->collectionViewDidSelectItemAtIndexPath(*strip, index);
}

void StripHost::onFlownOver(const Event& event) {
    wanted_.reset();
    if (event != flownOver_) restore();
    flownOver_ = event;
    if (isRecorded(event))
        emit flownOver(event->timeAsValue(), QString::fromStdString(event->timezone()));
    else
        emit flyOverEnded();
}

void StripHost::endFlyOver() {
    isDragging_ = false;
    restore();
    emit flyOverEnded();
}

void StripHost::restore() {
    // What a drag wrote into an entry would keep the strip from finding it by its moment.
    if (flownOver_) flownOver_->setTimeAsValue(momentOf(*flownOver_));
    flownOver_ = nullptr;
}

}  // namespace korvane
