#include "korvane/apps/browser/FootageService.h"

#include <atomic>
#include <chrono>
#include <optional>

#include "korvane/server/CameraServer.h"
#include "korvane/server/Importer.h"
#include "korvane/server/Storage.h"

namespace korvane {

namespace {

constexpr std::chrono::hours tokenLife{24 * 30};

FootageService::Progress progressOf(const ImportProgress& import) {
    const auto total = static_cast<double>(import.filesTotal);
    const double done = static_cast<double>(import.filesDone) + import.fraction;
    return {import.filesDone, import.filesTotal, import.file, total > 0 ? done / total : 0};
}

}  // namespace

struct FootageService::Work {
    std::atomic<bool> cancel = false;
    std::function<void(const Progress&)> progress;
    std::function<void(const Started&)> started;
    std::function<void(const std::string&)> failed;
    // Touched by the thread until it ends, then by the owner.
    std::optional<CameraServer> server;

    void run(const std::filesystem::path& folder);
    Result<ImportReport> import(const std::filesystem::path& folder, const std::filesystem::path& database);
    Result<Started> serve(const ImportReport& report, const std::filesystem::path& database);
};

void FootageService::Work::run(const std::filesystem::path& folder) {
    const std::filesystem::path database = defaultDatabase(folder);
    const auto report = import(folder, database);
    if (!report) return failed(report.error().message);
    if (report->cancelled) return;
    const auto result = serve(*report, database);
    if (result)
        started(*result);
    else
        failed(result.error().message);
}

Result<ImportReport> FootageService::Work::import(const std::filesystem::path& folder,
                                                  const std::filesystem::path& database) {
    const auto storage = Storage::open(database);
    if (!storage) return storage.error();
    ImportOptions options;
    options.cancel = &cancel;
    options.onProgress = [this](const ImportProgress& import) { progress(progressOf(import)); };
    return importFolder(**storage, folder, options);
}

Result<FootageService::Started> FootageService::Work::serve(const ImportReport& report,
                                                            const std::filesystem::path& database) {
    server.emplace(database);
    if (const auto port = server->start(); !port) return port.error();
    const auto token = server->issueToken(report.cameraId, tokenLife);
    if (!token) return token.error();
    Started result{*token, report.cameraName, report.imported.size(), report.unchanged, {}};
    for (const auto& rejection : report.rejected) result.rejected.emplace_back(rejection.file, rejection.reason);
    return result;
}

FootageService::FootageService(Scheduler& scheduler, Handlers handlers)
    : scheduler_(scheduler), handlers_(std::move(handlers)) {}

FootageService::~FootageService() {
    if (!work_) return;
    work_->cancel = true;
    if (thread_) thread_->join();
    if (work_->server) work_->server->stop();
}

void FootageService::start(const std::filesystem::path& folder) {
    work_ = std::make_shared<Work>();
    // Guards are made here: the thread must not touch this object.
    const auto onMain = [this](auto handler) {
        return [&scheduler = scheduler_, handler = life_.guard(std::move(handler))](const auto& what) {
            scheduler.post([handler, what]() mutable { handler(what); });
        };
    };
    work_->progress = onMain([this](const Progress& what) { handlers_.progress(what); });
    work_->started = onMain([this](const Started& what) { handlers_.started(what); });
    work_->failed = onMain([this](const std::string& what) { handlers_.failed(what); });
    thread_ = scheduler_.spawn("import", [work = work_, folder] { work->run(folder); });
    if (!thread_) work_->failed("the system gives no further thread");
}

}  // namespace korvane
