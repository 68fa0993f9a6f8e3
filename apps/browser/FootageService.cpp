#include "korvane/apps/browser/FootageService.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <system_error>
#include <tuple>

#include "korvane/server/CameraServer.h"
#include "korvane/server/Importer.h"
#include "korvane/server/Storage.h"

namespace korvane {

namespace {

constexpr std::chrono::hours tokenLife{24 * 30};
// A file that still grows is left alone.
constexpr std::chrono::milliseconds settling{3'000};
// Looking takes at most this part of the time.
constexpr int pauseToLook = 20;

using FileIdentity = std::pair<dev_t, ino_t>;

std::optional<FileIdentity> identityOf(const std::filesystem::path& file) {
    struct stat info {};
    if (::stat(file.c_str(), &info) != 0) return std::nullopt;
    return FileIdentity{info.st_dev, info.st_ino};
}

FootageService::Progress progressOf(const ImportProgress& import) {
    const auto total = static_cast<double>(import.filesTotal);
    const double done = static_cast<double>(import.filesDone) + import.fraction;
    return {import.filesDone, import.filesTotal, import.file, total > 0 ? done / total : 0, import.isWaiting};
}

bool isSame(const FootageService::Look& one, const FootageService::Look& other) {
    return std::tie(one.rejected, one.fault) == std::tie(other.rejected, other.fault);
}

}  // namespace

/// The worker's side. Used by one thread of the pool at a time, but for cancel().
class FootageService::Work {
  public:
    Work(std::filesystem::path folder, std::function<void(const Progress&)> progress,
         std::function<void(const Started&)> started)
        : folder_(std::move(folder)),
          database_(defaultDatabase(folder_)),
          progress_(std::move(progress)),
          started_(std::move(started)) {}

    void cancel() { isCancelled_ = true; }

    Look look() {
        Look look;
        if (const Failure failure = lookAt(look)) look.fault = failure->message;
        return look;
    }

  private:
    Failure lookAt(Look& look) {
        std::error_code code;
        if (!std::filesystem::is_directory(folder_, code)) return Error{"there is no folder " + folder_.string()};
        closeReplaced();
        if (!storage_) {
            auto opened = Storage::open(database_);
            if (!opened) return opened.error();
            storage_ = std::move(*opened);
        }
        if (!server_) {
            if (const Failure failure = serveKnown()) return failure;
        }
        const bool isServed = server_.has_value();
        const auto report = importFolder(*storage_, folder_, options());
        if (!report) return serveWhatCame(report.error());
        look.imported = report->imported.size();
        look.unchanged = report->unchanged;
        for (const auto& rejection : report->rejected) look.rejected.emplace_back(rejection.file, rejection.reason);
        const bool isForeign = hasForeignChanges();
        look.hasNews = isServed && (!report->imported.empty() || report->removed > 0 || isForeign);
        if (isServed || report->cancelled) return {};
        return serve({report->cameraId, report->cameraName, "", ""});
    }

    ImportOptions options() {
        ImportOptions options;
        options.cancel = &isCancelled_;
        if (server_) options.settling = settling;
        options.onProgress = [this](const ImportProgress& import) { progress_(progressOf(import)); };
        return options;
    }

    /// Another folder in the place of the one that was served brings a data base of its own.
    void closeReplaced() {
        if (!server_ || identityOf(database_) == served_) return;
        server_.reset();
        storage_.reset();
    }

    Failure serveKnown() {
        std::error_code code;
        const std::string folder = std::filesystem::canonical(folder_, code).string();
        const auto cameras = storage_->cameras();
        if (code || !cameras) return {};  // the import says more
        const auto camera = std::find_if(cameras->begin(), cameras->end(),
                                         [&folder](const Camera& known) { return known.folder == folder; });
        if (camera == cameras->end()) return {};
        PageQuery any;
        any.limit = 1;
        const auto page = storage_->records(camera->id, any);
        return page && !page->rows.empty() ? serve(*camera) : Failure();
    }

    /// An import that broke off, for want of space say, has left what it had read.
    Error serveWhatCame(Error reason) {
        if (!server_ && !isCancelled_) static_cast<void>(serveKnown());
        return reason;
    }

    Failure serve(const Camera& camera) {
        server_.emplace(database_);
        if (const auto port = server_->start(); !port) return drop(port.error());
        const auto token = server_->issueToken(camera.id, tokenLife);
        if (!token) return drop(token.error());
        served_ = identityOf(database_);
        changes_ = storage_->foreignChanges() ? *storage_->foreignChanges() : 0;
        started_({*token, camera.name});
        return {};
    }

    Error drop(Error reason) {
        server_.reset();
        return reason;
    }

    bool hasForeignChanges() {
        const auto changes = storage_->foreignChanges();
        return changes && std::exchange(changes_, *changes) != *changes;
    }

    const std::filesystem::path folder_;
    const std::filesystem::path database_;
    const std::function<void(const Progress&)> progress_;
    const std::function<void(const Started&)> started_;
    std::atomic<bool> isCancelled_ = false;
    std::unique_ptr<Storage> storage_;
    std::optional<CameraServer> server_;
    std::optional<FileIdentity> served_;
    std::int64_t changes_ = 0;
};

FootageService::FootageService(Scheduler& scheduler, Handlers handlers, std::chrono::milliseconds pause)
    : scheduler_(scheduler), handlers_(std::move(handlers)), pause_(pause) {}

FootageService::~FootageService() {
    if (work_) work_->cancel();
    pool_.stop();
}

void FootageService::start(const std::filesystem::path& folder) {
    // Guards are made here: the worker must not touch this object.
    const auto onMain = [this](auto handler) {
        return [&scheduler = scheduler_, handler = life_.guard(std::move(handler))](const auto& what) {
            scheduler.post([handler, what]() mutable { handler(what); });
        };
    };
    work_ = std::make_shared<Work>(folder, onMain([this](const Progress& what) {
                                       if (handlers_.progress) handlers_.progress(what);
                                   }),
                                   onMain([this](const Started& what) {
                                       isStarted_ = true;
                                       if (handlers_.started) handlers_.started(what);
                                   }));
    look();
}

void FootageService::look() {
    auto ended = life_.guard([this](const Look& look, std::chrono::microseconds taken) { onLooked(look, taken); });
    pool_.run([&scheduler = scheduler_, work = work_, ended] {
        const auto begun = scheduler.monotonicNow();
        const Look look = work->look();
        const auto taken = scheduler.monotonicNow() - begun;
        scheduler.post([ended, look, taken]() mutable { ended(look, taken); });
    });
}

void FootageService::onLooked(const Look& look, std::chrono::microseconds taken) {
    const bool isTold = !before_ || look.hasNews || !isSame(look, *before_);
    before_ = look;
    scheduler_.after(std::max(pause_, std::chrono::duration_cast<std::chrono::milliseconds>(taken * pauseToLook)),
                     life_.guard([this] { this->look(); }));
    if (!isTold) return;
    if (isStarted_ && handlers_.looked) handlers_.looked(look);
    if (!isStarted_ && handlers_.failed) handlers_.failed(look.fault);
}

}  // namespace korvane
