#include "toolkit/ToolkitContext.h"

#include <QCoreApplication>
#include <QStandardPaths>
#include <utility>

#include "toolkit/FrameGrabber.h"
#include "toolkit/ImageCache.h"
#include "toolkit/ImageLoader.h"
#include "toolkit/QtScheduler.h"

namespace korvane {
namespace {

// Goes away with the application object.
std::shared_ptr<ToolkitContext>& sharedContext() {
    static std::shared_ptr<ToolkitContext> context;
    static bool isWatched = false;
    if (!std::exchange(isWatched, true)) {
        qAddPostRoutine([] {
            isWatched = false;
            context.reset();
        });
    }
    return context;
}

QString diskDirectory() {
    const QString caches = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    return caches.isEmpty() ? QString() : caches + QStringLiteral("/korvane-images");
}

}  // namespace

std::shared_ptr<ToolkitContext> ToolkitContext::makeDefault() {
    return makeWith(std::make_shared<QtScheduler>());
}

std::shared_ptr<ToolkitContext> ToolkitContext::makeWith(std::shared_ptr<Scheduler> scheduler) {
    Scheduler& s = *scheduler;
    return std::make_shared<ToolkitContext>(
        ToolkitContext{std::move(scheduler), std::make_shared<ImageCache>(s, diskDirectory()),
                       std::make_shared<ImageLoader>(s), std::make_shared<FrameGrabber>(s)});
}

std::shared_ptr<ToolkitContext> ToolkitContext::shared() {
    auto& context = sharedContext();
    if (!context) context = makeDefault();
    return context;
}

void ToolkitContext::setShared(std::shared_ptr<ToolkitContext> context) {
    sharedContext() = std::move(context);
}

}  // namespace korvane
