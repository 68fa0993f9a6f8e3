#include "korvane/server/OpenBeneath.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstdint>

namespace korvane {

Descriptor openBeneath(int root, const std::string& path, int flags) {
    open_how how{};
    how.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC);
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    constexpr int mostTries = 64;
    for (int i = 0; i < mostTries; ++i) {
        Descriptor opened(static_cast<int>(::syscall(SYS_openat2, root, path.c_str(), &how, sizeof how)));
        if (opened) return opened;
        // Something was renamed meanwhile, and the kernel cannot tell whether it matters.
        if (errno == EAGAIN || errno == EINTR) continue;
        // An old kernel, or a filter of system calls that does not know this one.
        if (errno == ENOSYS || errno == EPERM) break;
        return opened;
    }
    return openStepByStep(root, path, flags);
}

Descriptor openStepByStep(int root, const std::string& path, int flags) {
    Descriptor folder;
    std::size_t begin = 0;
    while (true) {
        const std::size_t end = path.find('/', begin);
        const std::string piece = path.substr(begin, end == std::string::npos ? end : end - begin);
        if (piece.empty() || piece == "..") {
            errno = EXDEV;
            return {};
        }
        const int at = folder ? folder.get() : root;
        if (end == std::string::npos) return Descriptor(::openat(at, piece.c_str(), flags | O_NOFOLLOW | O_CLOEXEC));
        Descriptor next(::openat(at, piece.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!next) return {};
        folder = std::move(next);
        begin = end + 1;
    }
}

}  // namespace korvane
