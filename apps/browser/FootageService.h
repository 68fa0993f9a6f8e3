#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "korvane/base/LifeToken.h"
#include "korvane/base/Scheduler.h"

namespace korvane {

/// The camera service inside the application: takes in a folder of recordings and serves it on a free port of this
/// machine. Main thread only; the handlers run there too.
class FootageService {
  public:
    struct Progress {
        std::size_t filesDone = 0;
        std::size_t filesTotal = 0;
        std::string file;
        /// Of the whole import, 0 to 1.
        double fraction = 0;
    };

    struct Started {
        /// Opens the camera for a month.
        std::string token;
        std::string cameraName;
        std::size_t imported = 0;
        std::size_t unchanged = 0;
        /// Files that could not be taken in, each with the reason.
        std::vector<std::pair<std::string, std::string>> rejected;
    };

    struct Handlers {
        std::function<void(const Progress& progress)> progress;
        std::function<void(const Started& started)> started;
        /// A sentence. Nothing else is called after it.
        std::function<void(const std::string& reason)> failed;
    };

    /// `scheduler` outlives the service.
    FootageService(Scheduler& scheduler, Handlers handlers);
    /// Breaks an import off, stops the server and waits for both.
    ~FootageService();

    FootageService(const FootageService&) = delete;
    FootageService& operator=(const FootageService&) = delete;

    /// Once. Returns at once.
    void start(const std::filesystem::path& folder);

  private:
    struct Work;

    Scheduler& scheduler_;
    const Handlers handlers_;
    std::shared_ptr<Work> work_;
    std::unique_ptr<Thread> thread_;
    LifeToken life_;
};

}  // namespace korvane
