#include "korvane/apps/browser/StripHost.h"

#include <algorithm>
#include <utility>

#include "korvane/apps/browser/Glyph.h"

namespace korvane {

namespace {

// The built-in icons, and one for recordings.
QHash<QString, QImage> eventIcons() {
    auto icons = ScrubberConfig::builtInEventTypeImages();
    icons.insert(QStringLiteral("record_segment"), Glyph::image(Glyph::Recordings, 42));
    return icons;
}

std::int64_t idOf(const StripHost::Event& event) {
    return event ? event->identificator().value_or(0) : 0;
}

TimeMs distance(const ScrubberEvent& event, TimeMs moment) {
    return std::max<TimeMs>({0, event.start() - moment, moment - event.end()});
}

}  // namespace

StripHost::StripHost(Scheduler& scheduler, KorvanePlayer& player, const KorvaneHelpers& helpers, QObject* parent)
    : ScrubberHost(scheduler, player, helpers, parent) {
    callbacks().OnScrubberDraggingContinueFlyOverEvent = [this](const Event& event) { tellFlownOver(event); };
    callbacks().OnScrubberSetCurrentPositionForPlayingEvent = [this](const Event&, TimeMs newPosition) {
        this->player().setPosition(newPosition);
        emit flyOverEnded();
        emit sought();
    };
}

void StripHost::adjust(ScrubberConfig& config) const {
    config.setBackgroundCellColor(palette().cell);
    config.setEventTypeTintColor(palette().cellIcon);
    config.setDateTimeFormat(clockStyle().dayAndSeconds());
    config.setCellSeparatorWidth(2);
    config.setEventTypeImages(eventIcons());
    config.setDataSourceType(hasRecordings_ ? ScrubberDataSourceTypeRecords : ScrubberDataSourceTypeEvents);
    config.setEventGrouping(isGrouping_);
}

void StripHost::showRecordings(bool areRecordings) {
    hasRecordings_ = areRecordings;
}

void StripHost::group(bool isGrouping) {
    isGrouping_ = isGrouping;
    if (!view()) return;
    view()->enableEventGrouping(isGrouping);
    renewSelection();
}

bool StripHost::canDelete(const ScrubberEvent& event) const {
    return event.type() == ScrubberEventTypeItem && !hasRecordings_;
}

TimeMs StripHost::momentOf(const ScrubberEvent& event) const {
    const int type = event.type();
    if (type != ScrubberEventTypeItem && type != ScrubberEventTypeGroup) return -1;
    return helpers().parseUTCtime(event.time().value_or(std::string()));
}

void StripHost::toNext() {
    if (view()) view()->toNextEvent();
}

void StripHost::toPrevious() {
    if (view()) view()->toPreviousEvent();
}

void StripHost::toClosest(TimeMs moment) {
    if (view()) view()->toClosestEvent(ScrubberEvent::build(moment));
}

// Until the player is where the cell plays, it must not move the strip.
TimeMs StripHost::positionIn(const Event& event) const {
    const std::int64_t id = idOf(event);
    const TimeMs position = player().getPosition();
    return id != 0 && id == followed_ && position >= event->start() ? position : -1;
}

void StripHost::setSelected(const Event& event) {
    selected_ = event;
    followed_ = idOf(event);
    isSelectionPending_ = event && event->type() == ScrubberEventTypePending;
}

// A player that goes on behind the entry has not played it to its end.
void StripHost::tell(Told told, const Event& event) {
    setSelected(event);
    followed_ = 0;
    (this->*told)(event);
    if (selected_ == event && event && player().getPosition() <= event->end()) followed_ = idOf(event);
}

void StripHost::onSelected(const Event& event) {
    const auto wanted = takeWanted();
    const bool isAnswer = wanted && isAnswerTo(*wanted, event);
    const Event nearest = isAnswer ? nearestTo(*wanted, event) : event;
    isArrivalPending_ = isAnswer && nearest->type() == ScrubberEventTypePending;
    if (nearest != event) toEntry(nearest, false);
    tell(isAnswer ? &ScrubberHost::arrived : &ScrubberHost::selected, nearest);
}

// A wish may go unanswered; what a hand selects later is none of its business.
bool StripHost::isAnswerTo(TimeMs moment, const Event& event) const {
    if (!event || event->type() == ScrubberEventTypePending) return event != nullptr;
    const auto index = indexUnderMark();
    const Event next = index ? entry(*index + 1) : nullptr;
    const bool hasBegun = event->start() <= moment || (index && *index <= 1);
    return isRecorded(event) && hasBegun && (!isRecorded(next) || next->start() > moment);
}

// The strip tells of no selection when it begins with the entry that it was to begin with; it plays it.
void StripHost::onPlayStarted(const Event& event) {
    if (wanted() && view() && view()->getCurrentEvent() == event) onSelected(event);
}

// The strip goes to the last entry that has begun at a moment; the next one may be nearer.
StripHost::Event StripHost::nearestTo(TimeMs moment, const Event& event) const {
    const auto index = indexUnderMark();
    const Event next = index ? entry(*index + 1) : nullptr;
    const bool isNext = isRecorded(event) && isRecorded(next) && distance(*next, moment) < distance(*event, moment);
    return isNext ? next : event;
}

// The strip fills, folds and unfolds entries without telling of a selection.
void StripHost::renewSelection() {
    if (!selected_) return;
    const bool isFilled = isSelectionPending_ && isRecorded(selected_);
    const Event before = selected_;
    const Event now = inList(before);
    if (now != before) {
        setSelected(now);
        // The strip cannot know which of a group's events is on screen.
        if (before->type() == ScrubberEventTypeGroup) toEntry(now, false);
        emit renewed(now);
    }
    const bool isArrival = isFilled && std::exchange(isArrivalPending_, false);
    if (isFilled) tell(isArrival ? &ScrubberHost::arrived : &ScrubberHost::selected, selected_);
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
    const TimeMs position = player().getPosition();
    for (const Event& member : members)
        if (member->start() <= position && member->start() > found->start()) found = member;
    return found;
}

}  // namespace korvane
