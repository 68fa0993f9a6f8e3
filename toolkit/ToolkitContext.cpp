#include "korvane/toolkit/ToolkitContext.h"

#include <QCoreApplication>
#include <QStandardPaths>
#include <utility>

#include "korvane/toolkit/FrameGrabber.h"
#include "korvane/toolkit/ImageCache.h"
#include "korvane/toolkit/ImageLoader.h"
#include "korvane/toolkit/QtScheduler.h"

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

// Null outside of every Use.
std::shared_ptr<ToolkitContext>& usedContext() {
    static std::shared_ptr<ToolkitContext> context;
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

std::shared_ptr<ToolkitContext> ToolkitContext::current() {
    const auto& used = usedContext();
    return used ? used : shared();
}

ToolkitContext::Use::Use(std::shared_ptr<ToolkitContext> context) : before_(usedContext()) {
    if (context) usedContext() = std::move(context);
}

ToolkitContext::Use::~Use() {
    usedContext() = std::move(before_);
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
