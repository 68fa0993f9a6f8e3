#pragma once

#include <QPointF>
#include <QQuickWindow>
#include <functional>

#include "korvane/base/Scheduler.h"

namespace korvane {

/// Sends a window the pointer events of a hand that moves at a hand's speed. Main thread only.
class TourHand {
  public:
    /// Both outlive the hand.
    TourHand(Scheduler& scheduler, QQuickWindow& window);

    void tap(QPointF at);
    /// Moves without letting go.
    void press(QPointF at);
    void drag(QPointF to, int steps);
    /// Rests on nothing.
    void leave();
    /// Lifts after a rest, so that nothing goes on moving.
    void release();
    /// Turns the wheel sideways; positive goes back in time.
    void wheel(QPointF at, int points);
    /// Presses and lifts.
    void key(Qt::Key key);

  private:
    void send(QEvent::Type type, QPointF at, Qt::MouseButton button, Qt::MouseButtons buttons);
    void turn();

    Scheduler& scheduler_;
    QQuickWindow& window_;
    QPointF at_;
    quint64 timestamp_ = 1000;
};

}  // namespace korvane
