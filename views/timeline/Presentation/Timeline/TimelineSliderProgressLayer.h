#pragma once

#include <QColor>
#include <QImage>
#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

#include "korvane/base/Scheduler.h"
#include "korvane/base/Time.h"
#include "korvane/client/Timeline.h"
#include "korvane/toolkit/PaintedLayer.h"
#include "korvane/views/timeline/Model/Ruler/RulerSectors.h"
#include "korvane/views/timeline/Model/Ruler/RulerWindow.h"

namespace korvane {

class TimelineSliderDelegate;

/// The front of a ruler: the recorded time as bars along the axis, and the knob that shows the position. Drawing asks
/// the delegate for the sectors that it lacks and has it follow a position that runs off to the right. Times are
/// seconds since the epoch, lengths points. Nothing that is set asks for a repaint. A colour that is not valid is
/// absent: nothing is drawn in it. Main thread only, except where told, and that drawing belongs to the thread that
/// draws the scene while the main thread waits.
class TimelineSliderProgressLayer final : public PaintedLayer {
  public:
    /// What a draw looks at; later sectors are left out.
    static constexpr int mostSectorsADraw = 100'000;

    /// `scheduler` is the clock: a sector that has not begun is neither shown nor asked for.
    explicit TimelineSliderProgressLayer(std::shared_ptr<Scheduler> scheduler) : scheduler_(std::move(scheduler)) {}

    void setCenterTime(TimeSec time) { centertime = time; }
    /// Seconds per point.
    void setTimeScale(float scale) { scale_px_sec = scale; }
    /// Seconds; 0 or less for no position. Any thread, as is the next one.
    void setCurrentPosition(TimeSec time) { current_position = time; }
    TimeSec getCurrentPosition() const { return current_position; }
    /// Where the knob was drawn last; -1 for no knob.
    float getLatestCurrentPositionX() const { return current_position_x; }
    float getLatestCurrentPositionY() const { return current_position_y; }
    /// What is shown, shared with who fills it; null for nothing.
    void setRecords(std::shared_ptr<RulerSectors> records) { records_ = std::move(records); }
    /// While it is on, the ruler does not follow the position: the user is scrolling.
    void trackingMode(bool isOn) { is_tracking_mode = isOn; }
    /// Has the ruler follow the position once, though it was not in view.
    void ensureVisible(bool isOn) { is_ensure_visible = isOn; }
    /// The position counts as not in view until it is drawn there, so that the ruler does not follow it.
    void letPositionGo() { is_current_position_visible = false; }
    /// Not owned; it lives until clean() or until another one, or null, is set.
    void setTimelineDelegate(TimelineSliderDelegate* view) { cbk = view; }
    /// Nobody is told of anything any more.
    void clean() { cbk = nullptr; }

    /// Asks for the sector at the left edge, whether it is there or not, unless it lies in the future.
    void updateTimelineData();

    /// Shows along the axis which sectors are being fetched, could not be, or have nothing recorded. False at first.
    bool showsSectorStates() const { return showsSectorStates_; }
    void setShowsSectorStates(bool shows) { showsSectorStates_ = shows; }

    /// 1 shows recorded time up to the knob only, others all of it.
    std::int32_t trackFillMode() const { return trackFillMode_; }
    void setTrackFillMode(std::int32_t mode) { trackFillMode_ = mode; }
    /// The height of the bars, which is a quarter of the knob's.
    float trackWidth() const { return trackWidth_; }
    void setTrackWidth(float width) { trackWidth_ = width; }
    /// These two are kept; no drawing reads them.
    float lineWidth() const { return lineWidth_; }
    void setLineWidth(float width) { lineWidth_ = width; }
    float scalePixelsPerSecond() const { return scalePixelsPerSecond_; }
    void setScalePixelsPerSecond(float scale) { scalePixelsPerSecond_ = scale; }
    /// Of the bars.
    const QColor& fillColor() const { return fillColor_; }
    void setFillColor(const QColor& color) { fillColor_ = color; }
    const QColor& knobColor() const { return knobColor_; }
    void setKnobColor(const QColor& color) { knobColor_ = color; }
    /// Null for the knob that is drawn. Its size is that of the image in points.
    const QImage& knobImage() const { return knobImage_; }
    void setKnobImage(const QImage& image) { knobImage_ = image; }

    void drawInContext(Canvas& canvas) override;

  private:
    RulerWindow window() const { return {centertime, scale_px_sec, frame().width}; }
    TimeSec presentTime() const;
    void drawRecords(Canvas& canvas, const RulerWindow& window);
    void drawSector(Canvas& canvas, const RulerWindow& window, const Timeline& sector) const;
    void drawStates(Canvas& canvas, const RulerWindow& window, const RulerSectors::Records& records) const;
    void drawState(Canvas& canvas, RulerSectorState state, double x0, double x1) const;
    void follow(const RulerWindow& window, TimeSec position);
    void drawKnob(Canvas& canvas) const;

    const std::shared_ptr<Scheduler> scheduler_;
    TimeSec centertime = 0;
    float scale_px_sec = 1;
    std::shared_ptr<RulerSectors> records_;
    TimelineSliderDelegate* cbk = nullptr;
    std::atomic<TimeSec> current_position = -1;
    float current_position_x = -1;
    float current_position_y = -1;
    bool is_tracking_mode = false;
    bool is_ensure_visible = false;
    bool is_current_position_visible = false;
    bool showsSectorStates_ = false;
    std::int32_t trackFillMode_ = 0;
    float trackWidth_ = 0;
    float lineWidth_ = 0;
    float scalePixelsPerSecond_ = 0;
    QColor fillColor_;
    QColor knobColor_;
    QImage knobImage_;
};

}  // namespace korvane
