#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>
#include <chrono>
#include <cstdint>

namespace korvane {

struct PictureHeader;

/// Decodes pictures of strangers: JPEG, PNG and, where Qt has its plug-in, WebP, whatever they are called. What such a
/// picture may cost is known from its header before any of it is decoded. A plain value; any thread.
class PictureDecoder {
  public:
    struct Limits {
        std::uint64_t points = 64'000'000;
        /// Memory in bytes for what is decoded. Pictures that cannot be scaled while they are decoded, PNG and WebP,
        /// reach it at 8 million points, progressive JPEG at 20 million.
        std::uint64_t bytes = std::uint64_t{64} * 1024 * 1024;
        /// Passes over the whole picture that a JPEG asks for.
        std::uint32_t scans = 40;
        /// Points of all passes.
        std::uint64_t scannedPoints = 250'000'000;
        /// Of the processor, for a picture of up to a million points; more of them get more in proportion. WebP is
        /// decoded in one go, which only its points bound.
        std::chrono::microseconds processorTime{100'000};
    };

    struct Picture {
        QImage image;
        /// Why there is none; holds nothing that the picture says.
        QString fault;
    };

    PictureDecoder() = default;
    explicit PictureDecoder(const Limits& limits) : limits_(limits) {}

    /// A picture larger than `bound` (points; empty for no bound) is scaled down in proportion until it just covers it,
    /// but a JPEG stays whole where the memory allows for that and not for the copy. It comes as it is to be seen,
    /// turned as it asks for.
    Picture decode(const QByteArray& bytes, QSize bound) const;

    /// Whether decode() without a bound begins to decode it.
    bool accepts(const QByteArray& bytes) const;

  private:
    /// Null when it is not refused before its memory is looked at.
    const char* refusalOf(const PictureHeader& header) const;
    bool fits(const PictureHeader& header, QSize shown) const;
    std::chrono::microseconds timeFor(const PictureHeader& header) const;

    Limits limits_;
};

}  // namespace korvane
