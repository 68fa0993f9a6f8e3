#include "korvane/views/timeline/ScrubberView.h"

#include <QGuiApplication>
#include <QScreen>
#include <chrono>

#include "korvane/base/Log.h"
#include "korvane/base/Scheduler.h"
#include "korvane/views/timeline/Presentation/Scrubber/EventStrip.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

constexpr const char* classPath = "ScrubberView";

}  // namespace

ScrubberView::ScrubberView(QQuickItem* parent) : ScrubberView(TimelineEnvironment::shared(), Rect{}, parent) {}

ScrubberView::ScrubberView(const TimelineEnvironment& environment, const Rect& frame, QQuickItem* parent)
    : ScrubberWidget(environment, parent) {
    setStrip(std::make_unique<EventStrip>(*this, environment), frame);
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        connect(screen, &QScreen::orientationChanged, this, [this] { orientationChanged(); });
    }
}

EventStrip& ScrubberView::events() const {
    return static_cast<EventStrip&>(strip());
}

void ScrubberView::toClosestEvent(const std::shared_ptr<ScrubberEvent>& event) {
    events().toClosestEvent(event);
}

void ScrubberView::toClosestEvent(qint64 time) {
    events().toClosestEvent(ScrubberEvent::build(time));
}

void ScrubberView::toNextEvent() {
    events().toNextEvent(true);
}

void ScrubberView::toNextEventWithSendNotify(bool withSendNotify) {
    events().toNextEvent(withSendNotify);
}

void ScrubberView::toPreviousEvent() {
    events().toPreviousEvent(true);
}

void ScrubberView::toPreviousEventWithSendNotify(bool withSendNotify) {
    events().toPreviousEvent(withSendNotify);
}

void ScrubberView::clean() {
    stopUpdates();
    ScrubberWidget::clean();
}

void ScrubberView::updateScrubberData() {
    onMain([this] { events().realign(); });
}

// What has no work to do

void ScrubberView::setPlayer(const std::shared_ptr<KorvanePlayer>& /*player*/) {
    trace(3, classPath, "setPlayer");
}

void ScrubberView::setCamera(const std::shared_ptr<KorvaneCamera>& /*camera*/) {
    trace(3, classPath, "setCamera");
    trace(3, classPath, "setCamera: time: ", 0);
}

void ScrubberView::startUpdates() {
    trace(1, classPath, "startUpdates");
}

void ScrubberView::stopUpdates() {
    trace(1, classPath, "stopUpdates");
}

void ScrubberView::updateScrubber(std::int64_t start, std::int64_t end) {
    trace(3, classPath, "updateScrubber: ", start, " to ", end);
}

void ScrubberView::startPositionChanging(std::int64_t time, float position) {
    trace(3, classPath, "startPositionChanging: ", time, " position: ", position);
}

void ScrubberView::continuePositionChanging(std::int64_t time, float position) {
    trace(3, classPath, "continuePositionChanging: ", time, " position: ", position);
}

void ScrubberView::endPositionChanging(std::int64_t time, float position) {
    trace(3, classPath, "endPositionChanging: ", time, " position: ", position);
}

void ScrubberView::makePositionVisible(std::int64_t time, float position) {
    trace(3, classPath, "makePositionVisible: ", time, " position: ", position);
}

void ScrubberView::observeValueForKeyPath(const QString& keyPath, const QObject* /*ofObject*/,
                                          const QVariantMap& /*change*/, const void* /*context*/) {
    trace(3, classPath, "observeValueForKeyPath: ", keyPath.toStdString());
}

void ScrubberView::orientationChanged() {
    trace(1, classPath, "orientationChanged");
    scheduler().after(500ms, [] { trace(1, classPath, "orientationChanged: done"); });
}

}  // namespace korvane
