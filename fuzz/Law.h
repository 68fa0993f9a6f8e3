#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace korvane::fuzz {

/// Ends the run, with the input that broke `law`.
inline void require(bool holds, const char* law) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", law);
    std::abort();
}

/// What a target is given: a first byte that chooses what is done, and a text.
struct Input {
    Input(const std::uint8_t* data, std::size_t size) {
        if (size == 0) return;
        choice = data[0];
        text = std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1);
    }

    unsigned choice = 0;
    std::string_view text;
};

/// Cuts off what lies before the next line end, and that.
inline std::string_view takeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    return line;
}

}  // namespace korvane::fuzz
