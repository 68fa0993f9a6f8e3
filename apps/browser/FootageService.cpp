#include "korvane/apps/browser/FootageService.h"

#include <sys/stat.h>

#include <QCryptographicHash>
#include <QStandardPaths>
#include <algorithm>
#include <atomic>
#include <optional>
#include <system_error>
#include <tuple>

#include "korvane/apps/browser/BrowserCommandLine.h"
#include "korvane/server/AccessToken.h"
#include "korvane/server/CameraServer.h"
#include "korvane/server/Importer.h"
#include "korvane/server/Storage.h"

namespace korvane {

namespace {

// Of this process alone; the application makes at most a dozen.
constexpr std::size_t connections = 200;
constexpr std::chrono::hours tokenLife{24 * 30};
// A file that still grows is left alone.
constexpr std::chrono::milliseconds settling{3'000};
// Looking takes at most this part of the time.
constexpr int pauseToLook = 20;
constexpr std::chrono::milliseconds longestPause{60'000};

using FileIdentity = std::pair<dev_t, ino_t>;

std::optional<FileIdentity> identityOf(const std::filesystem::path& file) {
    struct stat info {};
    if (::stat(file.c_str(), &info) != 0) return std::nullopt;
    return FileIdentity{info.st_dev, info.st_ino};
}

/// Among the person's own data, for a folder that cannot be written to, or keeps nothing from others: a card, say.
std::filesystem::path personalDatabase(const std::filesystem::path& folder) {
    std::error_code code;
    const std::string whole = std::filesystem::weakly_canonical(folder, code).string();
    const QByteArray name = QCryptographicHash::hash(QByteArray::fromStdString(whole), QCryptographicHash::Sha256);
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return std::filesystem::path(data.toStdString()) / "korvane-browser" / name.toHex().left(32).toStdString() /
           "camera.db";
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
    /// Called by that thread.
    struct Tell {
        std::function<void(const Progress&)> progress;
        std::function<void(const Started&)> started;
        std::function<void(bool)> stopped;
    };

    Work(std::filesystem::path folder, Tell tell) : folder_(std::move(folder)), tell_(std::move(tell)) {}

    void cancel() { isCancelled_ = true; }

    Look look() {
        Look look;
        if (const Failure failure = lookAt(look)) look.fault = failure->message;
        if (!server_) return look;
        // What was stored before a look broke off counts too.
        if (const auto mark = storage_->changeMark()) look.hasNews = std::exchange(told_, *mark) != *mark;
        return look;
    }

  private:
    Failure lookAt(Look& look) {
        if (std::string fault = folderFault(folder_); !fault.empty()) return Error{std::move(fault)};
        closeReplaced();
        if (!storage_) {
            if (Failure failure = open()) return failure;
        }
        if (!server_) {
            if (const Failure failure = serveKnown()) return failure;
        }
        const auto report = importFolder(*storage_, folder_, options());
        if (!report) return serveWhatCame(report.error());
        look.imported = report->imported.size();
        look.unchanged = report->unchanged;
        for (const auto& rejection : report->rejected)
            if (!rejection.isOtherKind) look.rejected.emplace_back(rejection.file, rejection.reason);
        if (server_ || report->cancelled) return {};
        return serve({report->cameraId, report->cameraName, "", ""});
    }

    ImportOptions options() {
        ImportOptions options;
        options.cancel = &isCancelled_;
        if (server_) options.settling = settling;
        options.onProgress = [this](const ImportProgress& import) { tell_.progress(progressOf(import)); };
        return options;
    }

    Failure open() {
        const auto places = {defaultDatabase(folder_), personalDatabase(folder_)};
        const auto isThere = [](const std::filesystem::path& file) {
            std::error_code code;
            return std::filesystem::exists(file, code);
        };
        if (std::none_of(places.begin(), places.end(), isThere)) {
            const auto hasVideos = hasVideoFiles(folder_);
            if (!hasVideos) return hasVideos.error();
            if (!*hasVideos) return Error{"There are no video files in " + folder_.string() + "."};
        }
        Failure first;
        for (const auto& file : places) {
            Failure failure = openAt(file);
            if (!failure) return {};
            if (!first) first = std::move(failure);
        }
        return first;
    }

    Failure openAt(const std::filesystem::path& file) {
        // Before a data base is made where its key cannot be kept.
        if (const auto key = AccessToken::forDatabase(file); !key) return key.error();
        auto opened = Storage::open(file);
        if (!opened) return opened.error();
        storage_ = std::move(*opened);
        database_ = file;
        opened_ = identityOf(database_);
        return {};
    }

    /// Another folder in the place of this one, or another disk over it, brings a data base of its own.
    void closeReplaced() {
        if (!storage_ || identityOf(database_) == opened_) return;
        if (server_) tell_.stopped(true);
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
        CameraServerOptions options;
        options.connections = connections;
        server_.emplace(database_, options);
        if (const auto port = server_->start(); !port) return drop(port.error());
        const auto token = server_->issueToken(camera.id, tokenLife);
        if (!token) return drop(token.error());
        if (const auto mark = storage_->changeMark()) told_ = *mark;
        tell_.started({*token, camera.name});
        return {};
    }

    Error drop(Error reason) {
        server_.reset();
        return reason;
    }

    const std::filesystem::path folder_;
    std::filesystem::path database_;  // the one that is open
    const Tell tell_;
    std::atomic<bool> isCancelled_ = false;
    std::unique_ptr<Storage> storage_;
    std::optional<FileIdentity> opened_;
    std::optional<CameraServer> server_;
    ChangeMark told_;
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
    work_ = std::make_shared<Work>(folder, Work::Tell{onMain([this](const Progress& what) { onProgress(what); }),
                                                      onMain([this](const Started& what) {
                                                          isStarted_ = true;
                                                          if (handlers_.started) handlers_.started(what);
                                                      }),
                                                      onMain([this](bool) { onStopped(); })});
    look();
}

void FootageService::onProgress(const Progress& progress) {
    if (progress.file.empty() && !progress.isWaiting) return;
    // A fault that was told is out of sight now, and is told again should it last.
    if (!isStarted_) before_.reset();
    isImporting_ = true;
    if (handlers_.progress) handlers_.progress(progress);
}

void FootageService::onStopped() {
    isStarted_ = false;
    before_.reset();
    if (handlers_.stopped) handlers_.stopped();
}

void FootageService::look() {
    isImporting_ = false;
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
    // An import takes its time; only a look that has found nothing tells what looking costs.
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(taken * pauseToLook);
    const auto pause = isImporting_ ? pause_ : std::clamp(rest, pause_, longestPause);
    scheduler_.after(pause, life_.guard([this] { this->look(); }));
    if (!isTold) return;
    if (isStarted_ && handlers_.looked) handlers_.looked(look);
    if (!isStarted_ && handlers_.failed) handlers_.failed(look.fault);
}

}  // namespace korvane
