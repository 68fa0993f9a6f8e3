#include "tests/client/LocalService.h"

#include <unistd.h>

#include <stdexcept>

#include "server/CameraServer.h"
#include "server/Storage.h"

namespace korvane::test {

namespace fs = std::filesystem;

struct LocalService::Parts {
    ~Parts() {
        server.reset();
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }

    fs::path folder;
    std::unique_ptr<CameraServer> server;
};

namespace {

fs::path makeFolder() {
    std::string name = (fs::temp_directory_path() / "korvane-client-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no folder for the test's data base");
    return name;
}

void fill(const fs::path& file, const std::vector<ScriptedRecord>& records, const std::vector<ScriptedEvent>& events,
          const std::string& zone) {
    auto storage = Storage::open(file);
    if (!storage) throw std::runtime_error(storage.error().message);
    const auto camera = (*storage)->cameraForFolder(file.parent_path(), "Yard", zone);
    if (!camera) throw std::runtime_error(camera.error().message);
    for (const ScriptedRecord& record : records) {
        std::vector<NewEvent> own;
        for (const ScriptedEvent& event : events) {
            if (event.time >= record.start && event.time <= record.end) {
                own.push_back({event.time, event.name, event.thumbUrl});
            }
        }
        const SourceFile source{std::to_string(record.id) + ".mp4", 1, 1, ""};
        const NewRecord stored{record.start, record.end, record.thumbUrl};
        if (const auto error = (*storage)->storeRecording(camera->id, source, stored, own)) {
            throw std::runtime_error(error->message);
        }
    }
}

}  // namespace

LocalService::LocalService(const std::vector<ScriptedRecord>& records, const std::vector<ScriptedEvent>& events,
                           const std::string& zone)
    : parts_(std::make_unique<Parts>()) {
    parts_->folder = makeFolder();
    const fs::path database = parts_->folder / "camera.db";
    fill(database, records, events, zone);
    parts_->server = std::make_unique<CameraServer>(database);
    const auto port = parts_->server->start();
    if (!port) throw std::runtime_error(port.error().message);
}

LocalService::~LocalService() = default;

std::string LocalService::url() const {
    return parts_->server->baseUrl();
}

std::string LocalService::token(std::chrono::seconds lifetime) const {
    const auto token = parts_->server->issueToken(1, lifetime);
    return token ? *token : std::string();
}

}  // namespace korvane::test
