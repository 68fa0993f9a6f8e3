#pragma once

#include <filesystem>
#include <string>

#include "korvane/base/Descriptor.h"
#include "korvane/base/Result.h"

struct stat;

namespace korvane {

/// A folder of footage, whose files are opened beneath it and nowhere else. All functions may be called from any
/// thread. Paths are relative to the folder.
class FolderRoot {
  public:
    /// With `followLinks`, links in the folder are followed wherever they lead. Fails when there is no such folder;
    /// the error is a busy one where the system has refused it.
    static Result<FolderRoot> open(const std::filesystem::path& folder, bool followLinks = false);

    const std::filesystem::path& path() const { return path_; }
    bool followsLinks() const { return followsLinks_; }

    /// A regular file for reading: no pipe and no device is waited for. The error is a busy one where the system has
    /// refused it.
    Result<Descriptor> openFile(const std::string& path) const;
    /// A folder below for listing; "" is the folder itself.
    Result<Descriptor> openFolder(const std::string& path) const;
    /// What lies there, without opening it for reading. False where nothing does that may be opened; fails where that
    /// cannot be found out.
    Result<bool> describe(const std::string& path, struct stat& info) const;

  private:
    FolderRoot(std::filesystem::path path, Descriptor descriptor, bool followsLinks)
        : path_(std::move(path)), descriptor_(std::move(descriptor)), followsLinks_(followsLinks) {}
    Descriptor openAny(const std::string& path, int flags) const;

    std::filesystem::path path_;
    Descriptor descriptor_;
    bool followsLinks_;
};

}  // namespace korvane
