#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "korvane/base/Descriptor.h"
#include "korvane/base/Result.h"

namespace korvane {

/// Where a data base and its key lie.
struct DataPlace {
    /// Absolute, and without links up to the folder that holds `.korvane`, or else up to the file.
    std::filesystem::path file;
    /// The folder of footage whose own data base it is, FOLDER of FOLDER/.korvane/camera.db; else empty.
    std::filesystem::path home;

    /// Makes the folder of `file` when it is missing. Fails when the data folder is a link.
    static Result<DataPlace> of(const std::filesystem::path& file);
};

/// Whether a file of the service's own is there: a regular one that belongs to this user, no link. Fails for what is
/// none. Opens nothing: the end of any descriptor of a data base takes all locks that the process has on it.
Result<bool> hasOwnFile(const std::filesystem::path& file);

/// Opens a file of the service's own for reading: a regular one that belongs to this user, no link. None when there is
/// no file; the error is a busy one where the system has failed.
Result<Descriptor> openOwnFile(const std::filesystem::path& file);

/// Gives `draft` the name `file` unless there is such a file, which is no failure, and forgets the draft's own name.
Failure publish(const std::string& draft, const std::filesystem::path& file);

/// Writes a file that only this user may read, whole, unless there is one: of two that come at a time one wins.
Failure writeOnce(const std::filesystem::path& file, std::string_view bytes);

/// What a person can do about a file that came with a folder.
std::string wayOut(const DataPlace& place);

}  // namespace korvane
