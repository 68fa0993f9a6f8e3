#pragma once

#include <QColor>
#include <QImage>
#include <QString>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "korvane/base/Geometry.h"
#include "korvane/base/LifeToken.h"
#include "korvane/base/Time.h"
#include "korvane/toolkit/Control.h"
#include "korvane/views/timeline/Model/Ruler/RulerGesture.h"
#include "korvane/views/timeline/Model/Ruler/RulerRange.h"
#include "korvane/views/timeline/Model/Ruler/RulerWindow.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderDelegate.h"

namespace korvane {

class KorvaneHelpers;
class PaintedItem;
class RulerSectors;
class TapRecognizer;
class TimelineSliderProgressLayer;
class TimelineSliderScaleLayer;

/// A time axis that the user drags: ticks and labels behind, recorded time and the knob of the position in front. It
/// turns touches into times and tells its delegate; it knows no camera. Times are seconds since the epoch, lengths
/// points. valueChanged() tells that the user has moved the axis. Main thread only, except where told.
class TimelineSlider : public Control {
    Q_OBJECT
    QML_ELEMENT
    /// The user may change the scale with the wheel or two fingers; the second under them stays there. Not in a range.
    Q_PROPERTY(bool zoomEnabled READ isZoomEnabled WRITE setZoomEnabled NOTIFY settingsChanged)
    Q_PROPERTY(bool showsSectorStates READ showsSectorStates WRITE setShowsSectorStates NOTIFY settingsChanged)
    Q_PROPERTY(float lineWidth READ lineWidth WRITE setLineWidth NOTIFY settingsChanged)
    Q_PROPERTY(float trackWidth READ trackWidth WRITE setTrackWidth NOTIFY settingsChanged)
    Q_PROPERTY(float strokeWidth READ strokeWidth WRITE setStrokeWidth NOTIFY settingsChanged)
    Q_PROPERTY(float strokeStepWidth READ strokeStepWidth WRITE setStrokeStepWidth NOTIFY settingsChanged)
    Q_PROPERTY(int strokeTextNamingType READ strokeTextNamingType WRITE setStrokeTextNamingType NOTIFY settingsChanged)
    Q_PROPERTY(
        int strokeTextPositionType READ strokeTextPositionType WRITE setStrokeTextPositionType NOTIFY settingsChanged)
    Q_PROPERTY(int trackFillMode READ trackFillMode WRITE setTrackFillMode NOTIFY settingsChanged)
    Q_PROPERTY(QColor trackColor READ trackColor WRITE setTrackColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor lineColor READ lineColor WRITE setLineColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor strokeColor READ strokeColor WRITE setStrokeColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor textColor READ textColor WRITE setTextColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor textBackgroundColor READ textBackgroundColor WRITE setTextBackgroundColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor mainColor READ mainColor WRITE setMainColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor knobColor READ knobColor WRITE setKnobColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor rangeColor READ rangeColor WRITE setRangeColor NOTIFY settingsChanged)
    Q_PROPERTY(QImage knobImage READ knobImage WRITE setKnobImage NOTIFY settingsChanged)
    Q_PROPERTY(QColor trackHighlightColor READ trackHighlightColor WRITE setTrackHighlightColor NOTIFY settingsChanged)
    Q_PROPERTY(float curvatiousness READ curvatiousness WRITE setCurvatiousness NOTIFY settingsChanged)
    Q_PROPERTY(
        float scalePixelsPerSecond READ scalePixelsPerSecond WRITE setScalePixelsPerSecond NOTIFY settingsChanged)
    Q_PROPERTY(float maximumValue READ maximumValue WRITE setMaximumValue)
    Q_PROPERTY(float minimumValue READ minimumValue WRITE setMinimumValue)
    Q_PROPERTY(float upperValue READ upperValue WRITE setUpperValue)
    Q_PROPERTY(float lowerValue READ lowerValue WRITE setLowerValue)
    Q_PROPERTY(QString timeFormat READ timeFormat WRITE setTimeFormat NOTIFY settingsChanged)
    Q_PROPERTY(QString timeZone READ timeZone WRITE setTimeZone NOTIFY settingsChanged)

  public:
    /// As QML makes it: a second takes a point, and a tap sets the position.
    explicit TimelineSlider(QQuickItem* parent = nullptr);
    /// As code makes it, at `frame` of its parent: it has no scale until setTimeScale(), and a tap does nothing.
    explicit TimelineSlider(const Rect& frame, QQuickItem* parent = nullptr);
    ~TimelineSlider() override;

    /// Of the middle of the axis. No repaint.
    void setCenterTime(TimeSec time);
    TimeSec getCenterTime() const { return center_time; }
    /// The position, 0 or less for none. No repaint. Any thread, as is the next one.
    void setCurrentPosition(TimeSec time);
    TimeSec getCurrentPosition() const;
    /// Seconds per point, from now on. In a range the centre is placed anew.
    void setTimeScale(float scale);
    float timeScale() const { return pix_scale; }
    /// Holds the view within two times, from now on; both are in it.
    void setRange(TimeSec start, TimeSec end_time);
    void unsetRange();
    /// Moves by one screen; in a range not past its ends. These three return the seconds that a screen shows.
    std::int64_t nextSector();
    std::int64_t prevSector();
    /// Centres `time`; ignored in a range.
    std::int64_t setSector(TimeSec time);

    /// What is shown as recorded, shared with who fills it; null for nothing.
    void setRecords(std::shared_ptr<RulerSectors> records);
    /// Not owned, and not watched: it must live until clean() or until another one, or null, is set.
    void setTimelineDelegate(TimelineSliderDelegate* view);
    /// Write the labels. Made without, the ruler takes those of TimelineEnvironment::shared(), or has no labels.
    void setHelpers(std::shared_ptr<const KorvaneHelpers> helpers);
    /// Asks for the sector at the left edge anew. Any thread; from others than the main thread it happens later there.
    void updateTimelineData();
    /// While it is on, the ruler does not follow the position.
    void trackingMode(bool isOn);
    /// Has the ruler follow the position once, though it is not in view.
    void ensureVisible(bool isOn);

    /// Repaints on a later turn of the main thread; any number of calls before it are one. Any thread.
    void timelineReload();
    /// Hands all settings to the layers and repaints.
    void redrawLayers();
    void setLayerFrames();
    void orientationChanged() { setLayerFrames(); }
    void handlePositionTap(const TapRecognizer& recognizer);
    /// The ruler shows nothing, tells nothing and cannot be used any more. After it the delegate may go away.
    void clean();

    bool isZoomEnabled() const { return zoomEnabled_; }
    void setZoomEnabled(bool isEnabled);
    bool showsSectorStates() const { return showsSectorStates_; }
    void setShowsSectorStates(bool shows) { change(showsSectorStates_, shows); }

    /// Settings, which repaint when they change. A colour that is not valid is absent.
    float lineWidth() const { return lineWidth_; }
    void setLineWidth(float width) { change(lineWidth_, width); }
    float trackWidth() const { return trackWidth_; }
    void setTrackWidth(float width) { change(trackWidth_, width); }
    float strokeWidth() const { return strokeWidth_; }
    void setStrokeWidth(float width) { change(strokeWidth_, width); }
    float strokeStepWidth() const { return strokeStepWidth_; }
    void setStrokeStepWidth(float width) { change(strokeStepWidth_, width); }
    float scalePixelsPerSecond() const { return scalePixelsPerSecond_; }
    void setScalePixelsPerSecond(float scale) { change(scalePixelsPerSecond_, scale); }
    std::int32_t strokeTextNamingType() const { return strokeTextNamingType_; }
    void setStrokeTextNamingType(std::int32_t type) { change(strokeTextNamingType_, type); }
    std::int32_t strokeTextPositionType() const { return strokeTextPositionType_; }
    void setStrokeTextPositionType(std::int32_t type) { change(strokeTextPositionType_, type); }
    std::int32_t trackFillMode() const { return trackFillMode_; }
    void setTrackFillMode(std::int32_t mode) { change(trackFillMode_, mode); }
    const QColor& trackColor() const { return trackColor_; }
    void setTrackColor(const QColor& color) { change(trackColor_, color); }
    const QColor& lineColor() const { return lineColor_; }
    void setLineColor(const QColor& color) { change(lineColor_, color); }
    const QColor& strokeColor() const { return strokeColor_; }
    void setStrokeColor(const QColor& color) { change(strokeColor_, color); }
    const QColor& textColor() const { return textColor_; }
    void setTextColor(const QColor& color) { change(textColor_, color); }
    const QColor& textBackgroundColor() const { return textBackgroundColor_; }
    void setTextBackgroundColor(const QColor& color) { change(textBackgroundColor_, color); }
    const QColor& mainColor() const { return mainColor_; }
    void setMainColor(const QColor& color) { change(mainColor_, color); }
    const QColor& knobColor() const { return knobColor_; }
    void setKnobColor(const QColor& color) { change(knobColor_, color); }
    const QColor& rangeColor() const { return rangeColor_; }
    void setRangeColor(const QColor& color) { change(rangeColor_, color); }
    const QImage& knobImage() const { return knobImage_; }
    void setKnobImage(const QImage& image);
    const QString& timeFormat() const { return timeFormat_; }
    void setTimeFormat(const QString& format) { change(timeFormat_, format); }
    const QString& timeZone() const { return timeZone_; }
    /// A null string is ignored. No repaint.
    void setTimeZone(const QString& zone);

    /// These are kept and change nothing in the picture.
    const QColor& trackHighlightColor() const { return trackHighlightColor_; }
    void setTrackHighlightColor(const QColor& color) { change(trackHighlightColor_, color); }
    float curvatiousness() const { return curvatiousness_; }
    void setCurvatiousness(float value) { change(curvatiousness_, value); }
    float maximumValue() const { return maximumValue_; }
    void setMaximumValue(float value) { maximumValue_ = value; }
    float minimumValue() const { return minimumValue_; }
    void setMinimumValue(float value) { minimumValue_ = value; }
    float upperValue() const { return upperValue_; }
    void setUpperValue(float value) { upperValue_ = value; }
    float lowerValue() const { return lowerValue_; }
    void setLowerValue(float value) { lowerValue_ = value; }

    bool beginTrackingWithTouch(Point at) override;
    bool continueTrackingWithTouch(Point at) override;
    void endTrackingWithTouch(Point at) override;
    void cancelTrackingWithEvent() override;

  signals:
    /// The user has changed the scale; seconds per point.
    void timeScaleChanged(float scale);
    void settingsChanged();

  protected:
    void wheelTurned(double delta, Point at) override;
    bool takesWheel() const override;
    bool takesPinch() const override;
    void pinched(Point at, Point before, double factor) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;

  private:
    enum class MadeBy { Frame, Coder };
    TimelineSlider(MadeBy madeBy, QQuickItem* parent);

    template <typename T>
    void change(T& setting, const T& value) {
        if (setting == value) return;
        setting = value;
        redrawLayers();
        emit settingsChanged();
    }
    RulerWindow window() const { return {center_time, pix_scale, width()}; }
    /// As the layers have it, which have a scale of their own until the first one is set.
    RulerWindow layerWindow() const;
    std::optional<RulerRange> range() const;
    void applyScale(float scale);
    void styleScaleLayer();
    std::int64_t moveTo(std::optional<TimeSec> center, const char* refusal);
    void perform(const RulerGestureStep& step);
    void tell(const RulerTrace& line) const;
    void zoom(double factor, Point at, Point before);

    std::shared_ptr<TimelineSliderScaleLayer> scaleLayer_;
    std::shared_ptr<TimelineSliderProgressLayer> progressLayer_;
    RulerGesture gesture_;
    TimeSec center_time = 0;
    float pix_scale = 0;
    std::shared_ptr<RulerSectors> records_;
    bool b_isRange = false;
    TimeSec start_range = 0;
    TimeSec end_range = 0;
    /// The first letter of the name is a Cyrillic one.
    std::atomic<TimeSec> сurrent_position = 0;
    TimelineSliderDelegate* cbk = nullptr;
    std::shared_ptr<TapRecognizer> positionTapGestureRecognizer;

    float curvatiousness_ = 0;
    float lineWidth_ = 1;
    float trackWidth_ = 1;
    float strokeWidth_ = 1;
    float strokeStepWidth_ = 60;
    float scalePixelsPerSecond_ = 1;
    float maximumValue_ = 10;
    float minimumValue_ = 0;
    float upperValue_ = 8;
    float lowerValue_ = 2;
    std::int32_t strokeTextNamingType_ = 0;
    std::int32_t strokeTextPositionType_ = 0;
    std::int32_t trackFillMode_ = 0;
    QColor trackHighlightColor_ = QColor::fromRgbF(0.0F, 0.45F, 0.94F);
    QColor trackColor_ = QColor::fromRgbF(0.9F, 0.9F, 0.9F);
    QColor lineColor_ = Qt::white;
    QColor strokeColor_ = Qt::white;
    QColor textColor_ = Qt::white;
    QColor textBackgroundColor_ = Qt::white;
    QColor mainColor_;
    QColor knobColor_ = Qt::white;
    QColor rangeColor_;
    QImage knobImage_;
    QString timeFormat_;
    QString timeZone_;
    bool zoomEnabled_ = false;
    bool showsSectorStates_ = false;

    std::shared_ptr<const KorvaneHelpers> helpers_;
    /// Holds the layers, which it shows; a child of this item.
    PaintedItem* picture_ = nullptr;
    std::atomic<bool> isReloadPosted_ = false;
    /// Held while the layers are dropped and where another thread uses one.
    std::mutex layersLock_;
    LifeToken life_;
};

}  // namespace korvane
