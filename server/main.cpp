#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "korvane/base/Printable.h"
#include "korvane/base/UtcTime.h"
#include "korvane/server/AccessToken.h"
#include "korvane/server/CameraServer.h"
#include "korvane/server/CommandLine.h"
#include "korvane/server/FolderFiles.h"
#include "korvane/server/Importer.h"
#include "korvane/server/SampleMaker.h"
#include "korvane/server/Storage.h"

namespace {

namespace fs = std::filesystem;
using namespace korvane;

constexpr int failed = 1;
constexpr int badUsage = 2;
constexpr std::int64_t defaultPort = 8080;
constexpr std::int64_t defaultLifetime = 7 * 86'400;
constexpr TimeMs rowSpacing = 60'000;

constexpr const char* helpText = R"(The camera service: keeps what a camera has recorded and serves it over HTTP.

  korvane-camera-server import FOLDER [--db FILE] [--camera-name NAME] [--timezone ZONE] [--follow-links]
      Reads a folder of video files. Breaking off is safe: the next import goes on from there.
  korvane-camera-server serve [--folder FOLDER | --db FILE] [--address ADDRESS] [--port PORT] [--follow-links]
      Serves what was imported. Without an address only this machine is let in. Port 0 takes a free one.
  korvane-camera-server token [--folder FOLDER | --db FILE] [--camera ID] [--expires-in SECONDS] [--url URL]
      Prints a token for a host application. URL is where the service is reached.
  korvane-camera-server sample FOLDER [--seed NUMBER]
      Films three days in front of a house into a folder.
  korvane-camera-server sample --rows COUNT --db FILE
      Fills a data base with that many events without footage.

FILE is FOLDER/.korvane/camera.db unless told otherwise, FOLDER the current one.
With --follow-links the links in FOLDER are followed wherever they lead.
)";

std::atomic<bool> interrupted = false;

void onSignal(int) {
    interrupted = true;
}

int fail(int code, const std::string& message) {
    std::cerr << "korvane-camera-server: " << printable(message) << '\n';
    return code;
}

fs::path databaseOf(const CommandLine& line) {
    if (line.has("db")) return line.text("db");
    return defaultDatabase(line.has("folder") ? fs::path(line.text("folder")) : fs::current_path());
}

/// A bar on a terminal, else a line every so often.
class ProgressPrinter {
  public:
    void show(double share, const std::string& what) {
        const int percent = static_cast<int>(share * 100);
        if (!terminal_) {
            if (percent / 10 > last_ / 10 || last_ < 0) std::cout << percent << "% " << what << std::endl;
            last_ = percent;
            return;
        }
        if (percent == last_ && what == what_) return;
        constexpr int pictureWidth = 32;
        const int filled = percent * pictureWidth / 100;
        std::cout << "\r\033[K[" << std::string(static_cast<std::size_t>(filled), '#')
                  << std::string(static_cast<std::size_t>(pictureWidth - filled), '.') << "] " << percent << "% "
                  << what << std::flush;
        last_ = percent;
        what_ = what;
    }

    void finish() {
        if (terminal_) std::cout << "\r\033[K" << std::flush;
    }

  private:
    bool terminal_ = ::isatty(STDOUT_FILENO) != 0;
    int last_ = -1;
    std::string what_;
};

void print(const ImportReport& report) {
    std::cout << "Camera " << report.cameraId << " \"" << printable(report.cameraName)
              << "\": " << report.imported.size() << " files imported, " << report.unchanged << " unchanged, "
              << report.removed << " gone, " << report.events << " events found\n";
    if (!report.rejected.empty()) std::cout << report.rejected.size() << " could not be imported:\n";
    for (const ImportRejection& rejection : report.rejected)
        std::cout << "  " << printable(rejection.file) << ": " << printable(rejection.reason) << '\n';
    if (report.cancelled) std::cout << "Broken off; the next import goes on from here.\n";
}

int import(const CommandLine& line) {
    if (line.plain().size() != 1) return fail(badUsage, "import needs one FOLDER; see --help");
    const fs::path folder = line.plain()[0];
    // Before a data base is made in a folder that has nothing for it.
    const auto root = FolderRoot::open(folder, line.has("follow-links"));
    if (!root) return fail(badUsage, root.error().message);
    const auto files = listFolder(*root);
    if (!files) return fail(badUsage, files.error().message);
    if (files->videos.empty()) return fail(badUsage, "there are no video files in " + folder.string());
    const fs::path file = line.has("db") ? fs::path(line.text("db")) : defaultDatabase(folder);
    auto storage = Storage::open(file);
    if (!storage) return fail(failed, storage.error().message);
    ProgressPrinter progress;
    ImportOptions options;
    options.cameraName = line.text("camera-name");
    options.timezone = line.text("timezone");
    options.followLinks = line.has("follow-links");
    options.cancel = &interrupted;
    options.onProgress = [&progress](const ImportProgress& now) {
        const double share = (static_cast<double>(now.filesDone) + now.fraction) /
                             static_cast<double>(std::max<std::size_t>(now.filesTotal, 1));
        progress.show(share, printable(now.file));
    };
    const auto report = importFolder(**storage, folder, options);
    progress.finish();
    if (!report) return fail(badUsage, report.error().message);
    print(*report);
    return report->cancelled ? failed : 0;
}

int serve(const CommandLine& line) {
    const auto port = line.number("port", defaultPort, 0, 65'535);
    if (!port) return fail(badUsage, port.error().message);
    const fs::path file = databaseOf(line);
    std::error_code code;
    if (!fs::exists(file, code))
        return fail(badUsage, "there is no data base " + file.string() + ": import a folder first");
    CameraServerOptions options;
    if (line.has("address")) options.address = line.text("address");
    options.port = static_cast<std::uint16_t>(*port);
    options.followLinks = line.has("follow-links");
    // Blocked before the service's threads start, so that none of them takes the signal.
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGINT);
    sigaddset(&ending, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    CameraServer server(file, options);
    const auto bound = server.start();
    if (!bound) return fail(failed, bound.error().message);
    std::cout << "Serving on " << server.baseUrl() << std::endl;
    int signal = 0;
    sigwait(&ending, &signal);
    server.stop();
    return 0;
}

int token(const CommandLine& line) {
    const auto lifetime = line.number("expires-in", defaultLifetime, 1, 10LL * 366 * 86'400);
    if (!lifetime) return fail(badUsage, lifetime.error().message);
    const fs::path file = databaseOf(line);
    std::error_code code;
    if (!fs::exists(file, code))
        return fail(badUsage, "there is no data base " + file.string() + ": import a folder first");
    auto storage = Storage::open(file);
    if (!storage) return fail(failed, storage.error().message);
    const auto cameras = (*storage)->cameras();
    if (!cameras) return fail(failed, cameras.error().message);
    if (cameras->empty()) return fail(badUsage, "the data base has no camera: import a folder first");
    const auto camera = line.number("camera", cameras->front().id, 1, INT64_MAX);
    if (!camera) return fail(badUsage, camera.error().message);
    const bool known =
        std::any_of(cameras->begin(), cameras->end(), [&](const Camera& one) { return one.id == *camera; });
    if (!known) return fail(badUsage, "there is no camera " + std::to_string(*camera));
    const auto tokens = AccessToken::forDatabase(file);
    if (!tokens) return fail(failed, tokens.error().message);
    const std::string url = line.has("url") ? line.text("url") : "http://127.0.0.1:" + std::to_string(defaultPort);
    const auto text = tokens->issue(*camera, systemUtcNow() / 1000 + *lifetime, url);
    if (!text) return fail(badUsage, text.error().message);
    std::cout << *text << '\n';
    return 0;
}

int fillRows(const CommandLine& line) {
    const auto rows = line.number("rows", 0, 1, 100'000'000);
    if (!rows) return fail(badUsage, rows.error().message);
    if (!line.has("db") || !line.plain().empty()) return fail(badUsage, "sample --rows needs --db FILE and no folder");
    auto storage = Storage::open(line.text("db"));
    if (!storage) return fail(failed, storage.error().message);
    const auto camera = (*storage)->cameraForFolder("", "Rows", "America/New_York");
    if (!camera) return fail(failed, camera.error().message);
    if (const auto status = addSampleEvents(**storage, camera->id, *rows, systemUtcNow(), rowSpacing))
        return fail(failed, status->message);
    std::cout << "Camera " << camera->id << ": " << *rows << " events added\n";
    return 0;
}

int sample(const CommandLine& line) {
    if (line.has("rows")) return fillRows(line);
    if (line.plain().size() != 1) return fail(badUsage, "sample needs one FOLDER, or --rows with --db; see --help");
    const auto seed = line.number("seed", 1, 0, INT64_MAX);
    if (!seed) return fail(badUsage, seed.error().message);
    ProgressPrinter progress;
    SampleOptions options;
    options.end = systemUtcNow();
    options.seed = static_cast<std::uint64_t>(*seed);
    options.cancel = &interrupted;
    options.onProgress = [&progress](std::size_t done, std::size_t total) {
        progress.show(static_cast<double>(done) / static_cast<double>(total), "filming");
    };
    const auto report = makeSample(line.plain()[0], options);
    progress.finish();
    if (!report) return fail(failed, report.error().message);
    std::cout << report->recordings << " recordings with " << report->movements << " movements, "
              << report->bytes / 1'000'000 << " MB\n";
    return 0;
}

/// Else what every thread has freed would stay with it.
void keepMemoryTogether() {
#ifdef M_ARENA_MAX
    ::mallopt(M_ARENA_MAX, 4);
#endif
}

void catchSignals() {
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
    keepMemoryTogether();
    const std::vector<std::string> words(argv + 1, argv + argc);
    for (const std::string& word : words) {
        if (word != "--help" && word != "-h") continue;
        std::cout << helpText;
        return 0;
    }
    const auto line = CommandLine::parse(words, {{"import", {"db", "camera-name", "timezone", "follow-links!"}},
                                                 {"serve", {"db", "folder", "address", "port", "follow-links!"}},
                                                 {"token", {"db", "folder", "camera", "expires-in", "url"}},
                                                 {"sample", {"db", "rows", "seed"}}});
    if (!line) return fail(badUsage, line.error().message + "; see --help");
    catchSignals();
    if (line->command() == "import") return import(*line);
    if (line->command() == "serve") return serve(*line);
    if (line->command() == "token") return token(*line);
    return sample(*line);
}
