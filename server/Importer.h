#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "korvane/base/Result.h"

namespace korvane {

class FilmHelper;
class Storage;

struct ImportProgress {
    std::size_t filesDone = 0;
    std::size_t filesTotal = 0;
    /// Relative to the folder; empty when all is done.
    std::string file;
    /// How much of that file is read, 0 to 1.
    double fraction = 0;
    /// Another import into the same data base is under way, and this one begins after it.
    bool isWaiting = false;
};

struct ImportOptions {
    /// Empty: what camera.json in the folder says, else the folder's name.
    std::string cameraName;
    /// IANA zone name. Empty: what camera.json says, else the zone of this device.
    std::string timezone;
    /// Threads that decode; 0 for one a core.
    unsigned threads = 0;
    /// Files that have changed within this time may still be written to: they are left as they are until a later
    /// import. 0 for none.
    std::chrono::milliseconds settling{0};
    /// What opens the films; null for one of this import's own. Outlives the import.
    FilmHelper* films = nullptr;
    /// Links in the folder are followed wherever they lead. Without it a file's link is followed inside of the folder,
    /// and a folder's is not.
    bool followLinks = false;
    /// Called from any of the importer's threads, one call at a time.
    std::function<void(const ImportProgress&)> onProgress;
    /// May be set from any thread: the file under way is dropped, finished ones stay, and the next import continues
    /// there.
    const std::atomic<bool>* cancel = nullptr;
};

struct ImportRejection {
    /// Relative to the folder.
    std::string file;
    std::string reason;
    /// Its name is not that of a film: a picture that a camera keeps beside one, say.
    bool isOtherKind = false;
};

struct ImportReport {
    std::int64_t cameraId = 0;
    std::string cameraName;
    std::vector<std::string> imported;
    /// Files that an earlier import has dealt with and that have not changed since.
    std::size_t unchanged = 0;
    /// Files that are gone from the folder; what came from them is forgotten.
    std::size_t removed = 0;
    /// What could not be imported, from earlier imports too, and bad elements of events.json.
    std::vector<ImportRejection> rejected;
    /// Events found in this import.
    std::size_t events = 0;
    bool cancelled = false;
};

/// Reads every video file under `folder` into `storage`: a recording each, with a motion event wherever something
/// begins to move. events.json files add named events, camera.json names the camera. One transaction a file. Of two
/// imports into one data base, in several processes too, the later waits. Fails when the folder is missing, unreadable
/// or has nothing to import, and when the data base fails; what was stored until then stays. Blocks.
Result<ImportReport> importFolder(Storage& storage, const std::filesystem::path& folder, const ImportOptions& options);

/// Whether there is a video file under `folder`, by its name. Fails when the folder is missing or unreadable. Blocks.
Result<bool> hasVideoFiles(const std::filesystem::path& folder);

/// The default place of a folder's data base: FOLDER/.korvane/camera.db.
std::filesystem::path defaultDatabase(const std::filesystem::path& folder);

}  // namespace korvane
