#pragma once

#include <string>

#include "korvane/base/Descriptor.h"

namespace korvane {

/// Opens `path` beneath the folder that is open as `root`, by the kernel where it can, else step by step. A path that
/// is absolute or leads out of the folder, by ".." or a link, is not opened. None with errno set on failure.
Descriptor openBeneath(int root, const std::string& path, int flags);

/// The same for any kernel. Follows no links at all.
Descriptor openStepByStep(int root, const std::string& path, int flags);

}  // namespace korvane
