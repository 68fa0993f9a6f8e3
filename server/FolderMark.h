#pragma once

#include <filesystem>
#include <string>

#include "korvane/base/Result.h"

namespace korvane {

/// A random name that a folder of footage carries in FOLDER/.korvane/mark, by which it is known again wherever it has
/// moved to.
class FolderMark {
  public:
    /// Empty where a folder has none, or one that is not this user's. Fails where that cannot be found out.
    static Result<std::string> read(const std::filesystem::path& folder);
    /// A new one in place of what is there; empty where it cannot be written.
    static std::string make(const std::filesystem::path& folder);
};

}  // namespace korvane
