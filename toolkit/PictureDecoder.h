#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>
#include <chrono>
#include <cstdint>

namespace korvane {

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
        /// Of the processor, for a picture that is shown in a million points; more of them get more in proportion.
        std::chrono::milliseconds processorTime{100};
    };

    struct Picture {
        QImage image;
        /// Why there is none; holds nothing that the picture says.
        QString fault;
    };

    PictureDecoder() = default;
    explicit PictureDecoder(const Limits& limits) : limits_(limits) {}

    /// A picture larger than `bound` (points; empty for no bound) is scaled down in proportion until it just covers it.
    /// It comes as it is to be seen, turned as it asks for.
    Picture decode(const QByteArray& bytes, QSize bound) const;

  private:
    Limits limits_;
};

}  // namespace korvane
