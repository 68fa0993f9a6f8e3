#include "tests/support/qt/VirtualUi.h"

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

constexpr std::chrono::milliseconds frame(16);

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

VirtualUi::VirtualUi(int width, int height)
    : scheduler_(std::make_shared<VirtualScheduler>()),
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
    constexpr int turns = 3;  // what Qt delivers may post, and the other way round
    for (int turn = 0; turn < turns; ++turn) {
        QCoreApplication::processEvents();
        scheduler_->runUntilIdle();
    }
}

void VirtualUi::advance(std::chrono::milliseconds duration) {
    settle();
    while (duration.count() > 0) {
        const auto step = std::min(duration, frame);
        scheduler_->advance(step);
        driver_->advance();
        settle();
        duration -= step;
    }
}

QImage VirtualUi::grab() {
    return window_->grabWindow();
}

void VirtualUi::touch(Point at, int finger, bool isPress, bool isRelease) {
    auto sequence = QTest::touchEvent(window_.get(), device_.get());
    for (const auto& [other, place] : fingers_) {
        if (other != finger) sequence.move(other, place);
    }
    fingers_[finger] = toQt(at);
    if (isPress) {
        sequence.press(finger, toQt(at));
    } else if (isRelease) {
        sequence.release(finger, toQt(at));
        fingers_.erase(finger);
    } else {
        sequence.move(finger, toQt(at));
    }
    sequence.commit();
    settle();
}

void VirtualUi::touchPress(Point at, int finger) {
    touch(at, finger, true, false);
}

void VirtualUi::touchMove(Point to, int finger) {
    touch(to, finger, false, false);
}

void VirtualUi::touchRelease(Point at, int finger) {
    touch(at, finger, false, true);
}

void VirtualUi::mousePress(Point at) {
    QTest::mousePress(window_.get(), Qt::LeftButton, {}, toQt(at));
    settle();
}

void VirtualUi::mouseMove(Point to) {
    QTest::mouseMove(window_.get(), toQt(to));
    settle();
}

void VirtualUi::mouseRelease(Point at) {
    QTest::mouseRelease(window_.get(), Qt::LeftButton, {}, toQt(at));
    settle();
}

void VirtualUi::wheel(Point at, QPoint angleDelta, QPoint pixelDelta) {
    QWheelEvent event(QPointF(at.x, at.y), window_->mapToGlobal(QPointF(at.x, at.y)), pixelDelta, angleDelta,
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(window_.get(), &event);
    settle();
}

void VirtualUi::touchDrag(Point from, Point to, std::chrono::milliseconds duration, bool holds) {
    touchPress(from);
    const auto steps = std::max<std::int64_t>(1, duration / frame);
    for (std::int64_t i = 1; i <= steps; ++i) {
        advance(duration / steps);
        const double part = static_cast<double>(i) / static_cast<double>(steps);
        touchMove({from.x + (to.x - from.x) * part, from.y + (to.y - from.y) * part});
    }
    if (holds) advance(std::chrono::milliseconds(200));
    touchRelease(to);
}

void VirtualUi::tap(Point at) {
    touchPress(at);
    advance(std::chrono::milliseconds(50));
    touchRelease(at);
}

bool VirtualUi::eventFilter(QObject* watched, QEvent* event) {
    if (event->isPointerEvent()) {
        const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(scheduler_->monotonicNow());
        static_cast<QInputEvent*>(event)->setTimestamp(static_cast<quint64>(time.count()));
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace korvane
