#pragma once

#include <QColor>
#include <QFont>
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/toolkit/PaintedLayer.h"
#include "korvane/toolkit/TextLine.h"
#include "korvane/views/timeline/Model/Ruler/RulerTicks.h"
#include "korvane/views/timeline/Model/Ruler/RulerWindow.h"

namespace korvane {

class KorvaneHelpers;

/// The back of a ruler: its axis, ticks and labels. Times are seconds since the epoch, lengths points. Nothing that is
/// set asks for a repaint. A colour that is not valid is absent: nothing is drawn in it, and a text is black. Main
/// thread only, except that drawing belongs to the thread that draws the scene while the main thread waits.
class TimelineSliderScaleLayer : public PaintedLayer {
  public:
    /// A time as text, by a Unicode TS 35 pattern. An empty or unknown zone stands for the device's. An empty text is
    /// no label. Called while drawing, once for each label that comes into view.
    using TimeFormatter = std::function<QString(TimeSec time, const QString& format, const QString& zone)>;

    /// A formatter on the helpers of a service; none for null.
    static TimeFormatter formatterOf(std::shared_ptr<const KorvaneHelpers> helpers);

    TimelineSliderScaleLayer();

    void setCenterTime(TimeSec time) { centertime = time; }
    /// Seconds per point. What is no scale has the layer draw no ticks.
    void setTimeScale(float scale) { scale_px_sec = scale; }
    /// Kept, and changes nothing in the picture.
    void setRange(TimeSec start, TimeSec end_time);
    void unsetRange() { b_isRange = false; }
    /// The seconds that the layer's full drawable width shows.
    TimeSec getSector() const { return window().sector(); }
    /// What the layer shows.
    RulerWindow window() const { return {centertime, scale_px_sec, frame().width}; }
    void clean();

    /// At first there is none, and no label.
    void setTimeFormatter(TimeFormatter formatter);

    /// Of the axis line.
    float lineWidth() const { return lineWidth_; }
    void setLineWidth(float width) { lineWidth_ = width; }
    /// Of a tick.
    float strokeWidth() const { return strokeWidth_; }
    void setStrokeWidth(float width) { strokeWidth_ = width; }
    /// From tick to tick.
    float strokeStepWidth() const { return strokeStepWidth_; }
    void setStrokeStepWidth(float width) { strokeStepWidth_ = width; }
    /// 1 labels every other tick, others every tick.
    std::int32_t strokeTextNamingType() const { return strokeTextNamingType_; }
    void setStrokeTextNamingType(std::int32_t type) { strokeTextNamingType_ = type; }
    /// 0 sets labels below and above in turn, 2 all below, others all above.
    std::int32_t strokeTextPositionType() const { return strokeTextPositionType_; }
    void setStrokeTextPositionType(std::int32_t type) { strokeTextPositionType_ = type; }
    /// Kept; no drawing reads it.
    float scalePixelsPerSecond() const { return scalePixelsPerSecond_; }
    void setScalePixelsPerSecond(float scale) { scalePixelsPerSecond_ = scale; }
    const QColor& colorLine() const { return colorLine_; }
    void setColorLine(const QColor& color) { colorLine_ = color; }
    /// Of the ticks.
    const QColor& colorStroke() const { return colorStroke_; }
    void setColorStroke(const QColor& color) { colorStroke_ = color; }
    const QColor& colorText() const { return colorText_; }
    void setColorText(const QColor& color) { colorText_ = color; }
    const QColor& colorTextBackground() const { return colorTextBackground_; }
    void setColorTextBackground(const QColor& color) { colorTextBackground_ = color; }
    /// Kept; a range is not shown.
    const QColor& colorRange() const { return colorRange_; }
    void setColorRange(const QColor& color) { colorRange_ = color; }
    /// Of the labels; empty for "HH:mm (MMM dd)".
    const QString& timeFormat() const { return timeFormat_; }
    void setTimeFormat(const QString& format) { timeFormat_ = format; }
    const QString& timeZone() const { return timeZone_; }
    void setTimeZone(const QString& zone) { timeZone_ = zone; }
    /// Kept; no drawing reads it.
    TimeSec currentvalue() const { return currentvalue_; }
    void setCurrentvalue(TimeSec value) { currentvalue_ = value; }

    void drawInContext(Canvas& canvas) override;

  private:
    /// A text that has been laid out.
    struct Label {
        TimeSec time = 0;
        TextLine text;
        Size size;
    };
    /// What all labels depend on.
    struct LabelStyle {
        QString format;
        QString zone;
        QColor color;
        bool operator==(const LabelStyle&) const = default;
    };

    bool drawTick(Canvas& canvas, const RulerTicks& ticks, const RulerTick& tick);
    void drawStroke(Canvas& canvas, double x, double fromY, double toY) const;
    void drawAxis(Canvas& canvas) const;
    /// Kept by the layer until it is not shown any more.
    Label& labelOf(Canvas& canvas, TimeSec time);

    TimeSec centertime = 0;
    float scale_px_sec = 1;
    bool b_isRange = false;
    TimeSec start_range = 0;
    TimeSec end_range = 0;
    float lineWidth_ = 0;
    float strokeWidth_ = 0;
    float strokeStepWidth_ = 0;
    std::int32_t strokeTextNamingType_ = 0;
    std::int32_t strokeTextPositionType_ = 0;
    float scalePixelsPerSecond_ = 0;
    QColor colorLine_;
    QColor colorStroke_;
    QColor colorText_;
    QColor colorTextBackground_;
    QColor colorRange_;
    QString timeFormat_;
    QString timeZone_;
    TimeSec currentvalue_ = 0;

    TimeFormatter formatter_;
    const QFont font_;
    LabelStyle style_;
    /// By ascending time: what the last draw has shown and what the running one has shown so far.
    std::vector<Label> shown_;
    std::vector<Label> showing_;
    std::size_t nextShown_ = 0;
};

}  // namespace korvane
