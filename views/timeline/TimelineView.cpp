#include "korvane/views/timeline/TimelineView.h"

#include <QKeyEvent>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/SaturatingTime.h"
#include "korvane/base/Scheduler.h"
#include "korvane/base/TaskGuard.h"
#include "korvane/base/UtcTime.h"
#include "korvane/client/KorvaneCamera.h"
#include "korvane/client/KorvanePlayer.h"
#include "korvane/client/KorvaneService.h"
#include "korvane/toolkit/InterfaceLoader.h"
#include "korvane/toolkit/LayoutConstraint.h"
#include "korvane/views/timeline/Binding/RulerBinding.h"
#include "korvane/views/timeline/Binding/RulerCalendar.h"
#include "korvane/views/timeline/Binding/RulerSource.h"
#include "korvane/views/timeline/Model/Ruler/RulerScales.h"
#include "korvane/views/timeline/Model/TimelineSearch.h"
#include "korvane/views/timeline/Presentation/ItemLooks.h"
#include "korvane/views/timeline/Presentation/Timeline/RulerTimeText.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSlider.h"
#include "korvane/views/timeline/TimelineTypes.h"
#include "korvane/views/timeline/Utils/TimelineUtils.h"
#include "korvane/views/timeline/Version.h"

namespace korvane {
namespace {

constexpr const char* classPath = "TimelineView";
constexpr double sideButtonWidth = 30;
constexpr double calendarWidth = 40;
constexpr double scaleWidth = 60;
constexpr double emojiSize = 32;
constexpr double emojiFontSize = 30;

void set(QQuickItem* item, const char* name, const QVariant& value) {
    if (item && item->property(name).isValid()) item->setProperty(name, value);
}

void setConstant(LayoutConstraint* constraint, double width) {
    if (constraint) constraint->setConstant(width);
}

void showControl(QQuickItem* control, LayoutConstraint* constraint, bool isShown, double width) {
    if (control) control->setVisible(isShown);
    setConstant(constraint, isShown ? width : 0);
}

}  // namespace

TimelineView::TimelineView(QQuickItem* parent) : TimelineView(TimelineEnvironment::shared(), Rect{}, parent) {}

TimelineView::TimelineView(const TimelineEnvironment& environment, const Rect& frame, QQuickItem* parent)
    : WidgetItem(environment.toolkit, parent),
      binding_(std::make_unique<RulerBinding>(*this)),
      calendar_(std::make_unique<RulerCalendar>(*this, *binding_)) {
    setActiveFocusOnTab(true);
    customInit(environment);
    placeAt(frame);
    layoutSubviews();
}

TimelineView::~TimelineView() {
    clean();
}

void TimelineView::customInit(const TimelineEnvironment& environment) {
    registerTimelineTypes();
    QQuickItem* const root =
        loadContentView(QUrl(QStringLiteral("qrc:/Korvane/Timeline/layouts/TimelineView.qml")), classPath);
    Outlets outlets(root);
    timeLineSlider_ = outlets.get<TimelineSlider>("timeLineSlider");
    scaleControl_ = outlets.get<QQuickItem>("scaleControl");
    rightBtn_ = outlets.get<QQuickItem>("rightBtn");
    leftBtn_ = outlets.get<QQuickItem>("leftBtn");
    calendarBtn_ = outlets.get<QQuickItem>("calendarBtn");
    scaleControlWidth_ = outlets.get<LayoutConstraint>("scaleControlWidth");
    rightButtonWidth_ = outlets.get<LayoutConstraint>("rightButtonWidth");
    leftButtonWidth_ = outlets.get<LayoutConstraint>("leftButtonWidth");
    calendarButtonWidth_ = outlets.get<LayoutConstraint>("calendarButtonWidth");
    calendar_->setup(outlets.get<CalendarContainer>("calendarController"), outlets.get<CalendarView>("calendarView"),
                     calendarBtn_);
    if (root) outlets.report(classPath);
    // Not by a property of the file that holds this view: made by QML it must not have QML's data yet.
    const std::pair<QQuickItem*, const char*> buttons[] = {{leftBtn_, SLOT(leftBtn_click())},
                                                           {rightBtn_, SLOT(rightBtn_click())},
                                                           {calendarBtn_, SLOT(calendarBtn_click())},
                                                           {scaleControl_, SLOT(scaleControlPressed())}};
    for (const auto& [button, slot] : buttons) {
        if (button) connect(button, SIGNAL(clicked()), this, slot);
    }
    source_ = std::make_unique<RulerSource>(scheduler(), environment.service, [this](const auto& player) {
        const QPointer<TimelineView> self(this);
        takePlayer(player);
        if (self) emit sourceChanged();
    });
    connect(this, &TimelineView::positionSet, this, &TimelineView::playerPositionChanged);
    if (environment.service) helpers_ = environment.service->helpers();
    if (timeLineSlider_ && helpers_) timeLineSlider_->setHelpers(helpers_);
    setup();
}

void TimelineView::setup() {
    config_.emplace();
    curtime = scheduler().utcNow() / 1000;
    for (QQuickItem* const button : {rightBtn_.data(), leftBtn_.data()}) {
        setBackgroundColor(button, look_.mainColor);
        set(button, "titleColor", look_.textColor);
    }
    for (QQuickItem* const button : {scaleControl_.data(), calendarBtn_.data()})
        setBackgroundColor(button, look_.mainColor);
    set(calendarBtn_, "image",
        TimelineUtils::emojiToImage(QString::fromUcs4(U"\U0001F4C5", 1), emojiSize, emojiFontSize));
    setScaleControlValue(scale_index);
    setupSlider();
}

void TimelineView::setupSlider() {
    if (!timeLineSlider_) return;
    binding_->setSlider(timeLineSlider_);
    TimelineSlider& slider = *timeLineSlider_;
    slider.setTimelineDelegate(binding_.get());
    slider.setCenterTime(curtime);
    slider.setTimeScale(scale);
    slider.setTrackColor(look_.trackColor);
    slider.setTrackFillMode(look_.trackFillMode);
    slider.setKnobColor(look_.knobColor);
    slider.setKnobImage(look_.knobImage);
    slider.setLineColor(look_.lineColor);
    slider.setStrokeColor(look_.strokeColor);
    slider.setTextColor(look_.textColor);
    slider.setTextBackgroundColor(look_.textBackgroundColor);
    slider.setStrokeWidth(look_.strokeWidth);
    slider.setStrokeStepWidth(look_.strokeStepWidth);
    slider.setStrokeTextNamingType(look_.strokeTextNamingType);
    slider.setStrokeTextPositionType(look_.strokeTextPositionType);
    slider.setRecords(binding_->sectors());
    slider.setTimeZone(look_.timeZone);
    slider.timelineReload();
    connect(&slider, &QQuickItem::widthChanged, this, [this] { sliderResized(); });
    connect(&slider, &QQuickItem::heightChanged, this, [this] { sliderResized(); });
    connect(&slider, &TimelineSlider::timeScaleChanged, this, [this](float toScale) { zoomed(toScale); });
    connect(&slider, &Control::valueChanged, this, &TimelineView::centerTimeChanged);
    connect(this, &TimelineView::centerTimeChanged, this, [this] { speak(); });
    connect(this, &TimelineView::timelinePositionChanged, this, [this] { speak(); });
    connect(this, &TimelineView::positionSet, this, [this] { speak(); });
}

QString TimelineView::getVersion() {
    return QString::fromLatin1(timelineVersion);
}

void TimelineView::applyConfig() {
    onMain([this] { showControls(); });
}

void TimelineView::showControls() {
    const int shown = controls();
    showControl(leftBtn_, leftButtonWidth_, shown & TimelineControlLeftButton, sideButtonWidth);
    showControl(rightBtn_, rightButtonWidth_, shown & TimelineControlRightButton, sideButtonWidth);
    showControl(calendarBtn_, calendarButtonWidth_, shown & TimelineControlCalendarButton, calendarWidth);
    showControl(scaleControl_, scaleControlWidth_, shown & TimelineControlScaleControl, scaleWidth);
}

void TimelineView::setControls(int controls) {
    if (!config_ || config_->controls() == controls) return;
    config_->setControls(controls);
    applyConfig();
    emit settingsChanged();
}

// Host, player and camera

void TimelineView::setDelegate(const std::shared_ptr<TimelineViewDelegate>& delegate) {
    if (!config_) return;
    stopUpdates();
    // Before the threads begin, which would ask the host that has left.
    binding_->host().set(delegate);
    if (delegate) startUpdates();
}

std::shared_ptr<TimelineViewDelegate> TimelineView::getDelegate() const {
    return binding_->host().get();
}

QString TimelineView::source() const {
    return source_->token();
}

void TimelineView::setSource(const QString& token) {
    if (config_ && token != source()) source_->setToken(token);
}

int TimelineView::sourceStatus() const {
    return source_->status();
}

qint64 TimelineView::playerPosition() const {
    return source_->position();
}

void TimelineView::setPlayerPosition(qint64 position) {
    if (position == playerPosition()) return;
    source_->setPosition(position);
    emit playerPositionChanged();
}

/// A host may let the ruler go in a slot, so what is told comes last.
void TimelineView::leaveSourceFor(const std::function<void()>& another) {
    if (!config_) return;
    const QPointer<TimelineView> self(this);
    const bool hadSource = !source().isEmpty();
    source_->leave();
    another();
    if (self && hadSource) emit sourceChanged();
}

void TimelineView::setPlayer(const std::shared_ptr<KorvanePlayer>& player) {
    leaveSourceFor([&] { takePlayer(player); });
}

void TimelineView::takePlayer(const std::shared_ptr<KorvanePlayer>& player) {
    stopUpdates();
    binding_->sectors()->clear();
    binding_->setPlayer(player);
    std::shared_ptr<KorvaneCamera> camera;
    detail::runGuarded([&] { camera = player ? player->getSource() : nullptr; }, "KorvanePlayer");
    takeCamera(camera);
}

std::shared_ptr<KorvanePlayer> TimelineView::getPlayer() const {
    return binding_->player();
}

void TimelineView::setCamera(const std::shared_ptr<KorvaneCamera>& camera) {
    leaveSourceFor([&] { takeCamera(camera); });
}

void TimelineView::takeCamera(const std::shared_ptr<KorvaneCamera>& camera) {
    stopUpdates();
    binding_->sectors()->clear();
    binding_->setCamera(camera);
    calendar_->cameraChanged();
    if (b_isRangeset) {
        setRange(range_start, range_end);
    } else {
        unsetRange();
        if (timeLineSlider_) timeLineSlider_->setCenterTime(curtime);
    }
    if (camera) {
        startUpdates();
        QString zone = look_.timeZone == cameraZone_ ? QString() : look_.timeZone;
        const bool isOfCamera = zone.isEmpty();
        if (zone.isEmpty()) {
            detail::runGuarded([&] { zone = QString::fromStdString(camera->getTimezone()); }, "KorvaneCamera");
        }
        if (!zone.isEmpty()) {
            onMain([this, zone, isOfCamera] {
                if (isOfCamera) cameraZone_ = zone;
                setTimeZone(zone);
                if (timeLineSlider_) timeLineSlider_->setTimeZone(look_.timeZone);
            });
        }
    }
    if (timeLineSlider_) timeLineSlider_->timelineReload();
    if (!b_isRangeset) emit centerTimeChanged();
}

std::shared_ptr<KorvaneCamera> TimelineView::getCamera() const {
    return binding_->camera();
}

void TimelineView::startUpdates() {
    if (!config_) return;
    binding_->updates().startUpdates();
    updateTimelineData();
}

void TimelineView::stopUpdates() {
    binding_->updates().stopUpdates();
}

void TimelineView::updateTimelineData() {
    onMain([this] {
        binding_->updates().wakeRequestThread();
        if (timeLineSlider_) timeLineSlider_->timelineReload();
        layoutSubviews();
    });
}

void TimelineView::refresh() {
    if (config_) binding_->refresh();
}

void TimelineView::clean() {
    stopUpdates();
    if (!config_) return;
    binding_->setSlider(nullptr);
    if (timeLineSlider_) {
        disconnect(timeLineSlider_, nullptr, this, nullptr);
        timeLineSlider_->clean();
    }
    timeLineSlider_ = nullptr;
    source_->leave();
    binding_->host().set(nullptr);
    calendar_->clean();
    binding_->sectors()->clear();
    config_.reset();
    binding_->setPlayer(nullptr);
    binding_->setCamera(nullptr);
}

// Scale, range and place

void TimelineView::takeRow(std::int64_t row) {
    scale_index = row;
    prev_scale_row = RulerScales::previousRow(row, prev_scale_row);
    const auto title = RulerScales::scaleTypes[static_cast<std::size_t>(row)];
    set(scaleControl_, "title", QString::fromLatin1(title.data(), static_cast<qsizetype>(title.size())));
}

void TimelineView::setScaleControlValue(qint64 row) {
    const auto rowScale = RulerScales::scaleOf(row, range_scale);
    if (!rowScale) return;
    scale = *rowScale;
    takeRow(row);
    if (timeLineSlider_) timeLineSlider_->setTimeScale(scale);
    const QPointer<TimelineView> self(this);
    emit scaleRowChanged();
    if (self && b_isRangeset) emit centerTimeChanged();
}

void TimelineView::toggleScaleControl(int row) {
    setScaleControlValue(RulerScales::toggled(row));
}

void TimelineView::scaleControlPressed() {
    setScaleControlValue(RulerScales::next(scale_index));
}

/// The user may stop between two rows: the button then goes on from the nearer one.
void TimelineView::zoomed(float toScale) {
    const auto distance = [toScale](std::int64_t row) {
        return std::abs(std::log(*RulerScales::scaleOf(row, 0)) - std::log(toScale));
    };
    std::int64_t nearest = 0;
    for (const std::int64_t row : {1, 2}) {
        if (distance(row) < distance(nearest)) nearest = row;
    }
    scale = toScale;
    takeRow(nearest);
    const QPointer<TimelineView> self(this);
    emit scaleRowChanged();
    if (self) emit centerTimeChanged();
}

void TimelineView::scrollTimelineToLeft() {
    if (!timeLineSlider_) return;
    timeLineSlider_->trackingMode(true);
    timeLineSlider_->prevSector();
    emit centerTimeChanged();
}

void TimelineView::scrollTimelineToRight() {
    if (!timeLineSlider_) return;
    timeLineSlider_->trackingMode(true);
    timeLineSlider_->nextSector();
    emit centerTimeChanged();
}

void TimelineView::setRange(qint64 start, qint64 end) {
    b_isRangeset = true;
    range_start = start;
    range_end = end;
    const RulerRange range{start, end};
    binding_->setRange(range);
    onMain([this, range] {
        for (LayoutConstraint* const width : {leftButtonWidth_.data(), rightButtonWidth_.data(),
                                              scaleControlWidth_.data(), calendarButtonWidth_.data()}) {
            setConstant(width, 0);
        }
        prev_scale_row = scale_index;
        prev_scale = scale;
        range_scale = RulerScales::rangeScale(range, timeLineSlider_ ? timeLineSlider_->width() : 0);
        const QPointer<TimelineView> self(this);
        setScaleControlValue(RulerScales::rangeRow);
        if (!self || !timeLineSlider_) return;
        timeLineSlider_->setTimeScale(range_scale);
        timeLineSlider_->setRange(range.start_range, range.end_range);
        emit centerTimeChanged();
    });
}

void TimelineView::unsetRange() {
    b_isRangeset = false;
    binding_->setRange(std::nullopt);
    scale = prev_scale;
    onMain([this] {
        // A range that has been set meanwhile keeps the whole ruler.
        if (!b_isRangeset) applyConfig();
        const QPointer<TimelineView> self(this);
        setScaleControlValue(prev_scale_row);
        if (!self || !timeLineSlider_) return;
        timeLineSlider_->setTimeScale(scale);
        timeLineSlider_->unsetRange();
        emit centerTimeChanged();
    });
}

void TimelineView::sliderResized() {
    if (!b_isRangeset || !timeLineSlider_) return;
    const RulerRange range{range_start, range_end};
    range_scale = RulerScales::rangeScale(range, timeLineSlider_->width());
    timeLineSlider_->setTimeScale(range_scale);
    timeLineSlider_->setCenterTime(saturatingAdd(range_start, range.length() / 2));
    emit centerTimeChanged();
}

void TimelineView::setPosition(qint64 time) {
    if (!timeLineSlider_) return;
    timeLineSlider_->setSector(time);
    emit centerTimeChanged();
}

void TimelineView::setTrackingMode(bool isOn) {
    if (timeLineSlider_) timeLineSlider_->trackingMode(isOn);
}

void TimelineView::setEnsureVisible(bool isOn) {
    if (timeLineSlider_) timeLineSlider_->ensureVisible(isOn);
}

qint64 TimelineView::centerTime() const {
    return timeLineSlider_ ? timeLineSlider_->getCenterTime() : 0;
}

qint64 TimelineView::currentPosition() const {
    return timeLineSlider_ ? timeLineSlider_->getCurrentPosition() : -1;
}

// Look

void TimelineView::setZoomEnabled(bool isEnabled) {
    if (std::exchange(zoomEnabled_, isEnabled) == isEnabled) return;
    if (timeLineSlider_) timeLineSlider_->setZoomEnabled(isEnabled);
    emit settingsChanged();
}

void TimelineView::setShowsSectorStates(bool shows) {
    if (std::exchange(showsSectorStates_, shows) == shows) return;
    binding_->setShowsSectorStates(shows);
    if (timeLineSlider_) timeLineSlider_->setShowsSectorStates(shows);
    emit settingsChanged();
}

void TimelineView::setKnobImage(const QImage& image) {
    if (look_.knobImage.cacheKey() == image.cacheKey()) return;
    look_.knobImage = image;
    updateColor();
    emit settingsChanged();
}

void TimelineView::updateColor() {
    if (look_.mainColor.isValid()) background_ = look_.mainColor;
    setBackgroundColor(contentView(), background_);
    for (QQuickItem* const button : {rightBtn_.data(), leftBtn_.data(), scaleControl_.data(), calendarBtn_.data()}) {
        setBackgroundColor(button, background_);
    }
    if (look_.textColor.isValid()) {
        set(rightBtn_, "titleColor", look_.textColor);
        set(leftBtn_, "titleColor", look_.textColor);
    }
    if (look_.scaleColor.isValid()) set(scaleControl_, "titleColor", look_.scaleColor);
    showCalendarColors();
    if (!timeLineSlider_) return;
    TimelineSlider& slider = *timeLineSlider_;
    slider.setMainColor(background_);
    if (look_.strokeColor.isValid()) slider.setStrokeColor(look_.strokeColor);
    if (look_.rangeColor.isValid()) slider.setRangeColor(look_.rangeColor);
    if (look_.trackColor.isValid()) slider.setTrackColor(look_.trackColor);
    slider.setTrackFillMode(look_.trackFillMode);
    if (look_.knobColor.isValid()) slider.setKnobColor(look_.knobColor);
    slider.setKnobImage(look_.knobImage);
    if (look_.textColor.isValid()) slider.setTextColor(look_.textColor);
    if (look_.textBackgroundColor.isValid()) slider.setTextBackgroundColor(look_.textBackgroundColor);
    if (look_.lineColor.isValid()) slider.setLineColor(look_.lineColor);
}

void TimelineView::updateWidth() {
    if (!timeLineSlider_) return;
    TimelineSlider& slider = *timeLineSlider_;
    slider.setLineWidth(look_.lineWidth);
    slider.setTrackWidth(look_.trackWidth);
    slider.setTimeFormat(look_.timeFormat);
    slider.setTimeZone(look_.timeZone);
    slider.setStrokeWidth(look_.strokeWidth);
    slider.setStrokeStepWidth(look_.strokeStepWidth);
    slider.setStrokeTextNamingType(look_.strokeTextNamingType);
    slider.setStrokeTextPositionType(look_.strokeTextPositionType);
    slider.setScalePixelsPerSecond(look_.scalePixelsPerSecond);
}

void TimelineView::layoutSubviews() {
    if (timeLineSlider_) timeLineSlider_->timelineReload();
    calendar_->update();
}

// Keyboard and speech

void TimelineView::seek(TimeSec time) {
    const QPointer<TimelineView> self(this);
    const auto x = static_cast<float>(timeLineSlider_->width() / 2);
    binding_->startPositionChanging(0, x);
    binding_->endPositionChanging(time, x);
    if (!self || !timeLineSlider_) return;
    const double away = std::abs(static_cast<double>(time) - static_cast<double>(centerTime()));
    if (away * 2 > static_cast<double>(scale) * timeLineSlider_->width()) setPosition(time);
}

bool TimelineView::moveByKey(int key, bool withShift) {
    const auto tick = std::max<TimeSec>(1, std::llround(std::clamp(scale * look_.strokeStepWidth, 0.0F, 1e9F)));
    const TimeSec by = key == Qt::Key_Left ? -tick : tick;
    if (withShift) {
        timeLineSlider_->trackingMode(true);
        setPosition(saturatingAdd(centerTime(), by));
    } else {
        seek(saturatingAdd(currentPosition() > 0 ? currentPosition() : centerTime(), by));
    }
    return true;
}

void TimelineView::keyPressEvent(QKeyEvent* event) {
    const auto with = event->modifiers();
    event->setAccepted(timeLineSlider_ && !(with & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)));
    if (!event->isAccepted()) return;
    switch (event->key()) {
        case Qt::Key_Left:
        case Qt::Key_Right:
            event->setAccepted(moveByKey(event->key(), with & Qt::ShiftModifier));
            return;
        case Qt::Key_PageUp:
            return scrollTimelineToLeft();
        case Qt::Key_PageDown:
            return scrollTimelineToRight();
        case Qt::Key_Plus:
            return b_isRangeset ? void() : setScaleControlValue(std::max<std::int64_t>(scale_index - 1, 0));
        case Qt::Key_Minus:
            return b_isRangeset ? void() : setScaleControlValue(std::min<std::int64_t>(scale_index + 1, 2));
        case Qt::Key_Home:
            return b_isRangeset ? seek(range_start) : event->ignore();
        case Qt::Key_End:
            return b_isRangeset ? seek(range_end) : event->ignore();
        case Qt::Key_Space:
            if (!event->isAutoRepeat()) emit playPauseRequested();
            return;
        default:
            event->ignore();
    }
}

/// The interface file's root carries what assistive technology hears: a slider whose name is the position, or without
/// one the moment in the middle.
void TimelineView::speak() {
    if (!timeLineSlider_) return;
    const TimeSec time = currentPosition() > 0 ? currentPosition() : centerTime();
    const TimeSec sector = time / RulerSectors::sectorLength * RulerSectors::sectorLength;
    const auto records = binding_->sectors()->snapshot();
    const auto found = records->find(sector);
    QString details = QStringLiteral("not known whether recorded");
    if (found != records->end()) {
        const auto index = indexElement(found->second.get(), time);
        const auto& periods = *found->second->periods();
        const bool isIn = index >= 0 && periods[static_cast<std::size_t>(index)].start() <= time &&
                          periods[static_cast<std::size_t>(index)].end() > time;
        details = isIn ? QStringLiteral("recorded") : QStringLiteral("not recorded");
    } else if (binding_->sectors()->state(sector) == RulerSectorState::Empty) {
        details = QStringLiteral("not recorded");
    }
    QQuickItem* const root = contentView();
    set(root, "value", static_cast<double>(time));
    set(root, "minimumValue", static_cast<double>(b_isRangeset ? range_start : 0));
    set(root, "maximumValue", static_cast<double>(b_isRangeset ? range_end : scheduler().utcNow() / 1000));
    const QString format = QStringLiteral("EEE d MMM yyyy, HH:mm:ss");
    if (helpers_) set(root, "spokenTime", rulerTimeText(*helpers_, time, format, look_.timeZone, localTimeZoneName()));
    set(root, "spokenDetails", details);
}

}  // namespace korvane
