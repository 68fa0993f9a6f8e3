#pragma once

#include <memory>

#include "korvane/base/Scheduler.h"

namespace korvane {

class FrameGrabber;
class ImageCache;
class ImageLoader;

/// What toolkit objects take from their surroundings. Views made by an interface file cannot be handed constructor
/// arguments, so their constructors read current(). A widget with a context of its own hands it to
/// InterfaceLoader::load(); a collection view makes its cells with the context that it was made with itself. Main
/// thread only.
struct ToolkitContext {
    std::shared_ptr<Scheduler> scheduler;
    std::shared_ptr<ImageCache> imageCache;
    std::shared_ptr<ImageLoader> imageLoader;
    std::shared_ptr<FrameGrabber> frameGrabber;

    /// A context on Qt's event loop, with everything in it. Needs the application object.
    static std::shared_ptr<ToolkitContext> makeDefault();

    /// The same, on a scheduler of the caller's.
    static std::shared_ptr<ToolkitContext> makeWith(std::shared_ptr<Scheduler> scheduler);

    /// What constructors take: the context of the innermost Use that lives, else shared(). Never null.
    static std::shared_ptr<ToolkitContext> current();

    /// Makes a context the current one while it lives; null leaves the current one as it is. Uses nest, so
    /// they are local variables.
    class Use {
      public:
        explicit Use(std::shared_ptr<ToolkitContext> context);
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

      private:
        std::shared_ptr<ToolkitContext> before_;
    };

    /// Never null; makes a default one at the first call. It goes away with the application object.
    static std::shared_ptr<ToolkitContext> shared();

    /// Replaces the shared context for objects made from now on; null brings back a default one. Objects that exist
    /// keep the one they took. Each member of `context` must be set.
    static void setShared(std::shared_ptr<ToolkitContext> context);
};

}  // namespace korvane
