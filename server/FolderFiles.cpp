#include "korvane/server/FolderFiles.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>

#include "korvane/server/LocalDays.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;

constexpr const char* eventList = "events.json";
constexpr const char* cameraFile = "camera.json";
constexpr std::size_t longestName = 64;
// Larger ones are no list that a person or a camera writes.
constexpr std::size_t largestJson = 16 * 1024 * 1024;
constexpr std::size_t largestDescription = 64 * 1024;

bool isVideoName(const fs::path& file) {
    static constexpr std::array<std::string_view, 13> extensions = {
        ".mp4", ".mkv", ".mov", ".ts", ".avi", ".m4v", ".webm", ".mts", ".m2ts", ".3gp", ".flv", ".mpg", ".mpeg"};
    std::string extension = file.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

/// A small file: each nesting takes many times its byte in memory.
Result<nlohmann::json> readJson(const FolderRoot& folder, const std::string& path) {
    const auto text = readWhole(folder, path);
    if (!text) return text.error();
    if (text->size() > largestDescription) return Error{"is too large"};
    auto json = nlohmann::json::parse(*text, nullptr, false);
    if (json.is_discarded()) return Error{"is no JSON"};
    return json;
}

std::string textAt(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

/// As much of `text` as a name may be long, in whole characters.
std::string cutName(std::string text) {
    if (text.size() <= longestName) return text;
    std::size_t end = longestName;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80) --end;
    text.resize(end);
    return text;
}

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

/// Goes through a folder level by level, with one folder open at a time however deep they lie.
class FolderWalk {
  public:
    explicit FolderWalk(const FolderRoot& root) : root_(root) {}

    Result<FolderFiles> run() {
        if (const Failure failure = list("")) return Error{root_.path().string() + " " + failure->message};
        while (!waiting_.empty()) {
            const std::string folder = std::move(waiting_.front());
            waiting_.pop_front();
            if (const Failure failure = list(folder)) leave(folder, failure->message);
        }
        std::sort(files_.videos.begin(), files_.videos.end());
        std::sort(files_.eventLists.begin(), files_.eventLists.end());
        return std::move(files_);
    }

  private:
    Failure list(const std::string& folder) {
        auto opened = root_.openFolder(folder);
        if (!opened) return opened.error();
        struct stat info {};
        // By way of links a folder may be its own grandchild.
        if (::fstat(opened->get(), &info) != 0) return Error{std::string("cannot be read: ") + std::strerror(errno)};
        if (!seen_.emplace(info.st_dev, info.st_ino).second) return {};
        const std::unique_ptr<DIR, DirectoryCloser> directory(::fdopendir(opened->get()));
        if (!directory) return Error{std::string("cannot be read: ") + std::strerror(errno)};
        static_cast<void>(opened->release());
        errno = 0;
        while (const dirent* entry = ::readdir(directory.get())) {
            const std::string name = entry->d_name;
            if (!name.starts_with('.')) take(folder.empty() ? name : folder + "/" + name, name, entry->d_type);
            errno = 0;
        }
        if (errno != 0) return Error{std::string("cannot be read to its end: ") + std::strerror(errno)};
        return {};
    }

    void take(const std::string& path, const std::string& name, unsigned char type) {
        if (type == DT_UNKNOWN || type == DT_LNK) {
            struct stat info {};
            const auto isThere = root_.describe(path, info);
            if (!isThere) return leave(path, isThere.error().message);
            if (!*isThere) {
                files_.others.push_back({path, "is a link that leads out of the folder or nowhere, or has vanished"});
                return;
            }
            const bool isLink = type == DT_LNK || S_ISLNK(info.st_mode);
            if (S_ISDIR(info.st_mode) && isLink && !root_.followsLinks()) return;
            type = static_cast<unsigned char>(IFTODT(info.st_mode));
        }
        if (type == DT_DIR) waiting_.push_back(path);
        if (type != DT_REG) return;
        if (name == eventList)
            files_.eventLists.push_back(path);
        else if (isVideoName(name))
            files_.videos.push_back(path);
        else if (path != cameraFile)
            files_.others.push_back({path, "not a video file, by its name", true});
    }

    void leave(const std::string& path, const std::string& reason) {
        files_.others.push_back({path, reason});
        files_.unread.insert(path);
    }

    const FolderRoot& root_;
    FolderFiles files_;
    std::deque<std::string> waiting_;
    std::set<std::pair<dev_t, ino_t>> seen_;
};

}  // namespace

bool FolderFiles::isUnread(const std::string& path) const {
    for (std::size_t end = path.size(); end != std::string::npos && end > 0; end = path.rfind('/', end - 1))
        if (unread.contains(path.substr(0, end))) return true;
    return false;
}

Result<FolderFiles> listFolder(const FolderRoot& folder) {
    return FolderWalk(folder).run();
}

Result<std::optional<SourceFile>> describeFile(const FolderRoot& folder, const std::string& path) {
    struct stat info {};
    const auto isThere = folder.describe(path, info);
    if (!isThere) return isThere.error();
    if (!*isThere) return std::optional<SourceFile>();
    return std::optional<SourceFile>{
        SourceFile{path, info.st_size, info.st_mtim.tv_sec * 1000 + info.st_mtim.tv_nsec / 1'000'000, ""}};
}

Result<std::string> readWhole(const FolderRoot& folder, const std::string& path) {
    const auto file = folder.openFile(path);
    if (!file) return file.error();
    std::string text;
    std::array<char, 64 * 1024> piece;
    while (true) {
        const ssize_t count = ::read(file->get(), piece.data(), piece.size());
        if (count < 0 && errno != EINTR) return Error{std::string("cannot be read: ") + std::strerror(errno), true};
        if (count == 0) return text;
        if (count > 0) text.append(piece.data(), static_cast<std::size_t>(count));
        if (text.size() > largestJson) return Error{"is too large"};
    }
}

CameraFile readCameraFile(const FolderRoot& folder, std::vector<ImportRejection>& rejected) {
    struct stat info {};
    const auto isThere = folder.describe(cameraFile, info);
    if (!isThere) rejected.push_back({cameraFile, isThere.error().message});
    if (!isThere || !*isThere) return {};
    const auto json = readJson(folder, cameraFile);
    if (!json || !json->is_object()) {
        rejected.push_back({cameraFile, json ? "is no object" : json.error().message});
        return {};
    }
    CameraFile camera{cutName(textAt(*json, "name")), textAt(*json, "timezone")};
    if (!camera.timezone.empty() && !LocalDays::isKnown(camera.timezone)) {
        rejected.push_back({cameraFile, "time zone " + camera.timezone + " is not known"});
        camera.timezone.clear();
    }
    return camera;
}

}  // namespace korvane
