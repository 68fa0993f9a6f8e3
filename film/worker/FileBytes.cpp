#include "korvane/film/worker/FileBytes.h"

#include <unistd.h>

#include <cerrno>

namespace korvane {

std::size_t FileBytes::read(std::span<std::uint8_t> into) {
    ssize_t count = -1;
    do count = ::pread(descriptor_, into.data(), into.size(), position_);
    while (count < 0 && errno == EINTR);
    hasFailed_ = hasFailed_ || count < 0;
    if (count <= 0) return 0;
    position_ += count;
    return static_cast<std::size_t>(count);
}

std::optional<std::int64_t> FileBytes::size() {
    // The place that this moves is nobody's: all reading tells where.
    const off_t end = ::lseek(descriptor_, 0, SEEK_END);
    if (end < 0) return std::nullopt;
    return end;
}

}  // namespace korvane
