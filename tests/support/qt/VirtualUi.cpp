#include "korvane/tests/support/qt/VirtualUi.h"

#include <QAbstractAnimation>
#include <QAnimationDriver>
#include <QCoreApplication>
#include <QInputEvent>
#include <QPointingDevice>
#include <QWheelEvent>
#include <QtTest/QTest>
#include <algorithm>

namespace korvane {
namespace {

QPoint toQt(Point point) {
    return QPointF(point.x, point.y).toPoint();
}

}  // namespace

class VirtualUi::Driver final : public QAnimationDriver {
  public:
    explicit Driver(VirtualScheduler& scheduler) : scheduler_(scheduler) {}

    qint64 elapsed() const override { return virtualMs() - startedAt_; }

  protected:
    void start() override {
        startedAt_ = virtualMs();
        QAnimationDriver::start();
    }

  private:
    qint64 virtualMs() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(scheduler_.monotonicNow()).count();
    }

    VirtualScheduler& scheduler_;
    qint64 startedAt_ = 0;
};

/// Keeps the driver from stopping between two animations; the next one would jump.
class VirtualUi::Endless final : public QAbstractAnimation {
  public:
    int duration() const override { return -1; }

  protected:
    void updateCurrentTime(int /*time*/) override {}
};

VirtualUi::VirtualUi(int width, int height, std::uint64_t seed)
    : scheduler_(std::make_shared<VirtualScheduler>(seed)),
      driver_(std::make_unique<Driver>(*scheduler_)),
      endless_(std::make_unique<Endless>()),
      before_(ToolkitContext::shared()) {
    ToolkitContext::setShared(ToolkitContext::makeWith(scheduler_));
    driver_->install();
    endless_->start();
    window_ = std::make_unique<QQuickWindow>();
    window_->installEventFilter(this);
    window_->resize(width, height);
    window_->show();
    device_.reset(QTest::createTouchDevice());
    settle();
}

VirtualUi::~VirtualUi() {
    window_.reset();
    settle();
    endless_->stop();
    QCoreApplication::processEvents();
    driver_->uninstall();
    ToolkitContext::setShared(before_);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void VirtualUi::settle() {
    constexpr int turns = 4;  // what Qt delivers may post, and the other way round
    for (int turn = 0; turn < turns; ++turn) {
        QCoreApplication::processEvents();
        scheduler_->runUntilIdle();
    }
}

void VirtualUi::advance(std::chrono::milliseconds duration, std::chrono::milliseconds frame) {
    settle();
    while (duration.count() > 0) {
        const auto step = std::min(duration, frame);
        scheduler_->advance(step);
        driver_->advance();
        settle();
        duration -= step;
    }
}

void VirtualUi::point(Point at, int pointer, QEventPoint::State state) {
    if (pointer == mouse) {
        const auto action = state == QEventPoint::Pressed    ? QTest::MousePress
                            : state == QEventPoint::Released ? QTest::MouseRelease
                                                             : QTest::MouseMove;
        const auto button = action == QTest::MouseMove ? Qt::NoButton : Qt::LeftButton;
        QTest::mouseEvent(action, window_.get(), button, {}, toQt(at));
        return settle();
    }
    // Not by QTest's sequence of touches: it sleeps for a while of the real time.
    QList<QEventPoint> points;
    const auto add = [&](int finger, QEventPoint::State its, QPoint place) {
        points.append(QEventPoint(finger, its, place, window_->mapToGlobal(place)));
    };
    for (const auto& [other, place] : fingers_) {
        if (other != pointer) add(other, QEventPoint::Updated, place);
    }
    add(pointer, state, toQt(at));
    fingers_[pointer] = toQt(at);
    if (state == QEventPoint::Released) fingers_.erase(pointer);
    qt_handleTouchEvent(window_.get(), device_.get(), points);
    settle();
}

void VirtualUi::wheel(Point at, QPoint angleDelta, QPoint pixelDelta) {
    QWheelEvent event(QPointF(at.x, at.y), window_->mapToGlobal(QPointF(at.x, at.y)), pixelDelta, angleDelta,
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(window_.get(), &event);
    settle();
}

void VirtualUi::drag(Point from, Point to, std::chrono::milliseconds duration, bool holds, int pointer) {
    constexpr std::chrono::milliseconds frame(16);
    press(from, pointer);
    const auto steps = std::max<std::int64_t>(1, duration / frame);
    for (std::int64_t i = 1; i <= steps; ++i) {
        advance(duration / steps);
        const double part = static_cast<double>(i) / static_cast<double>(steps);
        move({from.x + (to.x - from.x) * part, from.y + (to.y - from.y) * part}, pointer);
    }
    if (holds) advance(std::chrono::milliseconds(200));
    release(to, pointer);
}

void VirtualUi::tap(Point at, int pointer) {
    press(at, pointer);
    advance(std::chrono::milliseconds(50));
    release(at, pointer);
}

bool VirtualUi::eventFilter(QObject* watched, QEvent* event) {
    // Frames come by the real clock, and would lay out at their moment what otherwise is laid out by a task.
    if (event->type() == QEvent::UpdateRequest) return true;
    if (event->isPointerEvent()) {
        const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(scheduler_->monotonicNow());
        static_cast<QInputEvent*>(event)->setTimestamp(static_cast<quint64>(time.count()));
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace korvane
