#include "korvane/base/Base64Url.h"

#include <array>
#include <cstdint>

namespace korvane {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

}  // namespace

std::string encodeBase64Url(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size() * 4 / 3 + 3);
    std::uint32_t bits = 0;
    int held = 0;
    for (const char byte : bytes) {
        bits = (bits << 8) | static_cast<unsigned char>(byte);
        for (held += 8; held >= 6; held -= 6) text += alphabet[(bits >> (held - 6)) & 63];
    }
    if (held > 0) text += alphabet[(bits << (6 - held)) & 63];
    return text;
}

std::optional<std::string> decodeBase64Url(std::string_view text) {
    if (text.size() % 4 == 1) return std::nullopt;
    std::string bytes;
    bytes.reserve(text.size() * 3 / 4);
    std::uint32_t bits = 0;
    int held = 0;
    for (const char letter : text) {
        const std::size_t value = alphabet.find(letter);
        if (value == std::string_view::npos) return std::nullopt;
        bits = (bits << 6) | static_cast<std::uint32_t>(value);
        held += 6;
        if (held < 8) continue;
        held -= 8;
        bytes += static_cast<char>((bits >> held) & 0xff);
    }
    return bytes;
}

}  // namespace korvane
