#include "korvane/views/timeline/Presentation/Timeline/TimelineSlider.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/SaturatingTime.h"
#include "korvane/client/KorvaneService.h"
#include "korvane/toolkit/PaintedItem.h"
#include "korvane/toolkit/TapRecognizer.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/Model/Ruler/Truncated.h"
#include "korvane/views/timeline/Presentation/Timeline/AbsentColor.h"
#include "korvane/views/timeline/Presentation/Timeline/RulerTimeText.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderProgressLayer.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderScaleLayer.h"
#include "korvane/views/timeline/TimelineEnvironment.h"

namespace korvane {
namespace {

constexpr const char* classPath = "TimelineSlider";
constexpr double finestScale = 1;  // seconds per point that a zoom reaches
constexpr double coarsestScale = 120;
constexpr double doublingWheel = 120;  // points of the wheel that double the scale
constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();

/// Has nothing to draw but its layers.
class Picture final : public PaintedItem {
  public:
    using PaintedItem::PaintedItem;
    void drawLayer(PaintedLayer& /*layer*/, Canvas& /*inContext*/) override {}
};

}  // namespace

TimelineSlider::TimelineSlider(QQuickItem* parent) : TimelineSlider(MadeBy::Coder, parent) {
    positionTapGestureRecognizer = std::make_shared<TapRecognizer>();
    positionTapGestureRecognizer->setNumberOfTapsRequired(1);
    positionTapGestureRecognizer->setAction([this](TapRecognizer& tap) { handlePositionTap(tap); });
    addGestureRecognizer(positionTapGestureRecognizer);
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        connect(screen, &QScreen::orientationChanged, this, [this] { orientationChanged(); });
    }
}

TimelineSlider::TimelineSlider(const Rect& frame, QQuickItem* parent) : TimelineSlider(MadeBy::Frame, parent) {
    setPosition({frame.x, frame.y});
    setSize({frame.width, frame.height});
}

TimelineSlider::TimelineSlider(MadeBy madeBy, QQuickItem* parent)
    : Control(parent),
      scaleLayer_(std::make_shared<TimelineSliderScaleLayer>()),
      progressLayer_(std::make_shared<TimelineSliderProgressLayer>(context()->scheduler)),
      pix_scale(madeBy == MadeBy::Coder ? 1.0F : 0.0F),
      curvatiousness_(madeBy == MadeBy::Coder ? 0.0F : 1.0F),
      picture_(new Picture(this)) {
    const auto& service = TimelineEnvironment::shared().service;
    if (service) setHelpers(service->helpers());
    picture_->setBackgroundColor(orClear(mainColor_));
    styleScaleLayer();
    picture_->layer().addSublayer(scaleLayer_);
    const bool isCoded = madeBy == MadeBy::Coder;
    progressLayer_->setFillColor(isCoded ? trackColor_ : QColor(Qt::red));
    progressLayer_->setKnobColor(isCoded ? knobColor_ : QColor(Qt::red));
    progressLayer_->setScalePixelsPerSecond(scalePixelsPerSecond_);
    picture_->layer().addSublayer(progressLayer_);
    setLayerFrames();
}

TimelineSlider::~TimelineSlider() {
    if (TimelineSliderDelegate* const told = std::exchange(cbk, nullptr)) told->sliderGoes();
    removeGestureRecognizer(positionTapGestureRecognizer);
    clean();
}

void TimelineSlider::clean() {
    // The layers leave the picture with this one, which goes away.
    PaintedLayer dropped;
    cbk = nullptr;
    const std::lock_guard lock(layersLock_);
    if (!scaleLayer_) return;
    scaleLayer_->clean();
    progressLayer_->clean();
    dropped.addSublayer(std::exchange(scaleLayer_, nullptr));
    dropped.addSublayer(std::exchange(progressLayer_, nullptr));
    picture_->setNeedsDisplay();
}

void TimelineSlider::setCenterTime(TimeSec time) {
    center_time = time;
    if (!scaleLayer_) return;
    scaleLayer_->setCenterTime(time);
    progressLayer_->setCenterTime(time);
}

void TimelineSlider::setCurrentPosition(TimeSec time) {
    сurrent_position = time;
    const std::lock_guard lock(layersLock_);
    if (progressLayer_) progressLayer_->setCurrentPosition(time);
}

TimeSec TimelineSlider::getCurrentPosition() const {
    return сurrent_position;
}

RulerWindow TimelineSlider::layerWindow() const {
    return scaleLayer_ ? scaleLayer_->window() : window();
}

std::optional<RulerRange> TimelineSlider::range() const {
    return b_isRange ? std::optional(RulerRange{start_range, end_range}) : std::nullopt;
}

void TimelineSlider::applyScale(float scale) {
    pix_scale = scale;
    if (!scaleLayer_) return;
    scaleLayer_->setTimeScale(scale);
    progressLayer_->setTimeScale(scale);
}

void TimelineSlider::setTimeScale(float scale) {
    applyScale(scale);
    if (b_isRange) setCenterTime(layerWindow().centerFor(*range()));
    timelineReload();
}

void TimelineSlider::setRange(TimeSec start, TimeSec end_time) {
    b_isRange = true;
    start_range = start;
    end_range = end_time;
    setCenterTime(layerWindow().centerFor(*range()));
    if (scaleLayer_) scaleLayer_->setRange(start, end_time);
    timelineReload();
}

void TimelineSlider::unsetRange() {
    b_isRange = false;
    if (scaleLayer_) scaleLayer_->unsetRange();
    timelineReload();
}

std::int64_t TimelineSlider::nextSector() {
    return moveTo(layerWindow().nextSector(range()), "No next sector for range");
}

std::int64_t TimelineSlider::prevSector() {
    return moveTo(layerWindow().prevSector(range()), "No prev sector for range");
}

std::int64_t TimelineSlider::setSector(TimeSec time) {
    if (b_isRange) return layerWindow().sector();
    return moveTo(time, "");
}

std::int64_t TimelineSlider::moveTo(std::optional<TimeSec> center, const char* refusal) {
    if (!scaleLayer_) return 0;
    if (center) {
        setCenterTime(*center);
        timelineReload();
    } else {
        trace(1, classPath, refusal);
    }
    return layerWindow().sector();
}

void TimelineSlider::setRecords(std::shared_ptr<RulerSectors> records) {
    records_ = std::move(records);
    if (progressLayer_) progressLayer_->setRecords(records_);
}

void TimelineSlider::setTimelineDelegate(TimelineSliderDelegate* view) {
    if (!progressLayer_) return;
    cbk = view;
    progressLayer_->setTimelineDelegate(view);
}

void TimelineSlider::setHelpers(std::shared_ptr<const KorvaneHelpers> helpers) {
    helpers_ = std::move(helpers);
    if (!scaleLayer_) return;
    scaleLayer_->setTimeFormatter(TimelineSliderScaleLayer::formatterOf(helpers_));
    scaleLayer_->setNeedsDisplay();
}

void TimelineSlider::updateTimelineData() {
    Scheduler& scheduler = *context()->scheduler;
    // The layer belongs to the main thread, as the delegate does.
    if (!scheduler.isMainThread()) return scheduler.post(life_.guard([this] { updateTimelineData(); }));
    if (progressLayer_) progressLayer_->updateTimelineData();
}

void TimelineSlider::trackingMode(bool isOn) {
    if (progressLayer_) progressLayer_->trackingMode(isOn);
}

void TimelineSlider::ensureVisible(bool isOn) {
    if (progressLayer_) progressLayer_->ensureVisible(isOn);
}

void TimelineSlider::timelineReload() {
    if (isReloadPosted_.exchange(true)) return;
    context()->scheduler->post(life_.guard([this] {
        isReloadPosted_ = false;
        setLayerFrames();
    }));
}

void TimelineSlider::styleScaleLayer() {
    TimelineSliderScaleLayer& scale = *scaleLayer_;
    scale.setColorText(textColor_);
    scale.setColorTextBackground(textBackgroundColor_);
    scale.setColorLine(lineColor_);
    scale.setColorStroke(strokeColor_);
    scale.setTimeZone(timeZone_);
    scale.setStrokeWidth(strokeWidth_);
    scale.setStrokeStepWidth(strokeStepWidth_);
    scale.setStrokeTextNamingType(strokeTextNamingType_);
    scale.setStrokeTextPositionType(strokeTextPositionType_);
    scale.setScalePixelsPerSecond(scalePixelsPerSecond_);
}

void TimelineSlider::redrawLayers() {
    if (!scaleLayer_) return;
    picture_->setBackgroundColor(orClear(mainColor_));
    styleScaleLayer();
    scaleLayer_->setColorRange(rangeColor_);
    scaleLayer_->setLineWidth(lineWidth_);
    scaleLayer_->setTimeFormat(timeFormat_);
    scaleLayer_->setNeedsDisplay();

    TimelineSliderProgressLayer& progress = *progressLayer_;
    progress.setTrackFillMode(trackFillMode_);
    progress.setFillColor(trackColor_);
    progress.setKnobColor(knobColor_);
    progress.setKnobImage(knobImage_);
    progress.setTrackWidth(trackWidth_);
    progress.setLineWidth(lineWidth_);
    progress.setScalePixelsPerSecond(scalePixelsPerSecond_);
    progress.setShowsSectorStates(showsSectorStates_);
    progress.setNeedsDisplay();
}

void TimelineSlider::setLayerFrames() {
    if (!scaleLayer_) return;
    picture_->setSize(size());
    const std::array<std::shared_ptr<PaintedLayer>, 2> layers{scaleLayer_, progressLayer_};
    for (const auto& layer : layers) {
        layer->setFrame({0, 0, width(), height()});
        layer->setNeedsDisplay();
    }
}

void TimelineSlider::setKnobImage(const QImage& image) {
    // By identity: comparing pictures pixel by pixel would cost more than a repaint.
    if (knobImage_.cacheKey() == image.cacheKey()) return;
    knobImage_ = image;
    redrawLayers();
    emit settingsChanged();
}

void TimelineSlider::setTimeZone(const QString& zone) {
    if (zone.isNull()) return;
    timeZone_ = zone;
    if (scaleLayer_) scaleLayer_->setTimeZone(zone);
    emit settingsChanged();
}

void TimelineSlider::setZoomEnabled(bool isEnabled) {
    if (std::exchange(zoomEnabled_, isEnabled) != isEnabled) emit settingsChanged();
}

bool TimelineSlider::beginTrackingWithTouch(Point at) {
    if (!progressLayer_) return false;
    const Point knob{progressLayer_->getLatestCurrentPositionX(), progressLayer_->getLatestCurrentPositionY()};
    perform(gesture_.begin(at, knob));
    return true;
}

bool TimelineSlider::continueTrackingWithTouch(Point at) {
    perform(gesture_.drag(window(), range(), at));
    return true;
}

void TimelineSlider::endTrackingWithTouch(Point at) {
    Control::endTrackingWithTouch(at);
    perform(gesture_.end(window(), range(), at));
}

void TimelineSlider::cancelTrackingWithEvent() {
    Control::cancelTrackingWithEvent();
    // A pinch takes the first finger away; what that held must not stay held.
    if (isPinching()) perform(gesture_.end(window(), range(), {nowhere, nowhere}));
    gesture_.cancel();
}

void TimelineSlider::handlePositionTap(const TapRecognizer& recognizer) {
    if (recognizer.state() != TapRecognizer::StateEnded || !cbk) return;
    const Point at = recognizer.location();
    perform({.startPosition = RulerGesture::tap(window(), at).startPosition});
    RulerGestureStep set = RulerGesture::tap(window(), at);
    set.startPosition.reset();
    perform(set);
}

void TimelineSlider::perform(const RulerGestureStep& step) {
    if (!scaleLayer_) return;
    if (step.center_time) {
        setCenterTime(*step.center_time);
        timelineReload();
        sendActionsForControlEvents(ControlEventValueChanged);
    }
    if (step.trace) tell(*step.trace);
    if (step.trackingMode) trackingMode(*step.trackingMode);
    // Each of these may clean this control.
    if (cbk && step.startPosition) cbk->startPositionChanging(step.startPosition->time, step.startPosition->x);
    if (cbk && step.continuePosition) {
        cbk->continuePositionChanging(step.continuePosition->time, step.continuePosition->x);
    }
    if (cbk && step.endPosition) cbk->endPositionChanging(step.endPosition->time, step.endPosition->x);
}

void TimelineSlider::tell(const RulerTrace& line) const {
    if (KSDK_LogLevel < 1) return;
    if (!line.time) return trace(1, classPath, line.text, line.tail);
    QString text;
    if (helpers_) text = rulerTimeText(*helpers_, *line.time, QStringLiteral("HH:mm:ss (MMM dd)"), timeZone_, "UTC");
    trace(1, classPath, line.text, *line.time, " (time ", text.toStdString(), ")", line.tail);
}

bool TimelineSlider::takesWheel() const {
    return takesPinch();
}

bool TimelineSlider::takesPinch() const {
    return zoomEnabled_ && !b_isRange && scaleLayer_;
}

void TimelineSlider::wheelTurned(double delta, Point at) {
    zoom(std::exp2(delta / doublingWheel), at, at);
}

void TimelineSlider::pinched(Point at, Point before, double factor) {
    // Fingers that part show less time.
    zoom(1 / factor, at, before);
}

void TimelineSlider::zoom(double factor, Point at, Point before) {
    const double wanted = window().scale() * factor;
    if (!takesPinch() || !(wanted > 0 && std::isfinite(at.x) && std::isfinite(before.x))) return;
    const auto scale = static_cast<float>(std::clamp(wanted, finestScale, coarsestScale));
    const TimeSec time = window().timeAt(before.x);
    const bool isNewScale = scale != pix_scale;
    applyScale(scale);
    setCenterTime(saturatingSubtract(time, RulerWindow{0, scale, width()}.timeAt(at.x)));
    progressLayer_->letPositionGo();
    timelineReload();
    if (isNewScale) emit timeScaleChanged(scale);
    sendActionsForControlEvents(ControlEventValueChanged);
}

void TimelineSlider::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    Control::geometryChange(newGeometry, oldGeometry);
    setLayerFrames();
}

void TimelineSlider::itemChange(ItemChange change, const ItemChangeData& value) {
    Control::itemChange(change, value);
    if (change == ItemParentHasChanged) setLayerFrames();
}

}  // namespace korvane
