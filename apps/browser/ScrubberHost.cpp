#include "korvane/apps/browser/ScrubberHost.h"

#include <QFont>
#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <utility>

namespace korvane {

namespace {

QFont labelFont(int pixels) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixels);
    return font;
}

// The strip takes its mark's width in device pixels.
constexpr double markWidth = 3;  // points

double devicePixelRatio() {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    return screen ? screen->devicePixelRatio() : 1;
}

}  // namespace

ScrubberHost::ScrubberHost(Scheduler& scheduler, KorvanePlayer& player, const KorvaneHelpers& helpers, QObject* parent)
    : QObject(parent),
      scheduler_(scheduler),
      player_(player),
      helpers_(helpers),
      delegate_(std::make_shared<ScrubberViewDelegate>()) {
    fill(*delegate_);
    fillPlayback(*delegate_);
}

bool ScrubberHost::isRecorded(const Event& event) {
    return event && (event->type() == ScrubberEventTypeItem || event->type() == ScrubberEventTypeGroup);
}

void ScrubberHost::take(ScrubberWidget* widget) {
    widget_ = widget;
    if (!widget_) return;
    // The answer to a finished entry decides alone, so that it may change while one plays.
    widget_->getConfig().setContinuousEventPlaying(true);
    dress();
    widget_->setDelegate(delegate_);
}

void ScrubberHost::dress() {
    if (!widget_) return;
    ScrubberConfig& config = widget_->getConfig();
    config.setBackgroundColor(palette_.window);
    config.setScrubberCenterMarkColor(palette_.accent);
    config.setScrubberCenterMarkWidth(markWidth * devicePixelRatio());
    config.setDateTimeTextFont(labelFont(11));
    config.setDateTimeTextColor(palette_.cellText);
    config.setLiveViewTextFont(labelFont(13));
    config.setLiveViewTextColor(palette_.secondary);
    config.setCellWidth(160);
    adjust(config);
    widget_->applyConfig();
}

void ScrubberHost::setPalette(const Palette& palette) {
    if (palette == palette_) return;
    palette_ = palette;
    dress();
}

void ScrubberHost::setClockStyle(const ClockStyle& style) {
    if (style == clockStyle_) return;
    clockStyle_ = style;
    dress();
}

std::int32_t ScrubberHost::open(const QString& token, TimeMs moment) {
    emit flyOverEnded();
    isOpen_ = true;
    hasList_ = false;
    forgetList();
    wanted_ = moment > 0 ? std::optional(moment) : std::nullopt;
    if (!widget_) return -1;
    adjust(widget_->getConfig());
    return wanted_ ? widget_->setSource(token, moment) : widget_->setSource(token);
}

void ScrubberHost::close() {
    emit flyOverEnded();
    isOpen_ = false;
    wanted_.reset();
    forgetList();
    if (widget_) widget_->clean();
}

std::int64_t ScrubberHost::count() const {
    return widget_ ? std::max<std::int64_t>(0, widget_->getEventsCount() - 2) : 0;
}

std::int64_t ScrubberHost::ungroupedCount() const {
    return widget_ ? std::max<std::int64_t>(0, widget_->getUngroupedEventsCount() - 2) : 0;
}

bool ScrubberHost::isReady() const {
    return widget_ && hasList_ && widget_->getState() != ScrubberStateDeleting && count() > 0;
}

bool ScrubberHost::isHeld() const {
    return widget_ && widget_->isHeld();
}

void ScrubberHost::refresh() {
    if (widget_) widget_->refresh();
}

ScrubberHost::Event ScrubberHost::entry(std::int64_t index) const {
    return widget_ ? widget_->getEvent(index) : nullptr;
}

std::optional<std::int64_t> ScrubberHost::indexUnderMark() const {
    return widget_ ? widget_->getIndexPathFromPointer() : IndexPath();
}

void ScrubberHost::toFirst() {
    wanted_.reset();
    if (widget_) widget_->toFirstEvent();
}

void ScrubberHost::toLast() {
    wanted_.reset();
    if (widget_) widget_->toLastEvent();
}

void ScrubberHost::toEntry(const Event& event, bool isSelected) {
    if (widget_) widget_->toEvent(event, isSelected);
}

void ScrubberHost::fill(ScrubberViewDelegate& delegate) {
    delegate.OnScrubberDidSelectEvent = [this](const Event& event) {
        emit flyOverEnded();
        onSelected(event);
    };
    delegate.OnScrubberDraggingEndFlyOverEvent = [this](const Event&) { emit flyOverEnded(); };

    // These come on other threads as well.
    delegate.OnScrubberStateChangedFrom = [&scheduler = scheduler_, tell = life_.guard([this](int state, int status) {
        onState(state, status);
    })](std::int32_t, std::int32_t toState, std::int32_t withStatus) {
        scheduler.post([tell, toState, withStatus]() mutable { tell(toState, withStatus); });
    };
    delegate.onSharedTokenWillExpireIn = [&scheduler = scheduler_, tell = life_.guard([this](qint64 left) {
        if (isOpen_) emit tokenWillExpire(left);
    })](std::int64_t timeLeft) {
        scheduler.post([tell, timeLeft]() mutable { tell(timeLeft); });
        return 0;
    };
}

void ScrubberHost::fillPlayback(ScrubberViewDelegate& delegate) {
    delegate.OnScrubberGetCurrentPositionForPlayingEvent = [this](const Event& event) { return positionIn(event); };
    delegate.OnScrubberEventPlayStarted = [this, tell = life_.guard([this](const Event& event) {
        if (isOpen_) onPlayStarted(event);
    })](const Event& event) {
        scheduler_.post([tell, event]() mutable { tell(event); });
        return 0;
    };
    delegate.OnScrubberEventPlayFinished = [this, tell = life_.guard([this](const Event& event) {
        if (isOpen_) emit playFinished(event);
    })](const Event& event) {
        scheduler_.post([tell, event]() mutable { tell(event); });
        return isPlayingOn() ? 1 : 0;
    };
}

void ScrubberHost::onState(int state, int status) {
    if (!isOpen_) return;
    const bool isLoaded = std::exchange(state_, state) == ScrubberStateLoading && state == ScrubberStateReady;
    if (isLoaded && (status != 0 || count() == 0)) wanted_.reset();
    if (isLoaded && status == 0) hasList_ = true;
    if (isLoaded) onLoaded();
    emit stateChanged(state, status);
    onListChanged();
}

void ScrubberHost::tellFlownOver(const Event& event) {
    wanted_.reset();
    if (isRecorded(event))
        emit flownOver(event->timeAsValue(), QString::fromStdString(event->timezone()));
    else
        emit flyOverEnded();
}

}  // namespace korvane
