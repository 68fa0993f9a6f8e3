#include "korvane/server/DescriptorLimit.h"

#include <sys/resource.h>

#include <algorithm>

namespace korvane {
namespace {

constexpr rlim_t others = 64;

}  // namespace

std::size_t affordableConnections(std::size_t wanted) {
    wanted = std::clamp<std::size_t>(wanted, 1, 1'000'000);
    // A quarter more for films.
    const rlim_t needed = wanted + wanted / 4 + others;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return std::min<std::size_t>(wanted, 512);
    if (limit.rlim_cur < needed && limit.rlim_cur < limit.rlim_max) {
        rlimit raised = limit;
        raised.rlim_cur = std::min(needed, limit.rlim_max);
        if (::setrlimit(RLIMIT_NOFILE, &raised) == 0) limit = raised;
    }
    if (limit.rlim_cur >= needed) return wanted;
    const rlim_t left = limit.rlim_cur > others ? limit.rlim_cur - others : limit.rlim_cur / 2;
    return static_cast<std::size_t>(std::max<rlim_t>(left * 4 / 5, 1));
}

}  // namespace korvane
