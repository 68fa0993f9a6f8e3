#include "korvane/apps/browser/FrameConverter.h"

#include <QTransform>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace korvane {

namespace {

constexpr int rowAlignment = 64;
constexpr int hdHeight = 720;

// Where a film does not tell its colours, those of its size are usual.
int colorsOf(const AVFrame& frame) {
    if (frame.colorspace != AVCOL_SPC_UNSPECIFIED && frame.colorspace != AVCOL_SPC_RGB) return frame.colorspace;
    return frame.height >= hdHeight ? SWS_CS_ITU709 : SWS_CS_ITU601;
}

}  // namespace

QImage FrameConverter::convert(const AVFrame& frame) {
    if (frame.width <= 0 || frame.height <= 0) return {};
    SwsContext* const before = scaler_.release();
    scaler_.reset(sws_getCachedContext(before, frame.width, frame.height, static_cast<AVPixelFormat>(frame.format),
                                       frame.width, frame.height, AV_PIX_FMT_RGB32, SWS_BILINEAR, nullptr, nullptr,
                                       nullptr));
    if (!scaler_) return {};
    const bool isFullRange = frame.color_range == AVCOL_RANGE_JPEG || frame.format == AV_PIX_FMT_YUVJ420P;
    sws_setColorspaceDetails(scaler_.get(), sws_getCoefficients(colorsOf(frame)), isFullRange ? 1 : 0,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    // The converter writes whole blocks, so rows have room behind them.
    std::uint8_t* planes[4] = {};
    int strides[4] = {};
    if (av_image_alloc(planes, strides, frame.width, frame.height, AV_PIX_FMT_RGB32, rowAlignment) < 0) return {};
    sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    QImage image(
        planes[0], frame.width, frame.height, strides[0], QImage::Format_RGB32, [](void* bytes) { av_free(bytes); },
        planes[0]);
    return degrees_ == 0 ? image : image.transformed(QTransform().rotate(degrees_));
}

}  // namespace korvane
