#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderProgressLayer.h"

#include <algorithm>
#include <cmath>

#include "korvane/base/Log.h"
#include "korvane/base/SaturatingTime.h"
#include "korvane/toolkit/Canvas.h"
#include "korvane/toolkit/Path.h"
#include "korvane/views/timeline/Model/Ruler/RulerBars.h"
#include "korvane/views/timeline/Presentation/Timeline/AbsentColor.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderDelegate.h"

namespace korvane {
namespace {

constexpr const char* tag = "TimelineSliderPregress";
constexpr float noKnob = -1;
constexpr double ringWidth = 2;

// Each stands out from white as well as from black.
constexpr QColor loadingColor(0x3D, 0x8B, 0xFF, 0xA0);
constexpr QColor failedColor(0xE5, 0x53, 0x3D, 0xD0);
constexpr QColor emptyColor(0x8E, 0x8E, 0x93, 0xA0);
constexpr double stateHeight = 4;
constexpr double emptyHeight = 2;
constexpr double dash = 6;
constexpr double dashStride = 10;
constexpr float longestStateScale = 0.25F * RulerSectors::sectorLength;  // a sector is then four points wide

TimeSec sectorOf(TimeSec time) {
    return time / RulerSectors::sectorLength * RulerSectors::sectorLength;
}

TimeSec endOf(TimeSec sector) {
    return saturatingAdd(sector, RulerSectors::sectorLength);
}

void drawDisc(Canvas& canvas, const Rect& rect) {
    Path ring;
    ring.addEllipseInRect(rect);
    canvas.addPath(ring);
    canvas.strokePath();
    canvas.fillEllipse(rect);
}

Rect square(double x, double y, double side) {
    return {x - side * 0.5, y - side * 0.5, side, side};
}

}  // namespace

TimeSec TimelineSliderProgressLayer::presentTime() const {
    return scheduler_->utcNow() / 1000;
}

void TimelineSliderProgressLayer::updateTimelineData() {
    const TimeSec k = sectorOf(window().left());
    if (k >= window().right()) return;
    if (k > presentTime()) return trace(3, tag, "updateTimelineData No data from future");
    if (cbk) cbk->updateTimeline(k, endOf(k));
}

void TimelineSliderProgressLayer::drawInContext(Canvas& canvas) {
    const RulerWindow shown = window();
    const TimeSec position = current_position;
    const bool hasKnob = position > 0 && shown.scale() > 0;
    current_position_x = hasKnob ? shown.knobX(position) : noKnob;
    current_position_y = hasKnob ? static_cast<float>(frame().height * 0.5) : noKnob;
    drawRecords(canvas, shown);
    // After the demand of this draw, so that what it asks for shows as loading.
    if (showsSectorStates_ && records_) drawStates(canvas, shown, *records_->snapshot());
    follow(shown, position);
    if (hasKnob) drawKnob(canvas);
}

void TimelineSliderProgressLayer::drawRecords(Canvas& canvas, const RulerWindow& window) {
    if (!records_) return trace(3, tag, "drawInContext No records");
    const auto records = records_->snapshot();
    const TimeSec present = presentTime();
    const TimeSec right = window.right();
    canvas.setFillColor(orClear(fillColor_));
    TimeSec k = sectorOf(window.left());
    for (int i = 0; i < mostSectorsADraw && k < right; ++i, k = endOf(k)) {
        if (k > present) return trace(3, tag, "drawInContext No data from future");
        const auto found = records->find(k);
        const Timeline* const sector = found == records->end() ? nullptr : found->second.get();
        trace(3, tag, "drawInContext Timeline: [", k, "] ", static_cast<const void*>(sector));
        if (sector) {
            drawSector(canvas, window, *sector);
        } else {
            trace(3, tag, "drawInContext No data for sector time: [", k, ", ", endOf(k),
                  "] need leech data from server");
            if (cbk) cbk->updateTimeline(k, endOf(k));
        }
    }
}

void TimelineSliderProgressLayer::drawSector(Canvas& canvas, const RulerWindow& window, const Timeline& sector) const {
    const TimeSec left = window.left();
    const TimeSec right = window.right();
    if (left >= sector.end() || right <= sector.start()) return;
    trace(3, tag, "drawInContext <binary> Records in view lt ", left, " < ", sector.end(), " ; ", right, " > ",
          sector.start());
    if (!sector.periods() || sector.periods()->empty()) {
        return trace(3, tag, "drawInContext Wrong limits - empty records in period");
    }
    const double top = frame().height * 0.5 - trackWidth_ * 0.5;
    RulerBars bars(&sector, window, trackFillMode_, current_position_x);
    while (const auto bar = bars.next()) canvas.fillRect({bar->x0, top, bar->x1 - bar->x0, trackWidth_});
}

void TimelineSliderProgressLayer::drawStates(Canvas& canvas, const RulerWindow& window,
                                             const RulerSectors::Records& records) const {
    if (!(window.scale() > 0 && window.scale() <= longestStateScale)) return;
    const TimeSec right = std::min(window.right(), presentTime());
    for (TimeSec k = sectorOf(window.left()); k < right; k = endOf(k)) {
        if (records.contains(k)) continue;
        const double x0 = std::max(window.trackX(k), RulerWindow::leadingMargin);
        const double x1 = std::min<double>(window.trackX(std::min(endOf(k), right)), window.drawableWidth());
        if (x0 < x1) drawState(canvas, records_->state(k), x0, x1);
    }
}

void TimelineSliderProgressLayer::drawState(Canvas& canvas, RulerSectorState state, double x0, double x1) const {
    const auto fill = [&](const QColor& color, double from, double to, double height) {
        canvas.setFillColor(color);
        canvas.fillRect({from, frame().height * 0.5 - height * 0.5, to - from, height});
    };
    switch (state) {
        case RulerSectorState::Loading:
            for (double x = x0; x < x1; x += dashStride) fill(loadingColor, x, std::min(x + dash, x1), stateHeight);
            break;
        case RulerSectorState::Failed:
            fill(failedColor, x0, x1, stateHeight);
            break;
        case RulerSectorState::Empty:
            fill(emptyColor, x0, x1, emptyHeight);
            break;
        case RulerSectorState::Unknown:
        case RulerSectorState::Recorded:
            break;
    }
}

void TimelineSliderProgressLayer::follow(const RulerWindow& window, TimeSec position) {
    if (position <= 0) {
        is_current_position_visible = false;
        return;
    }
    if (position <= window.right()) {
        is_current_position_visible = true;
        is_ensure_visible = false;
        return;
    }
    const bool isWanted = is_current_position_visible || is_ensure_visible;
    is_current_position_visible = false;
    if (isWanted && !is_tracking_mode && cbk) cbk->makePositionVisible(position, current_position_x);
}

void TimelineSliderProgressLayer::drawKnob(Canvas& canvas) const {
    const double x = current_position_x;
    const double y = current_position_y;
    if (!knobImage_.isNull()) {
        const QSizeF size = knobImage_.deviceIndependentSize();
        canvas.drawImage(knobImage_, {x - size.width() * 0.5, y - size.height() * 0.5, size.width(), size.height()});
        return;
    }
    canvas.setLineWidth(ringWidth);
    canvas.setStrokeColor(orClear(knobColor_));
    canvas.setFillColor(Qt::white);
    drawDisc(canvas, square(x, y, 4.0 * trackWidth_));
    canvas.setFillColor(orClear(knobColor_));
    drawDisc(canvas, square(x, y, trackWidth_));
}

}  // namespace korvane
