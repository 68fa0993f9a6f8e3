#include "korvane/toolkit/PictureDecoder.h"

#include <QImageReader>
#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "korvane/toolkit/PictureBytes.h"
#include "korvane/toolkit/PictureHeader.h"

namespace korvane {
namespace {

using Format = PictureHeader::Format;

constexpr std::uint64_t bytesOfPoint = 4;
constexpr const char* tooMuchMemory = "a picture that takes too much memory";

QByteArray nameOf(Format format) {
    switch (format) {
        case Format::Jpeg:
            return "jpeg";
        case Format::Png:
            return "png";
        case Format::Webp:
            break;
    }
    return "webp";
}

std::uint64_t pointsOf(QSize size) {
    return static_cast<std::uint64_t>(size.width()) * static_cast<std::uint64_t>(size.height());
}

QSize sizeOf(const PictureHeader& header) {
    return {static_cast<int>(header.width), static_cast<int>(header.height)};
}

std::optional<PictureHeader> headerOf(const QByteArray& bytes) {
    return PictureHeader::read(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

/// Smaller than `size` only.
QSize scaledTo(QSize bound, QSize size) {
    if (bound.isEmpty()) return size;
    const QSize scaled = size.scaled(bound, Qt::KeepAspectRatioByExpanding);
    return scaled.width() < size.width() ? scaled.expandedTo({1, 1}) : size;
}

/// JPEG is decoded in eighths of its size, the fewest that cover what is shown.
std::uint64_t decodedPoints(QSize size, QSize shown) {
    constexpr int whole = 8;
    const auto covers = [](int eighths, int from, int to) {
        return std::int64_t{eighths} * from >= std::int64_t{whole} * to;
    };
    const auto part = [](int eighths, int of) { return (std::int64_t{eighths} * of + whole - 1) / whole; };
    int eighths = 1;
    while (eighths < whole &&
           !(covers(eighths, size.width(), shown.width()) && covers(eighths, size.height(), shown.height()))) {
        ++eighths;
    }
    return static_cast<std::uint64_t>(part(eighths, size.width()) * part(eighths, size.height()));
}

/// What is decoded and, where it is scaled, a copy of it. A PNG or WebP is converted as a whole before it is scaled.
std::uint64_t bytesFor(const PictureHeader& header, QSize shown) {
    const QSize size = sizeOf(header);
    const bool isCopied = shown != size;
    std::uint64_t points = isCopied ? header.points() : 0;
    if (header.format == Format::Jpeg) points = decodedPoints(size, shown) + (isCopied ? pointsOf(shown) : 0);
    return header.wholeBytes + bytesOfPoint * points;
}

}  // namespace

const char* PictureDecoder::refusalOf(const PictureHeader& header) const {
    if (header.points() > limits_.points) return "a picture of too many points";
    if (header.scans > limits_.scans || header.points() * header.scans > limits_.scannedPoints)
        return "a picture of too many passes";
    return nullptr;
}

bool PictureDecoder::fits(const PictureHeader& header, QSize shown) const {
    return bytesFor(header, shown) <= limits_.bytes;
}

bool PictureDecoder::accepts(const QByteArray& bytes) const {
    const auto header = headerOf(bytes);
    return header && !refusalOf(*header) && fits(*header, sizeOf(*header));
}

std::chrono::microseconds PictureDecoder::timeFor(const PictureHeader& header) const {
    constexpr std::uint64_t million = 1'000'000;
    return limits_.processorTime * std::max(header.points(), million) / million;
}

PictureDecoder::Picture PictureDecoder::decode(const QByteArray& bytes, QSize bound) const {
    const auto refused = [](const char* why) { return Picture{{}, QString::fromLatin1(why)}; };
    const auto header = headerOf(bytes);
    if (!header) return refused("no whole picture of a known kind");
    if (const char* const why = refusalOf(*header)) return refused(why);

    const QSize size = sizeOf(*header);
    // Of a large JPEG, a slightly smaller copy can cost more than the picture as it is.
    const auto shownIn = [&](QSize within) {
        const QSize scaled = scaledTo(within, size);
        const bool staysWhole = header->format == Format::Jpeg && !fits(*header, scaled) && fits(*header, size);
        return staysWhole ? size : scaled;
    };
    const QSize upright = shownIn(bound);
    const QSize turned = shownIn(bound.transposed());
    if (!fits(*header, upright) && !fits(*header, turned)) return refused(tooMuchMemory);

    PictureBytes device(bytes, timeFor(*header));
    QImageReader reader;
    reader.setAutoDetectImageFormat(false);
    reader.setFormat(nameOf(header->format));
    reader.setDevice(&device);
    reader.setAutoTransform(true);
    if (reader.size() != size) {
        return refused(device.isSpent() ? "a picture that takes too long" : "no picture that can be read");
    }
    const bool isTurned = reader.transformation() & QImageIOHandler::TransformationRotate90;
    const QSize shown = isTurned ? turned : upright;
    if (!fits(*header, shown)) return refused(tooMuchMemory);
    if (shown != size) reader.setScaledSize(shown);
    QImage image = reader.read();
    if (device.isSpent()) return refused("a picture that takes too long");
    if (image.isNull()) return refused("no picture that can be read");
    return {std::move(image), {}};
}

}  // namespace korvane
