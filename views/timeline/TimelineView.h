#pragma once

#include <QPointer>
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "korvane/toolkit/WidgetItem.h"
#include "korvane/views/timeline/ScrubberCommon/TimelineConfig.h"
#include "korvane/views/timeline/TimelineEnvironment.h"
#include "korvane/views/timeline/TimelineLook.h"
#include "korvane/views/timeline/TimelineViewDelegate.h"

namespace korvane {

class KorvaneCamera;
class KorvaneHelpers;
class KorvanePlayer;
class LayoutConstraint;
class RulerBinding;
class RulerCalendar;
class RulerSource;
class TimelineSlider;

/// A time ruler: a time axis with the recorded stretches of a camera, the position of a player as a knob on it, buttons
/// that scroll by a screen, one for the scale and one for the calendar. Times are seconds since the epoch, lengths
/// points. Main thread only, except where told. As it comes the track has no height and the labels are black on black:
/// a host sets widths and colours. A colour that is not valid is absent. A host in C++ gives a player or a camera, one
/// in QML `source` and `playerPosition`.
class TimelineView : public WidgetItem {
    Q_OBJECT
    QML_ELEMENT
    /// The token of the camera whose recordings are shown; empty for none. Another player or camera takes its place.
    Q_PROPERTY(QString source READ source WRITE setSource NOTIFY sourceChanged)
    /// A Status: 0 when the camera of `source` has been found, or while it is being looked for.
    Q_PROPERTY(int sourceStatus READ sourceStatus NOTIFY sourceChanged)
    /// What a player in QML shows, ms; -1 for nothing. It plays what `source` names, and positionSet() seeks it.
    Q_PROPERTY(qint64 playerPosition READ playerPosition WRITE setPlayerPosition NOTIFY playerPositionChanged)
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
    /// Where the calendar shows; null, as at first, for a panel over the window.
    Q_PROPERTY(
        QQuickItem* calendarContainer READ getCalendarContainer WRITE setCalendarContainer NOTIFY settingsChanged)
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

    QString source() const;
    void setSource(const QString& token);
    int sourceStatus() const;
    qint64 playerPosition() const;
    void setPlayerPosition(qint64 position);

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

    /// The calendar: a panel over the window, or in the host's container, which is held weakly and is visible while
    /// the calendar is in it. A day that is chosen goes to ruler, knob and player; the panel then stays open.
    void setCalendarContainer(QQuickItem* container);
    QQuickItem* getCalendarContainer() const;
    Q_SLOT void calendarBtn_click() { toggleCalendarControl(); }
    /// As the button: toggles the calendar in the container, or shows the panel.
    Q_INVOKABLE void toggleCalendarControl();
    Q_INVOKABLE void toggleCalendarControl(bool isShown);
    Q_INVOKABLE void showCalenadarAsController();
    // Nothing without a container.
    Q_INVOKABLE void showCalenadarInExternalView();
    Q_INVOKABLE void hideCalenadarInExternalView();
    Q_INVOKABLE void toggleCalenadarInExternalView();

    bool isZoomEnabled() const { return zoomEnabled_; }
    void setZoomEnabled(bool isEnabled);
    bool showsSectorStates() const { return showsSectorStates_; }
    void setShowsSectorStates(bool shows);
    int controls() const { return config_ ? config_->controls() : 0; }
    void setControls(int controls);

    // Handed on to the slider when they change. Widths in points; see TimelineSlider for the types and modes.
    float lineWidth() const { return look_.lineWidth; }
    void setLineWidth(float width) { changeWidth(look_.lineWidth, width); }
    float trackWidth() const { return look_.trackWidth; }
    void setTrackWidth(float width) { changeWidth(look_.trackWidth, width); }
    float strokeWidth() const { return look_.strokeWidth; }
    void setStrokeWidth(float width) { changeWidth(look_.strokeWidth, width); }
    float strokeStepWidth() const { return look_.strokeStepWidth; }
    void setStrokeStepWidth(float width) { changeWidth(look_.strokeStepWidth, width); }
    float scalePixelsPerSecond() const { return look_.scalePixelsPerSecond; }
    void setScalePixelsPerSecond(float value) { changeWidth(look_.scalePixelsPerSecond, value); }
    int strokeTextNamingType() const { return look_.strokeTextNamingType; }
    void setStrokeTextNamingType(int type) { changeWidth(look_.strokeTextNamingType, type); }
    int strokeTextPositionType() const { return look_.strokeTextPositionType; }
    void setStrokeTextPositionType(int type) { changeWidth(look_.strokeTextPositionType, type); }
    int trackFillMode() const { return look_.trackFillMode; }
    void setTrackFillMode(int mode) { changeColor(look_.trackFillMode, mode); }
    QColor mainColor() const { return look_.mainColor; }
    void setMainColor(const QColor& color) { changeColor(look_.mainColor, color); }
    QColor strokeColor() const { return look_.strokeColor; }
    void setStrokeColor(const QColor& color) { changeColor(look_.strokeColor, color); }
    QColor trackColor() const { return look_.trackColor; }
    void setTrackColor(const QColor& color) { changeColor(look_.trackColor, color); }
    QColor knobColor() const { return look_.knobColor; }
    void setKnobColor(const QColor& color) { changeColor(look_.knobColor, color); }
    QImage knobImage() const { return look_.knobImage; }
    void setKnobImage(const QImage& image);
    QColor textColor() const { return look_.textColor; }
    void setTextColor(const QColor& color) { changeColor(look_.textColor, color); }
    QColor textBackgroundColor() const { return look_.textBackgroundColor; }
    void setTextBackgroundColor(const QColor& color) { changeColor(look_.textBackgroundColor, color); }
    QColor lineColor() const { return look_.lineColor; }
    void setLineColor(const QColor& color) { changeColor(look_.lineColor, color); }
    QColor rangeColor() const { return look_.rangeColor; }
    void setRangeColor(const QColor& color) { changeColor(look_.rangeColor, color); }
    QColor scaleColor() const { return look_.scaleColor; }
    void setScaleColor(const QColor& color) { changeColor(look_.scaleColor, color); }
    QColor scaleSelectedColor() const { return look_.scaleSelectedColor; }
    void setScaleSelectedColor(const QColor& color) { changeColor(look_.scaleSelectedColor, color); }
    QString timeFormat() const { return look_.timeFormat; }
    void setTimeFormat(const QString& format) { changeWidth(look_.timeFormat, format); }
    QString timeZone() const { return look_.timeZone; }
    void setTimeZone(const QString& zone) { changeWidth(look_.timeZone, zone); }

  signals:
    void settingsChanged();
    void sourceChanged();
    void playerPositionChanged();
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
    void takePlayer(const std::shared_ptr<KorvanePlayer>& player);
    void leaveSourceFor(const std::function<void()>& another);
    void takeCamera(const std::shared_ptr<KorvaneCamera>& camera);
    void setup();
    void setupSlider();
    void showControls();
    void updateColor();
    void showCalendarColors();
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
    std::unique_ptr<RulerSource> source_;
    std::unique_ptr<RulerCalendar> calendar_;
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
    TimelineLook look_;
    QColor background_;
    QString cameraZone_;  // what a camera has given as the zone

    QPointer<TimelineSlider> timeLineSlider_;
    QPointer<QQuickItem> scaleControl_;
    QPointer<QQuickItem> rightBtn_;
    QPointer<QQuickItem> leftBtn_;
    QPointer<QQuickItem> calendarBtn_;
    QPointer<LayoutConstraint> scaleControlWidth_;
    QPointer<LayoutConstraint> rightButtonWidth_;
    QPointer<LayoutConstraint> leftButtonWidth_;
    QPointer<LayoutConstraint> calendarButtonWidth_;
};

}  // namespace korvane
