#include "korvane/film/worker/BrightnessGrid.h"

#include <array>

namespace korvane {
namespace {

// Points a cell on each axis: enough to even out noise, far fewer than there are.
constexpr int points = 4;

bool hasByteLuma(const AVFrame& frame) {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    if (format == nullptr ||
        (format->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_HWACCEL)) != 0)
        return false;
    const AVComponentDescriptor& luma = format->comp[0];
    return luma.depth == 8 && luma.plane == 0 && luma.step == 1 && luma.offset == 0;
}

}  // namespace

bool BrightnessGrid::sample(const AVFrame& frame, CellImage& image) {
    if (frame.width < 1 || frame.height < 1 || frame.data[0] == nullptr) return false;
    if (!hasByteLuma(frame)) return convert(frame, image);
    std::array<int, std::size_t{CellImage::gridColumns} * points> columns{};
    const int steps = CellImage::gridColumns * points;
    for (int i = 0; i < steps; ++i) columns[static_cast<std::size_t>(i)] = (2 * i + 1) * frame.width / (2 * steps);
    std::size_t cell = 0;
    for (int row = 0; row < CellImage::gridRows; ++row) {
        std::array<int, CellImage::gridColumns> sums{};
        for (int point = 0; point < points; ++point) {
            const int y = (2 * (row * points + point) + 1) * frame.height / (2 * CellImage::gridRows * points);
            const std::uint8_t* line = frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0];
            for (std::size_t i = 0; i < columns.size(); ++i) sums[i / points] += line[columns[i]];
        }
        for (const int sum : sums) image.cells[cell++] = static_cast<std::uint8_t>(sum / (points * points));
    }
    return true;
}

bool BrightnessGrid::convert(const AVFrame& frame, CellImage& image) {
    scaler_.reset(sws_getCachedContext(scaler_.release(), frame.width, frame.height,
                                       static_cast<AVPixelFormat>(frame.format), CellImage::gridColumns,
                                       CellImage::gridRows, AV_PIX_FMT_GRAY8, SWS_AREA, nullptr, nullptr, nullptr));
    if (!scaler_) return false;
    std::uint8_t* planes[] = {image.cells.data()};
    const int strides[] = {CellImage::gridColumns};
    sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    return true;
}

}  // namespace korvane
