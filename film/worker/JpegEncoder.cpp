#include "korvane/film/worker/JpegEncoder.h"

#include <algorithm>

namespace korvane {
namespace {

constexpr int jpegQuality = 4;  // 1 best, 31 worst

struct Source {
    AVPixelFormat format;
    bool fullRange;
};

/// The formats that say "full range" by their name are deprecated; the scaler wants the plain one and the range.
Source sourceOf(const AVFrame& frame) {
    const bool full = frame.color_range == AVCOL_RANGE_JPEG;
    switch (frame.format) {
        case AV_PIX_FMT_YUVJ420P:
            return {AV_PIX_FMT_YUV420P, true};
        case AV_PIX_FMT_YUVJ422P:
            return {AV_PIX_FMT_YUV422P, true};
        case AV_PIX_FMT_YUVJ444P:
            return {AV_PIX_FMT_YUV444P, true};
        case AV_PIX_FMT_YUVJ440P:
            return {AV_PIX_FMT_YUV440P, true};
        default:
            return {static_cast<AVPixelFormat>(frame.format), full};
    }
}

}  // namespace

bool JpegEncoder::prepare(const AVFrame& frame) {
    if (encoder_ && frame.width == sourceWidth_ && frame.height == sourceHeight_ && frame.format == sourceFormat_)
        return true;
    encoder_.reset();
    if (frame.width < 1 || frame.height < 1) return false;
    double aspect = static_cast<double>(frame.width) / frame.height;
    const AVRational pixel = frame.sample_aspect_ratio;
    if (pixel.num > 0 && pixel.den > 0) aspect *= std::clamp(av_q2d(pixel), 0.25, 4.0);
    const int width = std::max(2, std::min(width_, frame.width) & ~1);
    const int height = std::clamp(static_cast<int>(width / aspect), 2, 4 * width) & ~1;
    const Source source = sourceOf(frame);
    scaler_.reset(sws_getContext(frame.width, frame.height, source.format, width, height, AV_PIX_FMT_YUV420P, SWS_AREA,
                                 nullptr, nullptr, nullptr));
    picture_.reset(av_frame_alloc());
    AvCodec encoder(avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_MJPEG)));
    if (!scaler_ || !picture_ || !encoder) return false;
    const int* coefficients = sws_getCoefficients(SWS_CS_DEFAULT);
    constexpr int full = 1 << 16;
    sws_setColorspaceDetails(scaler_.get(), coefficients, source.fullRange ? 1 : 0, coefficients, 1, 0, full, full);
    picture_->format = AV_PIX_FMT_YUV420P;
    picture_->color_range = AVCOL_RANGE_JPEG;
    picture_->width = width;
    picture_->height = height;
    picture_->quality = FF_QP2LAMBDA * jpegQuality;
    encoder->width = width;
    encoder->height = height;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->color_range = AVCOL_RANGE_JPEG;
    encoder->time_base = {1, 25};
    encoder->thread_count = 1;
    encoder->flags |= AV_CODEC_FLAG_QSCALE;
    encoder->global_quality = FF_QP2LAMBDA * jpegQuality;
    if (av_frame_get_buffer(picture_.get(), 0) < 0 || avcodec_open2(encoder.get(), encoder->codec, nullptr) < 0)
        return false;
    encoder_ = std::move(encoder);
    sourceWidth_ = frame.width;
    sourceHeight_ = frame.height;
    sourceFormat_ = frame.format;
    return true;
}

std::string JpegEncoder::encode(const AVFrame& frame) {
    if (!prepare(frame) || av_frame_make_writable(picture_.get()) < 0) return {};
    sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, picture_->data, picture_->linesize);
    const AvPacket packet(av_packet_alloc());
    if (!packet || avcodec_send_frame(encoder_.get(), picture_.get()) < 0) return {};
    if (avcodec_receive_packet(encoder_.get(), packet.get()) < 0) return {};
    return {reinterpret_cast<const char*>(packet->data), static_cast<std::size_t>(packet->size)};
}

}  // namespace korvane
