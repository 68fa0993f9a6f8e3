#include "korvane/server/Importer.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <set>
#include <thread>

#include "korvane/base/UtcTime.h"
#include "korvane/film/VideoAnalysis.h"
#include "korvane/server/EventList.h"
#include "korvane/server/FileLock.h"
#include "korvane/server/FileTime.h"
#include "korvane/server/FolderFiles.h"
#include "korvane/server/FolderMark.h"
#include "korvane/server/FolderRoot.h"
#include "korvane/server/LocalDays.h"
#include "korvane/server/Storage.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr const char* motionName = "motion";
constexpr std::chrono::milliseconds waitForTurn(50);
// For the pictures of one list in one film, some thousands: where each takes the whole film, all would take days.
constexpr std::chrono::minutes mostForPictures(5);

/// One run over one folder. Each step gives an Error where the whole import has to end.
class Import {
  public:
    Import(Storage& storage, const FolderRoot& folder, const ImportOptions& options)
        : storage_(storage), root_(folder), folder_(folder.path()), options_(options) {}

    Result<ImportReport> run() {
        FileLock turn(storage_.file().string() + ".import");
        if (!await(turn)) return std::move(report_);
        auto files = listFolder(root_);
        if (!files) return files.error();
        report_.rejected = std::move(files->others);
        if (files->videos.empty()) return Error{"there are no video files in " + folder_.string() + whyUnread(*files)};
        if (const Failure failure = prepareCamera()) return *failure;
        if (const Failure failure = forgetMissing(*files)) return *failure;
        total_ = files->videos.size() + files->eventLists.size();
        for (const std::string& path : files->videos)
            if (const Failure failure = step(path, &Import::readVideo)) return *failure;
        // A film that has come may have given a list something to find in it.
        if (const Failure failure = findKnown()) return *failure;
        for (const std::string& path : files->eventLists)
            if (const Failure failure = step(path, &Import::readEvents)) return *failure;
        if (!report_.cancelled) tell("", 0);
        return std::move(report_);
    }

  private:
    struct Reading {
        SourceFile source;
        std::optional<NewRecord> record;
        std::vector<NewEvent> events;
        Failure refusal{};  // of the system to hand the file out, which says nothing of what it holds
    };

    std::string whyUnread(const FolderFiles& files) const {
        for (const ImportRejection& other : report_.rejected)
            if (files.isUnread(other.file)) return "; " + other.file + " " + other.reason;
        return {};
    }

    /// False when cancelled.
    bool await(FileLock& turn) {
        while (!turn.tryLock()) {
            if (options_.onProgress) options_.onProgress({0, 0, "", 0, true});
            if (isCancelled()) report_.cancelled = true;
            if (report_.cancelled) return false;
            std::this_thread::sleep_for(waitForTurn);
        }
        return true;
    }

    Failure prepareCamera() {
        CameraFile told = readCameraFile(root_, report_.rejected);
        if (!options_.cameraName.empty()) told.name = options_.cameraName;
        if (!options_.timezone.empty()) told.timezone = options_.timezone;
        if (!told.timezone.empty() && !LocalDays::isKnown(told.timezone))
            return Error{"time zone " + told.timezone + " is not known"};
        if (const Failure failure = findMark()) return failure;
        const auto cameras = storage_.cameras();
        if (!cameras) return cameras.error();
        const bool known = std::any_of(cameras->begin(), cameras->end(),
                                       [this](const Camera& camera) { return camera.folder == folder_.string(); });
        if (!known && told.name.empty()) told.name = folder_.filename().string();
        if (!known && told.timezone.empty()) told.timezone = localTimeZoneName();
        const auto camera = storage_.cameraForFolder(folder_.string(), told.name, told.timezone);
        if (!camera) return camera.error();
        report_.cameraId = camera->id;
        report_.cameraName = camera->name;
        return keepMark(camera->id);
    }

    /// Has a camera follow its folder to where it is now.
    Failure findMark() {
        if (storage_.isOwnOf(folder_)) return std::nullopt;
        const auto mark = FolderMark::read(folder_);
        if (!mark) return mark.error();
        mark_ = *mark;
        if (mark_.empty()) return std::nullopt;
        const auto camera = storage_.markedCamera(mark_);
        if (!camera) return camera.error();
        isMarkKnown_ = camera->has_value();
        if (isMarkKnown_ && (*camera)->folder == folder_.string()) return std::nullopt;
        const auto isCopy = isMarkKnown_ ? isCopyOf((*camera)->folder) : false;
        if (!isCopy) return isCopy.error();
        if (!*isCopy) return storage_.moveToFolder(folder_.string(), mark_);
        mark_.clear();
        isMarkKnown_ = false;
        return std::nullopt;
    }

    /// Whether the folder's mark is also on `other`, which is another folder.
    Result<bool> isCopyOf(const fs::path& other) const {
        const auto mark = FolderMark::read(other);
        if (!mark) return mark.error();
        std::error_code code;
        const bool isSame = *mark == mark_ && fs::equivalent(other, folder_, code);
        if (code) return Error{other.string() + " cannot be read: " + code.message()};
        return *mark == mark_ && !isSame;
    }

    Failure keepMark(std::int64_t camera) {
        if (isMarkKnown_ || storage_.isOwnOf(folder_)) return std::nullopt;
        if (mark_.empty()) mark_ = FolderMark::make(folder_);
        // A folder that cannot be written to is known by its path alone.
        return mark_.empty() ? std::nullopt : storage_.markCamera(camera, mark_);
    }

    Failure forgetMissing(const FolderFiles& files) {
        if (const Failure failure = findKnown()) return *failure;
        for (const auto& [path, source] : known_) {
            const auto has = [&path = path](const std::vector<std::string>& paths) {
                return std::binary_search(paths.begin(), paths.end(), path);
            };
            if (has(files.videos) || has(files.eventLists) || files.isUnread(path)) continue;
            if (Failure failure = storage_.removeSource(report_.cameraId, path)) return failure;
            ++report_.removed;
        }
        return std::nullopt;
    }

    Failure findKnown() {
        auto sources = storage_.sources(report_.cameraId);
        if (!sources) return sources.error();
        known_.clear();
        for (SourceFile& source : *sources) known_.emplace(source.path, std::move(source));
        return std::nullopt;
    }

    /// Reads a file with `read` unless an import has done so, and stores what comes of it.
    Failure step(const std::string& path, Failure (Import::*read)(Reading&)) {
        if (isCancelled()) {
            report_.cancelled = true;
            return std::nullopt;
        }
        const auto found = describeFile(root_, path);
        if (!found) return refuse(path, found.error());
        if (!*found) {
            report_.rejected.push_back({path, "has vanished"});
            ++done_;
            return std::nullopt;
        }
        const SourceFile& source = **found;
        const auto known = known_.find(path);
        if (known != known_.end() && known->second.size == source.size && known->second.modified == source.modified) {
            ++report_.unchanged;
            if (!known->second.rejection.empty()) report_.rejected.push_back({path, known->second.rejection});
            ++done_;
            return std::nullopt;
        }
        if (std::chrono::milliseconds(std::abs(systemUtcNow() - source.modified)) < options_.settling) {
            ++done_;
            return std::nullopt;
        }
        tell(path, 0);
        Reading reading{source, std::nullopt, {}};
        if (Failure failure = (this->*read)(reading)) return failure;
        if (isCancelled()) {
            report_.cancelled = true;
            return std::nullopt;
        }
        if (noHelper_) return noHelper_;
        if (reading.refusal) return refuse(path, *reading.refusal);
        if (Failure failure = storage_.storeRecording(report_.cameraId, reading.source, reading.record, reading.events))
            return failure;
        if (!reading.source.rejection.empty()) report_.rejected.push_back({path, reading.source.rejection});
        if (reading.record || !reading.events.empty()) report_.imported.push_back(path);
        report_.events += reading.events.size();
        ++done_;
        return std::nullopt;
    }

    /// Leaves what an earlier import has stored of the file, for a later one to try again.
    Failure refuse(const std::string& path, const Error& error) {
        if (refused_.insert(path).second) report_.rejected.push_back({path, error.message});
        ++done_;
        return std::nullopt;
    }

    Failure readVideo(Reading& reading) {
        SourceFile& source = reading.source;
        if (source.size == 0) {
            source.rejection = "is empty";
            return std::nullopt;
        }
        VideoAnalysisOptions how;
        how.threads = options_.threads > 0 ? options_.threads : std::max(1U, std::thread::hardware_concurrency());
        how.cancel = options_.cancel;
        how.onProgress = [this, &source](double fraction) { tell(source.path, fraction); };
        const auto file = root_.openFile(source.path);
        if (!file) {
            reject(reading, file.error());
            return std::nullopt;
        }
        auto analysis = analyzeVideo(films(), file->get(), how);
        if (!analysis && analysis.error().isBusy) noHelper_ = analysis.error();
        if (!analysis) {
            source.rejection = analysis.error().message;
            return std::nullopt;
        }
        const auto named = timeFromFileName(fs::path(source.path).filename().string());
        const TimeMs start = named               ? *named
                             : analysis->created ? *analysis->created
                                                 : source.modified - analysis->duration;
        if (start < 0 || start > latestMoment) {
            source.rejection = "its time is not one that a recording can have";
            return std::nullopt;
        }
        reading.record = NewRecord{start, start + analysis->duration, std::move(analysis->thumbnail)};
        for (VideoMotion& motion : analysis->motions)
            reading.events.push_back({start + motion.offset, motionName, std::move(motion.thumbnail)});
        return std::nullopt;
    }

    Failure readEvents(Reading& reading) {
        std::vector<std::string> reasons;
        const auto text = readWhole(root_, reading.source.path);
        if (!text) {
            reject(reading, text.error());
            return std::nullopt;
        }
        reading.events = readEventList(*text, reasons, options_.cancel);
        for (const std::string& reason : reasons)
            reading.source.rejection += (reading.source.rejection.empty() ? "" : "; ") + reason;
        // A list grows by a line at a time: the pictures of those before are not taken anew for it.
        if (Failure failure = storage_.findPictured(report_.cameraId, reading.source.path, reading.events))
            return failure;
        std::map<std::string, Clock::duration> taken;  // by film
        for (NewEvent& event : reading.events) {
            if (isCancelled()) return std::nullopt;
            if (event.keepsThumbnail) continue;
            PageQuery covering;
            covering.range = {event.time, event.time};
            covering.limit = 1;
            const auto page = storage_.records(report_.cameraId, covering);
            if (!page) return page.error();
            if (page->rows.empty()) continue;
            const StoredRecord& record = page->rows.front();
            if (taken[record.path] > mostForPictures) continue;
            const auto film = root_.openFile(record.path);
            if (!film && film.error().isBusy) {
                if (refused_.insert(record.path).second)
                    report_.rejected.push_back({record.path, film.error().message});
                event.keepsThumbnail = true;
                reading.source.size = SourceFile::sizeOfNone;
            }
            if (!film) continue;
            const auto begun = Clock::now();
            auto picture = pictureAt(films(), film->get(), event.time - record.start, options_.cancel);
            taken[record.path] += Clock::now() - begun;
            if (picture) event.thumbnail = std::move(*picture);
            if (picture || !picture.error().isBusy) continue;
            noHelper_ = picture.error();
            return std::nullopt;
        }
        return std::nullopt;
    }

    static void reject(Reading& reading, const Error& error) {
        if (error.isBusy)
            reading.refusal = error;
        else
            reading.source.rejection = error.message;
    }

    FilmHelper& films() { return options_.films != nullptr ? *options_.films : ownFilms_; }
    bool isCancelled() const { return options_.cancel != nullptr && options_.cancel->load(); }

    void tell(const std::string& file, double fraction) const {
        if (options_.onProgress) options_.onProgress({done_, total_, file, fraction});
    }

    Storage& storage_;
    const FolderRoot& root_;
    const fs::path folder_;
    const ImportOptions& options_;
    FilmHelper ownFilms_;
    Failure noHelper_;  // says nothing of the file that was to be read
    ImportReport report_;
    std::map<std::string, SourceFile> known_;
    std::string mark_;
    bool isMarkKnown_ = false;
    std::set<std::string> refused_;  // files that the system did not hand out
    std::size_t done_ = 0;
    std::size_t total_ = 0;
};

}  // namespace

Result<ImportReport> importFolder(Storage& storage, const fs::path& folder, const ImportOptions& options) {
    try {
        const auto opened = FolderRoot::open(folder, options.followLinks);
        if (!opened) return opened.error();
        return Import(storage, *opened, options).run();
    } catch (const std::exception& error) {
        return Error{std::string("import has failed: ") + error.what()};
    }
}

Result<bool> hasVideoFiles(const fs::path& folder) {
    const auto root = FolderRoot::open(folder);
    if (!root) return root.error();
    const auto files = listFolder(*root);
    if (!files) return files.error();
    return !files->videos.empty();
}

}  // namespace korvane
