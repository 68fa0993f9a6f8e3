#include "korvane/base/Printable.h"

#include <array>
#include <cstdio>

namespace korvane {
namespace {

struct Character {
    char32_t code = 0;
    /// 0 where the bytes are no UTF-8.
    std::size_t bytes = 0;
};

Character firstOf(std::string_view text) {
    const auto byte = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned first = byte(0);
    if (first < 0x80) return {first, 1};
    const std::size_t bytes = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < bytes) return {};
    char32_t code = first & (0x7fU >> bytes);
    for (std::size_t i = 1; i < bytes; ++i) {
        if ((byte(i) & 0xc0U) != 0x80) return {};
        code = code << 6U | (byte(i) & 0x3fU);
    }
    constexpr std::array<char32_t, 5> least = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xd800 && code <= 0xdfff;
    return code < least.at(bytes) || code > 0x10ffff || isSurrogate ? Character{} : Character{code, bytes};
}

bool isObeyed(char32_t code) {
    constexpr std::array<std::pair<char32_t, char32_t>, 11> ranges = {{{0x00, 0x1f},
                                                                       {0x7f, 0x9f},
                                                                       {0xad, 0xad},
                                                                       {0x061c, 0x061c},
                                                                       {0x200b, 0x200b},
                                                                       {0x200e, 0x200f},
                                                                       {0x2028, 0x202e},
                                                                       {0x2060, 0x206f},
                                                                       {0xfeff, 0xfeff},
                                                                       {0xfff9, 0xfffb},
                                                                       {0xe0000, 0xe007f}}};
    for (const auto& [first, last] : ranges)
        if (code >= first && code <= last) return true;
    return false;
}

}  // namespace

std::string printable(std::string_view text) {
    std::string shown;
    const auto escape = [&shown](const char* form, unsigned value) {
        std::array<char, 16> written{};
        std::snprintf(written.data(), written.size(), form, value);
        shown += written.data();
    };
    while (!text.empty()) {
        const Character next = firstOf(text);
        if (next.bytes == 0)
            escape("\\x%02X", static_cast<unsigned char>(text[0]));
        else if (!isObeyed(next.code))
            shown += text.substr(0, next.bytes);
        else
            escape(next.code < 0x80 ? "\\x%02X" : "\\u%04X", static_cast<unsigned>(next.code));
        text.remove_prefix(next.bytes == 0 ? 1 : next.bytes);
    }
    return shown;
}

}  // namespace korvane
