#include "korvane/film/worker/RemoteBytes.h"

#include <algorithm>
#include <cstring>

#include "korvane/film/worker/FilmRoom.h"

namespace korvane {

std::size_t RemoteBytes::read(std::span<std::uint8_t> into) {
    if (hasFailed_) return 0;
    FilmNews answer = askCaller(
        channel_, FilmWords(FilmMessage::Read).number(position_).number(static_cast<std::int64_t>(into.size())));
    const std::string_view bytes = answer.text();
    hasFailed_ = answer.number() == 1;
    const std::size_t count = std::min(bytes.size(), into.size());
    std::memcpy(into.data(), bytes.data(), count);
    position_ += static_cast<std::int64_t>(count);
    return count;
}

std::optional<std::int64_t> RemoteBytes::size() {
    const std::int64_t size = askCaller(channel_, FilmWords(FilmMessage::AskSize)).number();
    if (size < 0) return std::nullopt;
    return size;
}

}  // namespace korvane
