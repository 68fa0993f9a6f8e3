#include "korvane/apps/browser/StripHost.h"

#include <QColor>
#include <QFont>
#include <algorithm>
#include <utility>

#include "korvane/apps/browser/Glyph.h"

namespace korvane {

namespace {

QFont labelFont(int pixels, QFont::Weight weight) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

// The built-in icons, and one for recordings.
QHash<QString, QImage> eventIcons() {
    auto icons = ScrubberConfig::builtInEventTypeImages();
    icons.insert(QStringLiteral("record_segment"), Glyph::image(Glyph::Recordings, 42));
    return icons;
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
    if (!view_) return;
    view_->enableEventGrouping(isGrouping);
    renewSelection();
}

std::int32_t StripHost::open(const QString& token, TimeMs moment) {
    emit flyOverEnded();
    setSelected(nullptr);
    wanted_ = moment > 0 ? std::optional(moment) : std::nullopt;
    if (!view_) return -1;
    view_->getConfig().setDataSourceType(hasRecordings_ ? ScrubberDataSourceTypeRecords : ScrubberDataSourceTypeEvents);
    view_->getConfig().setEventGrouping(isGrouping_);
    return wanted_ ? view_->setSource(token, moment) : view_->setSource(token);
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

void StripHost::fill(ScrubberViewDelegate& delegate) {
    delegate.OnScrubberDidSelectEvent = [this](const Event& event) { onSelected(event); };
    delegate.OnScrubberDraggingContinueFlyOverEvent = [this](const Event& event) { onFlownOver(event); };
    delegate.OnScrubberDraggingEndFlyOverEvent = [this](const Event&) { emit flyOverEnded(); };

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
    // Until the player is where the cell plays, it must not move the strip.
    delegate.OnScrubberGetCurrentPositionForPlayingEvent = [this](const Event& event) -> TimeMs {
        const std::int64_t id = idOf(event);
        const TimeMs position = player_.getPosition();
        return id != 0 && id == selectedId_ && position >= event->start() ? position : -1;
    };
    delegate.OnScrubberSetCurrentPositionForPlayingEvent = [this](const Event&, TimeMs newPosition) {
        player_.setPosition(newPosition);
        emit flyOverEnded();
        emit sought();
    };
    // The strip tells of no selection when it begins with the entry that it was to begin with; it plays it.
    delegate.OnScrubberEventPlayStarted = [this, tell = life_.guard([this](const Event& event) {
        if (wanted_ && view_ && view_->getCurrentEvent() == event) onSelected(event);
    })](const Event& event) {
        scheduler_.post([tell, event]() mutable { tell(event); });
        return 0;
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
    emit stateChanged(state, status);
    renewSelection();
}

void StripHost::setSelected(const Event& event) {
    selected_ = event;
    selectedId_ = idOf(event);
    isSelectionPending_ = event && event->type() == ScrubberEventTypePending;
}

void StripHost::onSelected(const Event& event) {
    emit flyOverEnded();
    wanted_.reset();
    setSelected(event);
    emit selected(event);
}

// The strip fills, folds and unfolds entries without telling of a selection.
void StripHost::renewSelection() {
    if (!selected_) return;
    const bool isFilled = isSelectionPending_ && isRecorded(selected_);
    const Event before = selected_;
    setSelected(inList(before));
    if (selected_ != before) {
        // The strip cannot know which of a group's events is on screen.
        if (before->type() == ScrubberEventTypeGroup) view_->toEvent(selected_, false);
        emit renewed(selected_);
    }
    if (isFilled) emit selected(selected_);
}

// The group that has taken an entry in; of a group that is none any more, the last event that has begun.
StripHost::Event StripHost::inList(const Event& event) const {
    const auto members = event->childs();
    if (isGrouping_ || members.empty()) {
        const Event group = isGrouping_ ? event->parent() : nullptr;
        return group ? group : event;
    }
    const auto byBegin = [](const Event& one, const Event& other) { return one->start() < other->start(); };
    Event found = *std::min_element(members.begin(), members.end(), byBegin);
    const TimeMs position = player_.getPosition();
    for (const Event& member : members)
        if (member->start() <= position && member->start() > found->start()) found = member;
    return found;
}

void StripHost::onFlownOver(const Event& event) {
    wanted_.reset();
    if (isRecorded(event))
        emit flownOver(event->timeAsValue(), QString::fromStdString(event->timezone()));
    else
        emit flyOverEnded();
}

}  // namespace korvane
