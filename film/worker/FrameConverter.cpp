#include "korvane/film/worker/FrameConverter.h"

namespace korvane {

namespace {

constexpr int rowAlignment = 64;
constexpr int hdHeight = 720;
constexpr int bytesAPoint = 4;

// Where a film does not tell its colours, those of its size are usual.
int colorsOf(const AVFrame& frame) {
    if (frame.colorspace != AVCOL_SPC_UNSPECIFIED && frame.colorspace != AVCOL_SPC_RGB) return frame.colorspace;
    return frame.height >= hdHeight ? SWS_CS_ITU709 : SWS_CS_ITU601;
}

FilmWords failed(bool isMemory) {
    return FilmWords(FilmMessage::Failed).number(isMemory).text("has a picture that cannot be shown");
}

}  // namespace

FilmWords FrameConverter::convert(const AVFrame& frame, Size size, int degrees) {
    if (frame.width <= 0 || frame.height <= 0 || size.width <= 0 || size.height <= 0) return failed(false);
    const bool isScaled = size.width != frame.width || size.height != frame.height;
    SwsContext* const before = scaler_.release();
    scaler_.reset(sws_getCachedContext(before, frame.width, frame.height, static_cast<AVPixelFormat>(frame.format),
                                       size.width, size.height, AV_PIX_FMT_RGB32, isScaled ? SWS_AREA : SWS_BILINEAR,
                                       nullptr, nullptr, nullptr));
    if (!scaler_) return failed(false);
    const bool isFullRange = frame.color_range == AVCOL_RANGE_JPEG || frame.format == AV_PIX_FMT_YUVJ420P;
    sws_setColorspaceDetails(scaler_.get(), sws_getCoefficients(colorsOf(frame)), isFullRange ? 1 : 0,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    // The converter writes whole blocks, so rows have room behind them.
    const int stride = (size.width * bytesAPoint + rowAlignment - 1) / rowAlignment * rowAlignment + rowAlignment;
    std::uint8_t* const points =
        room_.at(static_cast<std::size_t>(stride) * (static_cast<std::size_t>(size.height) + 1));
    if (!points) return failed(true);
    std::uint8_t* const planes[4] = {points};
    const int strides[4] = {stride};
    sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    return FilmWords(FilmMessage::Done).number(size.width).number(size.height).number(stride).number(degrees);
}

}  // namespace korvane
