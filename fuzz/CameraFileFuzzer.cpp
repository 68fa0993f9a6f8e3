#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "korvane/fuzz/Law.h"
#include "korvane/server/FolderFiles.h"
#include "korvane/server/LocalDays.h"

using namespace korvane;
using fuzz::require;

namespace {

/// A folder in memory, gone at the end.
struct Folder {
    Folder() {
        std::string name = "/dev/shm/korvane-fuzz-XXXXXX";
        require(::mkdtemp(name.data()) != nullptr, "there is a folder");
        path = name;
        root = std::make_unique<FolderRoot>(std::move(*FolderRoot::open(path)));
        file = Descriptor(::open((path / "camera.json").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600));
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    std::filesystem::path path;
    std::unique_ptr<FolderRoot> root;
    Descriptor file;
};

CameraFile read(const Folder& folder, std::string_view text, std::vector<ImportRejection>& rejected) {
    require(::ftruncate(folder.file.get(), 0) == 0, "the file is emptied");
    require(::pwrite(folder.file.get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
            "and written");
    return readCameraFile(*folder.root, rejected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    std::vector<ImportRejection> rejected;
    const CameraFile camera = read(folder, {reinterpret_cast<const char*>(data), size}, rejected);
    require(rejected.size() <= 1, "a bad file is told of once");
    require(camera.timezone.empty() || LocalDays::isKnown(camera.timezone), "a zone is known");
    if (camera.name.empty() && camera.timezone.empty()) return 0;
    // Throws where the name is no text.
    const std::string written = nlohmann::json{{"name", camera.name}, {"timezone", camera.timezone}}.dump();
    const CameraFile again = read(folder, written, rejected);
    require(again.name == camera.name && again.timezone == camera.timezone, "what is written again reads the same");
    return 0;
}
