#pragma once

#include <QImage>
#include <QObject>
#include <QQuickWindow>
#include <chrono>
#include <map>
#include <memory>

#include "base/Geometry.h"
#include "base/VirtualScheduler.h"
#include "toolkit/ToolkitContext.h"

class QPointingDevice;

namespace korvane {

/// A window on virtual time. While it lives, the shared toolkit context and all animations run on its scheduler, and
/// pointer events carry its clock. One at a time.
class VirtualUi : public QObject {
  public:
    explicit VirtualUi(int width = 800, int height = 120);
    ~VirtualUi() override;

    VirtualScheduler& scheduler() { return *scheduler_; }
    QQuickWindow& window() { return *window_; }
    QQuickItem* root() { return window_->contentItem(); }

    /// Runs what is posted, here and at Qt, until nothing is left. Time stands still.
    void settle();

    /// Lets time pass in frames of 16 ms.
    void advance(std::chrono::milliseconds duration);

    /// Lays out and draws now.
    QImage grab();

    void touchPress(Point at, int finger = 0);
    void touchMove(Point to, int finger = 0);
    void touchRelease(Point at, int finger = 0);
    void mousePress(Point at);
    void mouseMove(Point to);
    void mouseRelease(Point at);
    void wheel(Point at, QPoint angleDelta, QPoint pixelDelta = {});

    /// A finger that goes from one place to the other at even speed and is lifted there at once, or held still before.
    void touchDrag(Point from, Point to, std::chrono::milliseconds duration, bool holds = false);
    void tap(Point at);

    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void touch(Point at, int finger, bool isPress, bool isRelease);
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
