#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderScaleLayer.h"

#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/UtcTime.h"
#include "korvane/toolkit/Canvas.h"
#include "korvane/toolkit/Path.h"
#include "korvane/views/timeline/Presentation/Timeline/AbsentColor.h"
#include "korvane/views/timeline/Presentation/Timeline/RulerTimeText.h"

namespace korvane {
namespace {

constexpr int fontSize = 10;

QFont labelFont() {
    QFont font;
    font.setPixelSize(fontSize);
    font.setBold(true);
    return font;
}

Path line(Point from, Point to) {
    Path path;
    path.moveToPoint(from);
    path.addLineToPoint(to);
    return path;
}

}  // namespace

TimelineSliderScaleLayer::TimeFormatter TimelineSliderScaleLayer::formatterOf(
    std::shared_ptr<const KorvaneHelpers> helpers) {
    if (!helpers) return {};
    return [helpers = std::move(helpers)](TimeSec time, const QString& format, const QString& zone) {
        return rulerTimeText(*helpers, time, format, zone, localTimeZoneName());
    };
}

TimelineSliderScaleLayer::TimelineSliderScaleLayer() : font_(labelFont()) {}

void TimelineSliderScaleLayer::setRange(TimeSec start, TimeSec end_time) {
    b_isRange = true;
    start_range = start;
    end_range = end_time;
}

void TimelineSliderScaleLayer::clean() {
    trace(1, "TimelineSliderScaleLayer", "clean");
}

void TimelineSliderScaleLayer::setTimeFormatter(TimeFormatter formatter) {
    formatter_ = std::move(formatter);
    shown_.clear();
}

void TimelineSliderScaleLayer::drawInContext(Canvas& canvas) {
    const LabelStyle style{timeFormat_.isEmpty() ? QStringLiteral("HH:mm (MMM dd)") : timeFormat_, timeZone_,
                           colorText_};
    if (style != style_) shown_.clear();
    style_ = style;
    nextShown_ = 0;
    const RulerTicks ticks(window(), {strokeStepWidth_, strokeTextNamingType_, strokeTextPositionType_});
    for (int i = 1; i <= ticks.count(); ++i) {
        if (!drawTick(canvas, ticks, ticks.tick(i))) break;
    }
    shown_.swap(showing_);
    showing_.clear();
    drawAxis(canvas);
}

/// False when neither this tick nor a later one has a label.
bool TimelineSliderScaleLayer::drawTick(Canvas& canvas, const RulerTicks& ticks, const RulerTick& tick) {
    const double height = frame().height;
    if (tick.hasLine) drawStroke(canvas, tick.x, height * 0.25, height * 0.5);
    const Label& label = labelOf(canvas, tick.time);
    if (label.text.string().text.isEmpty()) return true;
    if (tick.hasLine) drawStroke(canvas, tick.x, height * 3 * 0.25, height * 0.5);
    const auto x = ticks.labelX(tick.x, label.size.width);
    if (!x) return false;
    if (tick.hasLabel) {
        const double y = RulerTicks::labelY(tick.isLabelBelow, height);
        canvas.drawText(label.text, {*x, y, label.size.width, label.size.height}, orClear(colorTextBackground_));
    }
    return true;
}

void TimelineSliderScaleLayer::drawStroke(Canvas& canvas, double x, double fromY, double toY) const {
    canvas.setLineWidth(strokeWidth_);
    canvas.addPath(line({x, fromY}, {x, toY}));
    canvas.setStrokeColor(orClear(colorStroke_));
    canvas.strokePath();
}

void TimelineSliderScaleLayer::drawAxis(Canvas& canvas) const {
    const double y = frame().height * 0.5;
    const float from = RulerWindow::leadingMargin + lineWidth_ * 0.5F;
    canvas.setLineWidth(lineWidth_);
    canvas.setLineJoin(LineJoin::Round);
    canvas.setLineCap(LineCap::Round);
    canvas.addPath(line({from, y}, {window().drawableWidth() - 0.5 * lineWidth_, y}));
    canvas.setStrokeColor(orClear(colorLine_));
    canvas.strokePath();
}

TimelineSliderScaleLayer::Label& TimelineSliderScaleLayer::labelOf(Canvas& canvas, TimeSec time) {
    while (nextShown_ < shown_.size() && shown_[nextShown_].time < time) ++nextShown_;
    if (nextShown_ < shown_.size() && shown_[nextShown_].time == time) {
        showing_.push_back(std::move(shown_[nextShown_++]));
        return showing_.back();
    }
    const QString text = formatter_ ? formatter_(time, style_.format, style_.zone) : QString();
    const QColor color = style_.color.isValid() ? style_.color : QColor(Qt::black);
    Label label{time, TextLine(AttributedString{text, TextAlignmentCenter, font_, color, 0}), {}};
    label.size = canvas.measureText(label.text);
    showing_.push_back(std::move(label));
    return showing_.back();
}

}  // namespace korvane
