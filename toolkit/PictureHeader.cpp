#include "korvane/toolkit/PictureHeader.h"

#include <algorithm>
#include <cstddef>

namespace korvane {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view jpegBegin = "\xff\xd8\xff"sv;
constexpr std::string_view pngBegin = "\x89PNG\r\n\x1a\n"sv;
constexpr std::uint64_t bytesOfPoint = 4;

/// Reads forward; what lies beyond the end is zeros.
class Cursor {
  public:
    explicit Cursor(std::string_view bytes) : bytes_(bytes) {}

    std::size_t left() const { return bytes_.size(); }
    std::string_view take(std::size_t count) {
        const std::string_view taken = bytes_.substr(0, count);
        bytes_.remove_prefix(taken.size());
        return taken;
    }
    std::uint32_t byte() {
        const std::string_view taken = take(1);
        return taken.empty() ? 0 : static_cast<unsigned char>(taken.front());
    }
    std::uint32_t bigEndian(int count) {
        std::uint32_t value = 0;
        for (; count > 0; --count) value = value << 8 | byte();
        return value;
    }
    std::uint32_t littleEndian(int count) {
        std::uint32_t value = 0;
        for (int shift = 0; shift < 8 * count; shift += 8) value |= byte() << shift;
        return value;
    }
    /// The next JPEG marker, as a decoder finds it: past whatever else is there. Nothing at the end.
    std::optional<std::uint32_t> marker() {
        for (auto found = bytes_.find('\xff'); found != std::string_view::npos; found = bytes_.find('\xff')) {
            bytes_.remove_prefix(std::min(bytes_.find_first_not_of('\xff', found), bytes_.size()));
            if (const std::uint32_t code = byte(); code != 0) return code;
        }
        return std::nullopt;
    }

  private:
    std::string_view bytes_;
};

class JpegWalk {
  public:
    explicit JpegWalk(std::string_view bytes) : bytes_(bytes.substr(2)) {}

    std::optional<PictureHeader> run() {
        while (const auto marker = bytes_.marker()) {
            if (*marker == endOfPicture) return finished();
            if (standsAlone(*marker)) continue;
            const std::uint32_t length = bytes_.bigEndian(2);
            if (length < 2 || bytes_.left() < length - 2) return std::nullopt;
            Cursor segment(bytes_.take(length - 2));
            if (!accepts(*marker, segment)) return std::nullopt;
        }
        return std::nullopt;
    }

  private:
    static constexpr std::uint32_t progressive = 0xc2;
    static constexpr std::uint32_t beginOfPicture = 0xd8;
    static constexpr std::uint32_t endOfPicture = 0xd9;
    static constexpr std::uint32_t beginOfScan = 0xda;

    static bool standsAlone(std::uint32_t marker) { return marker < 0xc0 || (marker >= 0xd0 && marker <= 0xd7); }

    // Tables lie between the markers of frames.
    static bool beginsFrame(std::uint32_t marker) {
        return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
    }

    bool accepts(std::uint32_t marker, Cursor segment) {
        if (marker == beginOfPicture) return false;
        if (beginsFrame(marker)) return marker <= progressive && readFrame(marker, segment);
        return marker != beginOfScan || readScan(segment);
    }

    bool readFrame(std::uint32_t marker, Cursor& segment) {
        constexpr std::uint32_t precision = 8;
        if (components_ != 0 || segment.byte() != precision) return false;
        found_.height = segment.bigEndian(2);
        found_.width = segment.bigEndian(2);
        components_ = segment.byte();
        const bool isKnown = components_ == 1 || components_ == 3 || components_ == 4;
        if (!isKnown || segment.left() < 3 * std::size_t{components_} || found_.points() == 0) return false;
        isHeldWhole_ = marker == progressive;
        std::uint32_t blocks = 0;
        std::uint32_t widest = 0;
        std::uint32_t highest = 0;
        for (std::uint32_t i = 0; i < components_; ++i) {
            segment.byte();
            const std::uint32_t sampling = segment.byte();
            const std::uint32_t across = sampling >> 4;
            const std::uint32_t down = sampling & 15;
            if (across == 0 || across > 4 || down == 0 || down > 4) return false;
            segment.byte();
            widest = std::max(widest, across);
            highest = std::max(highest, down);
            blocks += across * down;
        }
        constexpr std::uint64_t block = 8;
        constexpr std::uint64_t bytesOfCoefficient = 2;
        const auto roundedUp = [](std::uint64_t size, std::uint64_t unit) { return (size + unit - 1) / unit; };
        coefficientBytes_ = roundedUp(found_.width, block * widest) * roundedUp(found_.height, block * highest) *
                            blocks * block * block * bytesOfCoefficient;
        return true;
    }

    bool readScan(Cursor& segment) {
        const std::uint32_t components = segment.byte();
        if (components == 0 || components > components_ || segment.left() < 2 * std::size_t{components} + 3) {
            return false;
        }
        // A decoder puts parts of all points together, so it keeps every coefficient.
        if (components < components_ || scans_ > 0) isHeldWhole_ = true;
        ++scans_;
        return true;
    }

    std::optional<PictureHeader> finished() const {
        if (scans_ == 0) return std::nullopt;
        PictureHeader result = found_;
        result.scans = scans_;
        result.wholeBytes = isHeldWhole_ ? coefficientBytes_ : 0;
        return result;
    }

    Cursor bytes_;
    PictureHeader found_;
    std::uint32_t components_ = 0;
    std::uint32_t scans_ = 0;
    std::uint64_t coefficientBytes_ = 0;
    bool isHeldWhole_ = false;
};

/// Whether the chunks from here on come to their end.
bool isWholePng(Cursor in) {
    constexpr std::uint32_t lengthOfSum = 4;
    while (in.left() > 0) {
        const std::uint32_t length = in.bigEndian(4);
        const std::string_view kind = in.take(4);
        if (in.left() < std::size_t{length} + lengthOfSum) return false;
        if (kind == "IEND") return true;
        in.take(std::size_t{length} + lengthOfSum);
    }
    return false;
}

std::optional<PictureHeader> readPng(std::string_view bytes) {
    constexpr std::uint32_t lengthOfHeader = 13;
    constexpr std::uint32_t longestSide = 1'000'000;
    Cursor in(bytes.substr(pngBegin.size()));
    if (!isWholePng(in)) return std::nullopt;
    if (in.bigEndian(4) != lengthOfHeader || in.take(4) != "IHDR" || in.left() < lengthOfHeader) return std::nullopt;
    PictureHeader found;
    found.format = PictureHeader::Format::Png;
    found.width = in.bigEndian(4);
    found.height = in.bigEndian(4);
    const std::uint32_t depth = in.byte();
    in.take(3);
    const bool isInterlaced = in.byte() != 0;
    if (found.points() == 0 || found.width > longestSide || found.height > longestSide || depth > 16)
        return std::nullopt;
    found.scans = isInterlaced ? 7 : 1;
    found.wholeBytes = found.points() * (depth == 16 ? 2 * bytesOfPoint : bytesOfPoint);
    return found;
}

struct Size {
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    bool operator==(const Size&) const = default;
};

constexpr std::uint32_t mostOfWebp = 0x3fff;

std::optional<Size> readLossy(Cursor frame) {
    const bool isKey = (frame.littleEndian(3) & 1) == 0;
    if (!isKey || frame.take(3) != "\x9d\x01\x2a"sv) return std::nullopt;
    const std::uint32_t width = frame.littleEndian(2) & mostOfWebp;
    return Size{width, frame.littleEndian(2) & mostOfWebp};
}

std::optional<Size> readLossless(Cursor frame) {
    if (frame.byte() != 0x2f) return std::nullopt;
    const std::uint32_t sizes = frame.littleEndian(4);
    return Size{(sizes & mostOfWebp) + 1, (sizes >> 14 & mostOfWebp) + 1};
}

std::optional<PictureHeader> readWebp(std::string_view bytes) {
    constexpr std::uint32_t isAnimation = 2;
    Cursor in(bytes.substr(12));
    std::optional<Size> canvas;
    while (in.left() > 0) {
        const std::string_view kind = in.take(4);
        const std::uint32_t length = in.littleEndian(4);
        Cursor chunk(in.take(length));
        in.take(length & 1);
        if (kind == "VP8X") {
            if (canvas || (chunk.littleEndian(4) & isAnimation) != 0) return std::nullopt;
            const std::uint32_t width = chunk.littleEndian(3) + 1;
            canvas = Size{width, chunk.littleEndian(3) + 1};
            continue;
        }
        if (kind != "VP8 " && kind != "VP8L") continue;
        const auto size = kind == "VP8 " ? readLossy(chunk) : readLossless(chunk);
        if (!size || size->width == 0 || size->height == 0 || (canvas && *canvas != *size)) return std::nullopt;
        PictureHeader found{PictureHeader::Format::Webp, size->width, size->height};
        found.wholeBytes = found.points() * bytesOfPoint;
        return found;
    }
    return std::nullopt;
}

}  // namespace

std::optional<PictureHeader> PictureHeader::read(std::string_view bytes) {
    if (bytes.starts_with(jpegBegin)) return JpegWalk(bytes).run();
    if (bytes.starts_with(pngBegin)) return readPng(bytes);
    if (bytes.size() >= 12 && bytes.starts_with("RIFF") && bytes.substr(8, 4) == "WEBP") return readWebp(bytes);
    return std::nullopt;
}

}  // namespace korvane
