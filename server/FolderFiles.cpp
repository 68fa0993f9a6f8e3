#include "korvane/server/FolderFiles.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string_view>

#include "korvane/base/UtcTime.h"
#include "korvane/server/LocalDays.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;

constexpr const char* eventList = "events.json";
constexpr const char* cameraFile = "camera.json";
constexpr std::size_t longestName = 64;
constexpr std::uintmax_t largestJson = 16 * 1024 * 1024;
constexpr std::size_t mostReasons = 20;
constexpr TimeMs latest = 253'402'300'799'000;

bool isVideoName(const fs::path& file) {
    static constexpr std::array<std::string_view, 13> extensions = {
        ".mp4", ".mkv", ".mov", ".ts", ".avi", ".m4v", ".webm", ".mts", ".m2ts", ".3gp", ".flv", ".mpg", ".mpeg"};
    std::string extension = file.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

Result<nlohmann::json> readJson(const fs::path& file) {
    std::error_code code;
    if (const auto size = fs::file_size(file, code); code || size > largestJson)
        return Error{"cannot be read, or too large"};
    std::ifstream stream(file);
    auto json = nlohmann::json::parse(stream, nullptr, false);
    if (json.is_discarded()) return Error{"is no JSON"};
    return json;
}

std::string textAt(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

Result<NewEvent> readEvent(const nlohmann::json& element) {
    if (!element.is_object()) return Error{"is no object"};
    const auto time = parseUtc(textAt(element, "time"));
    if (!time || *time < 0 || *time > latest) return Error{"has no \"time\" like 2026-03-09T07:05:01Z"};
    const std::string name = textAt(element, "name");
    if (name.empty() || name.size() > longestName) return Error{"has no \"name\" of 1 to 64 bytes"};
    return NewEvent{*time, name, ""};
}

}  // namespace

Result<FolderFiles> listFolder(const fs::path& folder) {
    std::error_code code;
    if (!fs::is_directory(folder, code)) return Error{"there is no folder " + folder.string()};
    FolderFiles files;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, code);
    if (code) return Error{"cannot read folder " + folder.string() + ": " + code.message()};
    for (const fs::recursive_directory_iterator end; entry != end; entry.increment(code)) {
        const std::string name = entry->path().filename().string();
        std::error_code ignored;
        if (name.starts_with('.')) {
            entry.disable_recursion_pending();
        } else if (entry->is_regular_file(ignored)) {
            const std::string path = entry->path().lexically_relative(folder).string();
            if (name == eventList)
                files.eventLists.push_back(path);
            else if (isVideoName(entry->path()))
                files.videos.push_back(path);
            else if (path != cameraFile)
                files.others.push_back({path, "not a video file, by its name", true});
        }
    }
    if (code) return Error{"cannot read folder " + folder.string() + ": " + code.message()};
    std::sort(files.videos.begin(), files.videos.end());
    std::sort(files.eventLists.begin(), files.eventLists.end());
    return files;
}

std::optional<SourceFile> describeFile(const fs::path& folder, const std::string& path) {
    struct stat info {};
    if (::stat((folder / path).c_str(), &info) != 0) return std::nullopt;
    return SourceFile{path, info.st_size, info.st_mtim.tv_sec * 1000 + info.st_mtim.tv_nsec / 1'000'000, ""};
}

CameraFile readCameraFile(const fs::path& folder, std::vector<ImportRejection>& rejected) {
    const fs::path file = folder / cameraFile;
    std::error_code code;
    if (!fs::exists(file, code)) return {};
    const auto json = readJson(file);
    if (!json || !json->is_object()) {
        rejected.push_back({cameraFile, json ? "is no object" : json.error().message});
        return {};
    }
    CameraFile camera{textAt(*json, "name").substr(0, longestName), textAt(*json, "timezone")};
    if (!camera.timezone.empty() && !LocalDays::isKnown(camera.timezone)) {
        rejected.push_back({cameraFile, "time zone " + camera.timezone + " is not known"});
        camera.timezone.clear();
    }
    return camera;
}

std::vector<NewEvent> readEventList(const fs::path& file, std::vector<std::string>& reasons) {
    const auto json = readJson(file);
    if (!json || !json->is_array()) {
        reasons.push_back(json ? "is no array" : json.error().message);
        return {};
    }
    std::vector<NewEvent> events;
    std::size_t bad = 0;
    for (std::size_t i = 0; i < json->size(); ++i) {
        auto event = readEvent((*json)[i]);
        if (event)
            events.push_back(std::move(*event));
        else if (++bad <= mostReasons)
            reasons.push_back("element " + std::to_string(i) + " " + event.error().message);
    }
    if (bad > mostReasons) reasons.push_back(std::to_string(bad - mostReasons) + " more elements are bad");
    return events;
}

}  // namespace korvane
