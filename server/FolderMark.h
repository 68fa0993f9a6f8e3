#pragma once

#include <filesystem>
#include <string>

namespace korvane {

/// A random name that a folder of footage carries in FOLDER/.korvane/mark, by which it is known again wherever it has
/// moved to. Empty where a folder has none, and where it cannot be read or written.
class FolderMark {
  public:
    static std::string read(const std::filesystem::path& folder);
    /// A new one in place of what is there.
    static std::string make(const std::filesystem::path& folder);
};

}  // namespace korvane
