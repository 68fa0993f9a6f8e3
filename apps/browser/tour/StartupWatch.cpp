#include "korvane/apps/browser/tour/StartupWatch.h"

#include <QLoggingCategory>
#include <QQuickWindow>

#include "korvane/apps/browser/tour/TourEye.h"

namespace korvane {

namespace {

Q_LOGGING_CATEGORY(startup, "korvane.startup", QtWarningMsg)

}  // namespace

StartupWatch::StartupWatch(Application& application) : application_(application) {
    QQuickWindow* const window = application.window();
    if (!window || !startup().isInfoEnabled()) return;
    // The last moment at which the frame may still change, and the one at which it is seen.
    connect(window, &QQuickWindow::afterAnimating, this, &StartupWatch::look);
    connect(window, &QQuickWindow::frameSwapped, this, &StartupWatch::tell);
}

void StartupWatch::look() {
    ScrubberView* const strip = application_.browser().strip().view();
    isFilled_ = strip && strip->isVisible() && application_.browser().strip().isReady() && areCellsFilled(*strip);
}

void StartupWatch::tell() {
    if (!isFilled_) return;
    application_.window()->disconnect(this);
    qCInfo(startup, "filled");
}

}  // namespace korvane
