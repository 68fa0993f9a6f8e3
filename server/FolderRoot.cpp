#include "korvane/server/FolderRoot.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "korvane/server/OpenBeneath.h"

namespace korvane {
namespace {

Error explain() {
    if (errno == EXDEV || errno == ELOOP) return Error{"is a link that leads out of the folder, or goes round"};
    return Error{std::string("cannot be opened: ") + std::strerror(errno), true};
}

bool isNothingThere() {
    return errno == ENOENT || errno == ENOTDIR || errno == EXDEV || errno == ELOOP;
}

/// What has nothing to do with the folder.
bool passes(const std::error_code& code) {
    return code == std::errc::too_many_files_open || code == std::errc::too_many_files_open_in_system ||
           code == std::errc::not_enough_memory || code == std::errc::io_error;
}

bool climbs(const std::string& path) {
    const std::filesystem::path plain = path;
    return plain.is_absolute() || std::find(plain.begin(), plain.end(), "..") != plain.end();
}

}  // namespace

Result<FolderRoot> FolderRoot::open(const std::filesystem::path& folder, bool followLinks) {
    std::error_code code;
    const std::filesystem::path real = std::filesystem::canonical(folder, code);
    Descriptor descriptor(code ? -1 : ::open(real.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!code && !descriptor) code = std::error_code(errno, std::generic_category());
    if (code == std::errc::no_such_file_or_directory || code == std::errc::not_a_directory)
        return Error{"there is no folder " + folder.string()};
    if (code) return Error{"cannot read folder " + folder.string() + ": " + code.message(), passes(code)};
    return FolderRoot(real, std::move(descriptor), followLinks);
}

Descriptor FolderRoot::openAny(const std::string& path, int flags) const {
    if (!followsLinks_) return openBeneath(descriptor_.get(), path, flags);
    errno = EXDEV;
    return climbs(path) ? Descriptor() : Descriptor(::openat(descriptor_.get(), path.c_str(), flags | O_CLOEXEC));
}

Result<bool> FolderRoot::describe(const std::string& path, struct stat& info) const {
    const Descriptor found = openAny(path, O_PATH);
    if (!found && isNothingThere()) return false;
    if (!found || ::fstat(found.get(), &info) != 0) return explain();
    return true;
}

Result<Descriptor> FolderRoot::openFile(const std::string& path) const {
    struct stat info {};
    // A device may act when it is opened, so it is looked at first.
    const auto isThere = describe(path, info);
    if (!isThere) return isThere.error();
    if (!*isThere) return explain();
    if (!S_ISREG(info.st_mode)) return Error{"is no regular file"};
    Descriptor file = openAny(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (!file) return explain();
    if (::fstat(file.get(), &info) != 0) return explain();
    if (!S_ISREG(info.st_mode)) return Error{"is no regular file"};
    return file;
}

Result<Descriptor> FolderRoot::openFolder(const std::string& path) const {
    Descriptor folder = openAny(path.empty() ? "." : path, O_RDONLY | O_DIRECTORY);
    if (!folder) return explain();
    return folder;
}

}  // namespace korvane
