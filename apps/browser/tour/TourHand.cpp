#include "korvane/apps/browser/tour/TourHand.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointingDevice>
#include <QWheelEvent>

#include "korvane/apps/browser/tour/EventPump.h"

namespace korvane {

namespace {
constexpr quint64 frame = 16;  // ms
}

TourHand::TourHand(Scheduler& scheduler, QQuickWindow& window) : scheduler_(scheduler), window_(window) {}

void TourHand::send(QEvent::Type type, QPointF at, Qt::MouseButton button, Qt::MouseButtons buttons) {
    at_ = at;
    timestamp_ += frame;
    QMouseEvent event(type, at, at, window_.mapToGlobal(at), button, buttons, Qt::NoModifier,
                      QPointingDevice::primaryPointingDevice());
    event.setTimestamp(timestamp_);
    QCoreApplication::sendEvent(&window_, &event);
    turn();
}

void TourHand::turn() {
    pumpEventsUntil(
        scheduler_, [] { return false; }, std::chrono::milliseconds(frame));
}

void TourHand::press(QPointF at) {
    // A move first, so that the item under the pointer before is told that it has left.
    send(QEvent::MouseMove, at, Qt::NoButton, Qt::NoButton);
    send(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton);
}

void TourHand::drag(QPointF to, int steps) {
    const QPointF from = at_;
    for (int step = 1; step <= steps; ++step)
        send(QEvent::MouseMove, from + (to - from) * step / steps, Qt::NoButton, Qt::LeftButton);
}

void TourHand::release() {
    // Moves without a distance bring the velocity to zero, so that no flick follows.
    for (int rest = 0; rest < 12; ++rest) send(QEvent::MouseMove, at_, Qt::NoButton, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, at_, Qt::LeftButton, Qt::NoButton);
}

void TourHand::tap(QPointF at) {
    press(at);
    send(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton);
}

void TourHand::leave() {
    send(QEvent::MouseMove, {1, 1}, Qt::NoButton, Qt::NoButton);
}

void TourHand::key(Qt::Key key) {
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, Qt::NoModifier);
        QCoreApplication::sendEvent(&window_, &event);
    }
    turn();
}

void TourHand::wheel(QPointF at, int points) {
    timestamp_ += frame;
    const QPoint delta(points, 0);
    QWheelEvent event(at, window_.mapToGlobal(at), delta, delta, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false,
                      Qt::MouseEventNotSynthesized, QPointingDevice::primaryPointingDevice());
    event.setTimestamp(timestamp_);
    QCoreApplication::sendEvent(&window_, &event);
    turn();
}

}  // namespace korvane
