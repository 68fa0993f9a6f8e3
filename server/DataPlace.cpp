#include "korvane/server/DataPlace.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "korvane/server/Importer.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;

constexpr const char* dataFolder = ".korvane";
constexpr const char* dataFile = "camera.db";

Error cannotUse(const fs::path& folder, const std::string& why) {
    return Error{"cannot use folder " + folder.string() + ": " + why};
}

Failure whyNotOwn(const struct stat& info) {
    if (S_ISLNK(info.st_mode)) return Error{"it is a link"};
    if (!S_ISREG(info.st_mode)) return Error{"it is no regular file"};
    if (info.st_uid != ::geteuid()) return Error{"it belongs to another user"};
    return std::nullopt;
}

}  // namespace

Result<DataPlace> DataPlace::of(const fs::path& file) {
    std::error_code code;
    const fs::path whole = fs::absolute(file, code);
    const fs::path folder = whole.parent_path();
    if (code || !whole.has_filename()) return cannotUse(file, "not the name of a file");
    const bool isDefault = whole.filename() == dataFile && folder.filename() == dataFolder;
    const fs::path base = isDefault ? folder.parent_path() : folder;
    fs::create_directories(base, code);
    if (code) return cannotUse(base, code.message());
    const fs::path real = fs::canonical(base, code);
    if (code) return cannotUse(base, code.message());
    if (!isDefault) return DataPlace{real / whole.filename(), {}};
    fs::create_directory(real / dataFolder, code);
    if (!fs::is_directory(fs::symlink_status(real / dataFolder, code)))
        return cannotUse(real / dataFolder, code ? code.message() : "it is a link, or no folder");
    return DataPlace{real / dataFolder / dataFile, real};
}

fs::path defaultDatabase(const fs::path& folder) {
    return folder / dataFolder / dataFile;
}

Result<bool> hasOwnFile(const fs::path& file) {
    struct stat info {};
    if (::lstat(file.c_str(), &info) == 0) {
        if (const Failure failure = whyNotOwn(info)) return *failure;
        return true;
    }
    if (errno == ENOENT) return false;
    return Error{std::strerror(errno), errno != EACCES};
}

Result<Descriptor> openOwnFile(const fs::path& file) {
    Descriptor opened(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!opened && errno == ENOENT) return Descriptor();
    const bool isRefused = errno == ELOOP || errno == EACCES;
    if (!opened) return Error{errno == ELOOP ? "it is a link" : std::strerror(errno), !isRefused};
    struct stat info {};
    if (::fstat(opened.get(), &info) != 0) return Error{std::strerror(errno), true};
    if (const Failure failure = whyNotOwn(info)) return *failure;
    return opened;
}

Failure publish(const std::string& draft, const fs::path& file) {
    bool named = ::link(draft.c_str(), file.c_str()) == 0 || errno == EEXIST;
    // Not every file system has hard links.
    if (!named) named = ::renameat2(AT_FDCWD, draft.c_str(), AT_FDCWD, file.c_str(), RENAME_NOREPLACE) == 0;
    named = named || errno == EEXIST;
    const Failure failure = named ? Failure() : Error{std::strerror(errno)};
    ::unlink(draft.c_str());
    return failure;
}

Failure writeOnce(const fs::path& file, std::string_view bytes) {
    std::string draft = file.string() + ".XXXXXX";
    const Descriptor opened(::mkostemp(draft.data(), O_CLOEXEC));  // mode 0600
    if (!opened) return Error{std::strerror(errno)};
    if (::write(opened.get(), bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()))
        return publish(draft, file);
    const Error error{std::strerror(errno)};
    ::unlink(draft.c_str());
    return error;
}

std::string wayOut(const DataPlace& place) {
    return place.home.empty() ? "move " + place.file.string() + " and what is named like it away, or name another file"
                              : "move " + place.file.parent_path().string() + " away and import again";
}

}  // namespace korvane
