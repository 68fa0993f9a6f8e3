#include "korvane/server/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace korvane {

FileLock::FileLock(const std::filesystem::path& file)
    : descriptor_(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, S_IRUSR | S_IWUSR)) {}

FileLock::~FileLock() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

bool FileLock::tryLock() {
    if (descriptor_ < 0 || ::flock(descriptor_, LOCK_EX | LOCK_NB) == 0) return true;
    // A file system without locks is used without them.
    return errno != EWOULDBLOCK && errno != EINTR;
}

}  // namespace korvane
