#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "korvane/base/Result.h"
#include "korvane/server/FolderRoot.h"
#include "korvane/server/Importer.h"
#include "korvane/server/Storage.h"

namespace korvane {

/// What a folder holds for an import. Paths are relative to it, in order.
struct FolderFiles {
    std::vector<std::string> videos;
    std::vector<std::string> eventLists;
    std::vector<ImportRejection> others;
    /// Of what lies there, or below, nothing is known; the others tell why.
    std::set<std::string> unread;

    bool isUnread(const std::string& path) const;
};

/// Looks through `folder` and what lies in it; hidden files and folders are left out. What cannot be read is told among
/// the others. Fails when `folder` itself cannot be read.
Result<FolderFiles> listFolder(const FolderRoot& folder);

/// The file's size and time of change; nothing when it is gone. Fails where that cannot be found out.
Result<std::optional<SourceFile>> describeFile(const FolderRoot& folder, const std::string& path);

/// Name and zone of a camera, empty where the file does not tell.
struct CameraFile {
    std::string name;
    std::string timezone;
};

/// Reads camera.json of `folder`; nothing wrong with there being none. What is wrong goes to `rejected`.
CameraFile readCameraFile(const FolderRoot& folder, std::vector<ImportRejection>& rejected);

/// All bytes of a file of `folder`. Fails for one that is larger than a file of ours can be; the error is a busy one
/// where the system has refused it.
Result<std::string> readWhole(const FolderRoot& folder, const std::string& path);

}  // namespace korvane
