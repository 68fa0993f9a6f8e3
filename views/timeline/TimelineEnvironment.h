#pragma once

#include <memory>

namespace korvane {

class KorvaneService;
struct ToolkitContext;

/// What widgets are given. The service and the toolkit's scheduler outlive every widget and every completion of the
/// service; so a host keeps its service until the client library's threads have ended. Main thread only.
struct TimelineEnvironment {
    /// Null stands for ToolkitContext::shared().
    std::shared_ptr<ToolkitContext> toolkit;
    /// A widget without one stays empty.
    std::shared_ptr<KorvaneService> service;

    /// For widgets that are made without an environment, by QML say. Empty until set.
    static const TimelineEnvironment& shared();
    /// Widgets that exist keep what they were made with.
    static void setShared(TimelineEnvironment environment);
};

}  // namespace korvane
