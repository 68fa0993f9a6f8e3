#include "korvane/toolkit/PictureDecoder.h"

#include <QImageReader>
#include <algorithm>
#include <string_view>
#include <utility>

#include "korvane/toolkit/PictureBytes.h"
#include "korvane/toolkit/PictureHeader.h"

namespace korvane {
namespace {

using Format = PictureHeader::Format;

constexpr std::uint64_t bytesOfPoint = 4;

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

/// Smaller than `size` only.
QSize scaledTo(QSize bound, QSize size) {
    if (bound.isEmpty()) return size;
    const QSize scaled = size.scaled(bound, Qt::KeepAspectRatioByExpanding);
    return scaled.width() < size.width() ? scaled.expandedTo({1, 1}) : size;
}

/// What is decoded and, where it is scaled, a copy of it. JPEG is decoded in eighths of its size, so that it comes at
/// most twice as wide and high as it is shown.
std::uint64_t bytesFor(const PictureHeader& header, QSize shown) {
    constexpr std::uint64_t smallest = 64;  // times smaller
    const bool isJpeg = header.format == Format::Jpeg;
    const std::uint64_t scaled = 4 * pointsOf(shown) + header.points() / smallest;
    const std::uint64_t points = isJpeg ? std::min(header.points(), scaled) : header.points();
    const bool isCopied = pointsOf(shown) < header.points();
    return header.wholeBytes + bytesOfPoint * points * ((isJpeg ? 1U : 0U) + (isCopied ? 1U : 0U));
}

}  // namespace

PictureDecoder::Picture PictureDecoder::decode(const QByteArray& bytes, QSize bound) const {
    const auto refused = [](const char* why) { return Picture{{}, QString::fromLatin1(why)}; };
    const auto header =
        PictureHeader::read(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    if (!header) return refused("no whole picture of a known kind");
    if (header->points() > limits_.points) return refused("a picture of too many points");
    const QSize size = sizeOf(*header);
    if (header->scans > limits_.scans || header->points() * header->scans > limits_.scannedPoints)
        return refused("a picture of too many passes");

    // Whether it is turned is not known yet.
    const QSize upright = scaledTo(bound, size);
    const QSize turned = scaledTo(bound.transposed(), size);
    const QSize larger = pointsOf(upright) < pointsOf(turned) ? turned : upright;
    if (bytesFor(*header, larger) > limits_.bytes) return refused("a picture that takes too much memory");

    PictureBytes device(bytes, limits_.processorTime * std::max<std::uint64_t>(1, pointsOf(larger) / 1'000'000));
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
    if (shown != size) reader.setScaledSize(shown);
    QImage image = reader.read();
    if (device.isSpent()) return refused("a picture that takes too long");
    if (image.isNull()) return refused("no picture that can be read");
    return {std::move(image), {}};
}

}  // namespace korvane
