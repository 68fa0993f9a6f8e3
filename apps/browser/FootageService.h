#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "korvane/base/LifeToken.h"
#include "korvane/base/Scheduler.h"
#include "korvane/base/WorkerPool.h"

namespace korvane {

/// The camera service inside the application: takes in a folder of recordings, serves it on a free port of this
/// machine, and looks at the folder again and again for what has come or gone. A folder that is known from an earlier
/// start is served before it is looked at. Nothing is written into a folder that holds no film, and what is found
/// goes to the person's own data where the folder cannot keep it. Main thread only; the handlers run there too.
class FootageService {
  public:
    struct Progress {
        std::size_t filesDone = 0;
        std::size_t filesTotal = 0;
        std::string file;
        /// Of the whole import, 0 to 1.
        double fraction = 0;
        /// Another process takes the same folder in; this one begins after it.
        bool isWaiting = false;
    };

    struct Started {
        /// Opens the camera for a month.
        std::string token;
        std::string cameraName;
    };

    struct Look {
        std::size_t imported = 0;
        std::size_t unchanged = 0;
        /// Recordings or events have come or gone since `started`, by this look or by another process.
        bool hasNews = false;
        /// Video files and lists of events that could not be taken in, each with the reason.
        std::vector<std::pair<std::string, std::string>> rejected;
        /// Why the folder could not be taken in whole; empty when it was. What was served before still is.
        std::string fault;
    };

    /// Each may be empty.
    struct Handlers {
        std::function<void(const Progress& progress)> progress;
        /// The service runs.
        std::function<void(const Started& started)> started;
        /// It runs no more, since another folder has taken the place of the one that was served; that one is taken in
        /// as at the start.
        std::function<void()> stopped;
        /// After the first look, and after each that found news or went otherwise than the one before. Never before
        /// `started`.
        std::function<void(const Look& look)> looked;
        /// A sentence: there is nothing to serve, until a later look finds something.
        std::function<void(const std::string& reason)> failed;
    };

    static constexpr std::chrono::milliseconds usualPause{5'000};

    /// `scheduler` outlives the service. From one look to the next `pause` passes, or up to a minute where looks
    /// take long.
    FootageService(Scheduler& scheduler, Handlers handlers, std::chrono::milliseconds pause = usualPause);
    /// Breaks an import off, stops the server and waits for both.
    ~FootageService();

    FootageService(const FootageService&) = delete;
    FootageService& operator=(const FootageService&) = delete;

    /// Once. Returns at once.
    void start(const std::filesystem::path& folder);

  private:
    class Work;

    void look();
    void onProgress(const Progress& progress);
    void onStopped();
    void onLooked(const Look& look, std::chrono::microseconds taken);

    Scheduler& scheduler_;
    const Handlers handlers_;
    const std::chrono::milliseconds pause_;
    bool isStarted_ = false;
    bool isImporting_ = false;  // the look under way
    std::shared_ptr<Work> work_;
    std::optional<Look> before_;
    WorkerPool pool_{1};
    LifeToken life_;
};

}  // namespace korvane
