#pragma once

#include <memory>

#include "base/Scheduler.h"

namespace korvane {

class FrameGrabber;
class ImageCache;
class ImageLoader;

/// What toolkit objects take from their surroundings. Views made by an interface file cannot be handed constructor
/// arguments, so they read the shared context when they are made; a host or a test puts its own there first.
/// Main thread only.
struct ToolkitContext {
    std::shared_ptr<Scheduler> scheduler;
    std::shared_ptr<ImageCache> imageCache;
    std::shared_ptr<ImageLoader> imageLoader;
    std::shared_ptr<FrameGrabber> frameGrabber;

    /// A context on Qt's event loop, with everything in it. Needs the application object.
    static std::shared_ptr<ToolkitContext> makeDefault();

    /// The same, on a scheduler of the caller's.
    static std::shared_ptr<ToolkitContext> makeWith(std::shared_ptr<Scheduler> scheduler);

    /// Never null; makes a default one at the first call. It goes away with the application object.
    static std::shared_ptr<ToolkitContext> shared();

    /// Replaces the shared context for objects made from now on; null brings back a default one. Objects that exist
    /// keep the one they took. Each member of `context` must be set.
    static void setShared(std::shared_ptr<ToolkitContext> context);
};

}  // namespace korvane
