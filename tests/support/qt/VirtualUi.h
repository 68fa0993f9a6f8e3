#pragma once

#include <QEventPoint>
#include <QImage>
#include <QObject>
#include <QQuickWindow>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>

#include "korvane/base/Geometry.h"
#include "korvane/base/VirtualScheduler.h"
#include "korvane/toolkit/ToolkitContext.h"

class QPointingDevice;

namespace korvane {

/// A window on virtual time. While it lives, the shared toolkit context and all animations run on its scheduler, and
/// pointer events carry its clock. One at a time.
class VirtualUi : public QObject {
  public:
    /// The seed draws the order of threads.
    explicit VirtualUi(int width = 800, int height = 120, std::uint64_t seed = 1);
    ~VirtualUi() override;

    VirtualScheduler& scheduler() { return *scheduler_; }
    QQuickWindow& window() { return *window_; }
    QQuickItem* root() { return window_->contentItem(); }

    /// Runs what is posted, here and at Qt, until nothing is left. Time stands still.
    void settle();

    /// Lets time pass in frames.
    void advance(std::chrono::milliseconds duration, std::chrono::milliseconds frame = std::chrono::milliseconds(16));

    /// Lays out and draws now.
    QImage grab() { return window_->grabWindow(); }

    /// Pointers are fingers by their number, or the mouse.
    static constexpr int mouse = -1;
    void press(Point at, int pointer = 0) { point(at, pointer, QEventPoint::Pressed); }
    void move(Point to, int pointer = 0) { point(to, pointer, QEventPoint::Updated); }
    void release(Point at, int pointer = 0) { point(at, pointer, QEventPoint::Released); }
    void tap(Point at, int pointer = 0);
    void wheel(Point at, QPoint angleDelta, QPoint pixelDelta = {});

    /// Goes from one place to the other at even speed and lets go there at once, or holds still before.
    void drag(Point from, Point to, std::chrono::milliseconds duration, bool holds = false, int pointer = 0);

    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void point(Point at, int pointer, QEventPoint::State state);
    class Driver;
    class Endless;

    std::shared_ptr<VirtualScheduler> scheduler_;
    std::unique_ptr<Driver> driver_;
    std::unique_ptr<Endless> endless_;
    std::unique_ptr<QQuickWindow> window_;
    std::shared_ptr<ToolkitContext> before_;
    std::unique_ptr<QPointingDevice> device_;
    std::map<int, QPoint> fingers_;  // where those are that are down
};

}  // namespace korvane
