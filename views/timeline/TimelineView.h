#pragma once

#include <QColor>
#include <QImage>
#include <QPointer>
#include <QString>
#include <cstdint>
#include <memory>
#include <optional>

#include "korvane/base/Time.h"
#include "korvane/toolkit/WidgetItem.h"
#include "korvane/views/timeline/ScrubberCommon/TimelineConfig.h"
#include "korvane/views/timeline/TimelineEnvironment.h"
#include "korvane/views/timeline/TimelineViewDelegate.h"

namespace korvane {

class KorvaneCamera;
class KorvaneHelpers;
class KorvanePlayer;
class LayoutConstraint;
class RulerBinding;
class TimelineSlider;

/// A time ruler: a time axis with the recorded stretches of a camera, the position of a player as a knob on it, buttons
/// that scroll by a screen, one for the scale and one for the calendar. Times are seconds since the epoch, lengths
/// points. Main thread only, except where told. As it comes the track has no height and the labels are black on black:
/// a host sets widths and colours. A colour that is not valid is absent. Player and camera come from C++.
class TimelineView : public WidgetItem {
    Q_OBJECT
    QML_ELEMENT
    /// The wheel and two fingers change the scale, which a range does not let them. Off at first.
    Q_PROPERTY(bool zoomEnabled READ isZoomEnabled WRITE setZoomEnabled NOTIFY settingsChanged)
    /// What is being fetched, could not be fetched or is known to be empty looks different from what nobody has asked
    /// for. Off at first.
    Q_PROPERTY(bool showsSectorStates READ showsSectorStates WRITE setShowsSectorStates NOTIFY settingsChanged)
    /// Bits of TimelineControls: the controls that are shown.
    Q_PROPERTY(int controls READ controls WRITE setControls NOTIFY settingsChanged)
    /// The row of setScale().
    Q_PROPERTY(int scaleRow READ getScale WRITE setScale NOTIFY scaleRowChanged)
    Q_PROPERTY(qint64 centerTime READ centerTime NOTIFY centerTimeChanged)
    Q_PROPERTY(float lineWidth READ lineWidth WRITE setLineWidth NOTIFY settingsChanged)
    Q_PROPERTY(float trackWidth READ trackWidth WRITE setTrackWidth NOTIFY settingsChanged)
    Q_PROPERTY(float strokeWidth READ strokeWidth WRITE setStrokeWidth NOTIFY settingsChanged)
    Q_PROPERTY(float strokeStepWidth READ strokeStepWidth WRITE setStrokeStepWidth NOTIFY settingsChanged)
    Q_PROPERTY(int strokeTextNamingType READ strokeTextNamingType WRITE setStrokeTextNamingType NOTIFY settingsChanged)
    Q_PROPERTY(
        int strokeTextPositionType READ strokeTextPositionType WRITE setStrokeTextPositionType NOTIFY settingsChanged)
    Q_PROPERTY(int trackFillMode READ trackFillMode WRITE setTrackFillMode NOTIFY settingsChanged)
    Q_PROPERTY(QColor mainColor READ mainColor WRITE setMainColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor strokeColor READ strokeColor WRITE setStrokeColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor trackColor READ trackColor WRITE setTrackColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor knobColor READ knobColor WRITE setKnobColor NOTIFY settingsChanged)
    Q_PROPERTY(QImage knobImage READ knobImage WRITE setKnobImage NOTIFY settingsChanged)
    Q_PROPERTY(QColor textColor READ textColor WRITE setTextColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor textBackgroundColor READ textBackgroundColor WRITE setTextBackgroundColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor lineColor READ lineColor WRITE setLineColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor rangeColor READ rangeColor WRITE setRangeColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor scaleColor READ scaleColor WRITE setScaleColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor scaleSelectedColor READ scaleSelectedColor WRITE setScaleSelectedColor NOTIFY settingsChanged)
    Q_PROPERTY(QString timeFormat READ timeFormat WRITE setTimeFormat NOTIFY settingsChanged)
    Q_PROPERTY(QString timeZone READ timeZone WRITE setTimeZone NOTIFY settingsChanged)

  public:
    /// In the shared environment, without a size: for QML and for hosts that let the parent give the size.
    explicit TimelineView(QQuickItem* parent = nullptr);
    /// At `frame` of its parent.
    TimelineView(const TimelineEnvironment& environment, const Rect& frame, QQuickItem* parent = nullptr);
    /// clean().
    ~TimelineView() override;

    Q_INVOKABLE static QString getVersion();

    /// The settings in use, for editing in place; applyConfig() makes them take effect, on the next turn of the main
    /// loop. Null after clean().
    TimelineConfig* getConfig() { return config_ ? &*config_ : nullptr; }
    Q_INVOKABLE void applyConfig();

    /// Held weakly. Null stops the updates, another one starts them.
    void setDelegate(const std::shared_ptr<TimelineViewDelegate>& delegate);
    std::shared_ptr<TimelineViewDelegate> getDelegate() const;

    /// Shared with the view until it gets another one or clean(). Forgets what it knows of recorded time and takes the
    /// player's camera, or none with null.
    void setPlayer(const std::shared_ptr<KorvanePlayer>& player);
    std::shared_ptr<KorvanePlayer> getPlayer() const;
    /// Forgets what it knows of recorded time, goes back to the range, or to the moment at which the view was made, and
    /// starts the updates; null stops them. Labels come in the camera's zone unless timeZone() is set.
    void setCamera(const std::shared_ptr<KorvaneCamera>& camera);
    std::shared_ptr<KorvaneCamera> getCamera() const;

    /// The two threads that fetch recorded time and follow the player. stopUpdates() breaks off a fetch of the camera,
    /// and waits for a callback of the host.
    Q_INVOKABLE void startUpdates();
    Q_INVOKABLE void stopUpdates();
    /// Looks for what there is to fetch, and paints anew. Any thread.
    Q_INVOKABLE void updateTimelineData();
    /// Ends the updates and lets go of everything; the view shows nothing and cannot be used again.
    Q_INVOKABLE void clean();

    /// Row of the scale: 0 "MIN", 1 "HR", 2 "12H", 3 the range; others are ignored.
    Q_INVOKABLE void setScale(int row) { setScaleControlValue(row); }
    int getScale() const { return static_cast<int>(scale_index); }
    Q_INVOKABLE void setScaleControlValue(qint64 row);
    /// As setScale(), with 0 for every row but 1 and 2.
    Q_INVOKABLE void toggleScaleControl(int row);
    /// Seconds per point.
    Q_INVOKABLE float timeScale() const { return scale; }
    Q_SLOT void scaleControlPressed();
    Q_SLOT void leftBtn_click() { scrollTimelineToLeft(); }
    Q_SLOT void rightBtn_click() { scrollTimelineToRight(); }
    /// By a screen. From then on the ruler does not follow the position until setTrackingMode(false).
    Q_INVOKABLE void scrollTimelineToLeft();
    Q_INVOKABLE void scrollTimelineToRight();
    /// Shows `start` to `end` alone, without controls, from the next turn of the main loop on.
    Q_INVOKABLE void setRange(qint64 start, qint64 end);
    Q_INVOKABLE void unsetRange();
    /// Centres a time; the knob stays where it is. Nothing in a range.
    Q_INVOKABLE void setPosition(qint64 time);
    /// On, the ruler does not follow the position.
    Q_INVOKABLE void setTrackingMode(bool isOn);
    /// On, the ruler follows the position once although it is not in view.
    Q_INVOKABLE void setEnsureVisible(bool isOn);
    qint64 centerTime() const;
    /// The position that the knob shows; 0 or below for none.
    Q_INVOKABLE qint64 currentPosition() const;

    // The calendar, which does nothing yet; the container is kept.
    void setCalendarContainer(QQuickItem* container) { externalCalendarContainerView_ = container; }
    QQuickItem* getCalendarContainer() const { return externalCalendarContainerView_; }
    Q_SLOT void calendarBtn_click() { toggleCalendarControl(); }
    Q_INVOKABLE void toggleCalendarControl() {}
    Q_INVOKABLE void toggleCalendarControl(bool /*isShown*/) {}
    Q_INVOKABLE void showCalenadarAsController() {}
    Q_INVOKABLE void showCalenadarInExternalView() {}
    Q_INVOKABLE void hideCalenadarInExternalView() {}
    Q_INVOKABLE void toggleCalenadarInExternalView() {}

    bool isZoomEnabled() const { return zoomEnabled_; }
    void setZoomEnabled(bool isEnabled);
    bool showsSectorStates() const { return showsSectorStates_; }
    void setShowsSectorStates(bool shows);
    int controls() const { return config_ ? config_->controls() : 0; }
    void setControls(int controls);

    // Handed on to the slider when they change. Widths in points; see TimelineSlider for the types and modes.
    float lineWidth() const { return lineWidth_; }
    void setLineWidth(float width) { changeWidth(lineWidth_, width); }
    float trackWidth() const { return trackWidth_; }
    void setTrackWidth(float width) { changeWidth(trackWidth_, width); }
    float strokeWidth() const { return strokeWidth_; }
    void setStrokeWidth(float width) { changeWidth(strokeWidth_, width); }
    float strokeStepWidth() const { return strokeStepWidth_; }
    void setStrokeStepWidth(float width) { changeWidth(strokeStepWidth_, width); }
    float scalePixelsPerSecond() const { return scalePixelsPerSecond_; }
    void setScalePixelsPerSecond(float value) { changeWidth(scalePixelsPerSecond_, value); }
    int strokeTextNamingType() const { return strokeTextNamingType_; }
    void setStrokeTextNamingType(int type) { changeWidth(strokeTextNamingType_, type); }
    int strokeTextPositionType() const { return strokeTextPositionType_; }
    void setStrokeTextPositionType(int type) { changeWidth(strokeTextPositionType_, type); }
    int trackFillMode() const { return trackFillMode_; }
    void setTrackFillMode(int mode) { changeColor(trackFillMode_, mode); }
    QColor mainColor() const { return mainColor_; }
    void setMainColor(const QColor& color) { changeColor(mainColor_, color); }
    QColor strokeColor() const { return strokeColor_; }
    void setStrokeColor(const QColor& color) { changeColor(strokeColor_, color); }
    QColor trackColor() const { return trackColor_; }
    void setTrackColor(const QColor& color) { changeColor(trackColor_, color); }
    QColor knobColor() const { return knobColor_; }
    void setKnobColor(const QColor& color) { changeColor(knobColor_, color); }
    QImage knobImage() const { return knobImage_; }
    void setKnobImage(const QImage& image);
    QColor textColor() const { return textColor_; }
    void setTextColor(const QColor& color) { changeColor(textColor_, color); }
    QColor textBackgroundColor() const { return textBackgroundColor_; }
    void setTextBackgroundColor(const QColor& color) { changeColor(textBackgroundColor_, color); }
    QColor lineColor() const { return lineColor_; }
    void setLineColor(const QColor& color) { changeColor(lineColor_, color); }
    QColor rangeColor() const { return rangeColor_; }
    void setRangeColor(const QColor& color) { changeColor(rangeColor_, color); }
    QColor scaleColor() const { return scaleColor_; }
    void setScaleColor(const QColor& color) { changeColor(scaleColor_, color); }
    QColor scaleSelectedColor() const { return scaleSelectedColor_; }
    void setScaleSelectedColor(const QColor& color) { changeColor(scaleSelectedColor_, color); }
    QString timeFormat() const { return timeFormat_; }
    void setTimeFormat(const QString& format) { changeWidth(timeFormat_, format); }
    QString timeZone() const { return timeZone_; }
    void setTimeZone(const QString& zone) { changeWidth(timeZone_, zone); }

  signals:
    void settingsChanged();
    void scaleRowChanged();
    /// The axis has moved, by the user or by itself.
    void centerTimeChanged();
    /// The user has set the position, s; the player, if there is one, has been sent there.
    void positionSet(qint64 time);
    /// As TimelineViewDelegate::OnTimelinePositionChanged, ms, on the main thread.
    void timelinePositionChanged(qint64 position, qint64 withDuration, qint64 withRangeStart, qint64 withRangeEnd);
    /// The user asks for play or pause by the keyboard.
    void playPauseRequested();

  protected:
    void layoutSubviews() override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void customInit(const TimelineEnvironment& environment);
    void setup();
    void setupSlider();
    void showControls();
    void updateColor();
    void updateWidth();
    void sliderResized();
    void zoomed(float toScale);
    void speak();
    void takeRow(std::int64_t row);
    bool moveByKey(int key, bool withShift);
    void seek(TimeSec time);

    template <typename T>
    void changeColor(T& setting, const T& value) {
        if (setting == value) return;
        setting = value;
        updateColor();
        emit settingsChanged();
    }
    template <typename T>
    void changeWidth(T& setting, const T& value) {
        if (setting == value) return;
        setting = value;
        updateWidth();
        emit settingsChanged();
    }

    std::unique_ptr<RulerBinding> binding_;
    std::shared_ptr<const KorvaneHelpers> helpers_;
    std::optional<TimelineConfig> config_;
    float scale = 1;
    TimeSec curtime = 0;
    bool b_isRangeset = false;
    TimeSec range_start = 0;
    TimeSec range_end = 0;
    float range_scale = 0;
    std::int64_t prev_scale_row = 0;
    float prev_scale = 1;
    std::int64_t scale_index = 0;

    bool zoomEnabled_ = false;
    bool showsSectorStates_ = false;
    float lineWidth_ = 0;
    float trackWidth_ = 0;
    float strokeWidth_ = 1;
    float strokeStepWidth_ = 60;
    float scalePixelsPerSecond_ = 0;
    int strokeTextNamingType_ = 0;
    int strokeTextPositionType_ = 0;
    int trackFillMode_ = 0;
    QColor mainColor_ = Qt::white;
    QColor strokeColor_ = Qt::black;
    QColor trackColor_ = Qt::blue;
    QColor knobColor_ = Qt::blue;
    QColor textColor_ = Qt::black;
    QColor textBackgroundColor_ = Qt::black;
    QColor lineColor_ = Qt::black;
    QColor rangeColor_;
    QColor scaleColor_;
    QColor scaleSelectedColor_;
    QColor background_;
    QImage knobImage_;
    QString timeFormat_;
    QString timeZone_;
    QString cameraZone_;  // what a camera has given as timeZone_

    QPointer<TimelineSlider> timeLineSlider_;
    QPointer<QQuickItem> scaleControl_;
    QPointer<QQuickItem> rightBtn_;
    QPointer<QQuickItem> leftBtn_;
    QPointer<QQuickItem> calendarBtn_;
    QPointer<QQuickItem> externalCalendarContainerView_;
    QPointer<LayoutConstraint> scaleControlWidth_;
    QPointer<LayoutConstraint> rightButtonWidth_;
    QPointer<LayoutConstraint> leftButtonWidth_;
    QPointer<LayoutConstraint> calendarButtonWidth_;
};

}  // namespace korvane
