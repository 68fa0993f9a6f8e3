#include "korvane/apps/browser/TimelineHost.h"

#include <QColor>
#include <QPainter>
#include <algorithm>

namespace korvane {

namespace {

// The strip draws the icons in their own colours.
QImage tinted(QImage icon, const QColor& color) {
    QPainter painter(&icon);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(QRectF({}, icon.deviceIndependentSize()), color);
    return icon;
}

}  // namespace

TimelineHost::TimelineHost(Scheduler& scheduler, KorvanePlayer& player, const KorvaneHelpers& helpers, QObject* parent)
    : ScrubberHost(scheduler, player, helpers, parent) {
    callbacks().OnScrubberFlyOverEvent = [this](const Event& event) { tellFlownOver(event); };
}

void TimelineHost::adjust(ScrubberConfig& config) const {
    const QColor ink = palette().segmentIcon;
    auto icons = ScrubberConfig::builtInEventTypeImages();
    for (QImage& icon : icons) icon = tinted(icon, ink);
    config.setDataSourceType(ScrubberDataSourceTypeTimeline);
    config.setBackgroundCellColor(palette().segment);
    config.setEventTypeTintColor(ink);
    config.setEventTypeImages(icons);
    config.setDateTimeFormat(clockStyle().minutes());
    config.setCellSeparatorWidth(0);
    if (!zone_.isEmpty()) config.setDateTimeZone(zone_);
}

bool TimelineHost::isAt(const Event& event, std::int64_t index) const {
    const Event there = entry(index);
    return event && there && there->type() == event->type() && there->start() == event->start();
}

TimeMs TimelineHost::momentOf(const ScrubberEvent& event) const {
    return event.type() == ScrubberEventTypeItem ? event.timeAsValue() : -1;
}

void TimelineHost::toNext() {
    if (view()) view()->toNextEvent();
}

void TimelineHost::toPrevious() {
    if (!view()) return;
    // The strip knows no segment before the live end while it rests there.
    const Event current = view()->getCurrentEvent();
    if (view()->isAtRest() && !isRecorded(current))
        view()->toLastEvent();
    else
        view()->toPreviousEvent();
}

void TimelineHost::toClosest(TimeMs moment) {
    const std::int64_t index = firstEndingAfter(moment);
    const Event segment = index <= count() ? entry(index) : nullptr;
    toEntry(segment ? ScrubberEvent::build(std::max(moment, segment->start())) : nullptr, true);
}

// The index behind the last entry when there is none.
std::int64_t TimelineHost::firstEndingAfter(TimeMs moment) const {
    std::int64_t from = 1;
    std::int64_t until = count() + 1;
    while (from < until) {
        const std::int64_t middle = from + (until - from) / 2;
        const Event segment = entry(middle);
        if (segment && segment->end() > moment)
            until = middle;
        else
            from = middle + 1;
    }
    return from;
}

// The nearest moment that a segment holds; the player may stand right behind the end of one.
TimeMs TimelineHost::recordedNear(TimeMs moment) const {
    const std::int64_t index = firstEndingAfter(moment);
    const Event next = index <= count() ? entry(index) : nullptr;
    const Event before = index > 1 ? entry(index - 1) : nullptr;
    const bool isInGap = !next || next->start() > moment;
    if (isInGap && before && (!next || moment - before->end() < next->start() - moment))
        return std::max(before->start(), before->end() - 1);
    return next ? std::max(moment, next->start()) : moment;
}

// Where a segment holds the wanted moment, the strip goes there by itself.
void TimelineHost::onLoaded() {
    const TimeMs near = wanted() ? recordedNear(*wanted()) : -1;
    if (wanted() && near != *wanted()) toEntry(ScrubberEvent::build(near), false);
}

void TimelineHost::onSelected(const Event& event) {
    takeWanted();
    emit selected(event);
}

// Where one segment follows another, or the strip begins with one, no selection is told.
void TimelineHost::onPlayStarted(const Event& event) {
    const Event current = view() ? view()->getCurrentEvent() : nullptr;
    if (!event || !current || current->start() != event->start()) return;
    if (takeWanted())
        emit arrived(current);
    else
        emit renewed(current);
}

TimeMs TimelineHost::positionIn(const Event& event) const {
    const TimeMs position = player().getPosition();
    return isHeld_ && event ? std::min(position, std::max(event->start(), event->end() - 1)) : position;
}

}  // namespace korvane
