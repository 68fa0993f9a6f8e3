#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace korvane {

/// What a picture says of itself, read from its bytes without decoding any of it. A plain value; any thread.
struct PictureHeader {
    /// Those that cameras send.
    enum class Format { Jpeg, Png, Webp };

    Format format = Format::Jpeg;
    /// Points, 1 and up.
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// How often a decoder goes over the whole picture, 1 and up.
    std::uint32_t scans = 1;
    /// What a decoder has to hold of the whole picture, however small it is shown; 0 when it can scale while it
    /// decodes.
    std::uint64_t wholeBytes = 0;

    std::uint64_t points() const { return std::uint64_t{width} * height; }

    /// The format is told by the first bytes. Nothing for any other format, an animation, a header that contradicts
    /// itself, and a JPEG or PNG without its end. Safe on any bytes, in time that follows their number.
    static std::optional<PictureHeader> read(std::string_view bytes);
};

}  // namespace korvane
