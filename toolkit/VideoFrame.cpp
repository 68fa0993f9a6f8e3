#include "korvane/toolkit/VideoFrame.h"

#include <QTransform>
#include <cmath>
#include <memory>
#include <mutex>

#include "korvane/toolkit/FrameGrabber.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

namespace korvane {
namespace {

constexpr std::int64_t maxPixels = 64'000'000;
constexpr int maxPackets = 5'000;  // of a stream that holds no key frame
constexpr const char* probeBytes = "2000000";
constexpr const char* probeMicroseconds = "500000";
constexpr int rowAlignment = 32;
// Kinds that hold a film, or a still picture in its place, themselves. Playlists and the like only name others.
constexpr const char* kinds =
    "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,mpegts,mpeg,avi,flv,asf,ogg,h264,hevc,m4v,mpegvideo,mjpeg,mxf,gxf,nut,dv,"
    "ivf,av1,obu,rm,wtv,dhav,nsv,jpeg_pipe,png_pipe,webp_pipe";

template <auto Free>
struct Freed {
    template <typename Type>
    void operator()(Type* object) const {
        Free(&object);
    }
};
struct FreedContext {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};
struct FreedBytes {
    void operator()(std::uint8_t* bytes) const { av_free(bytes); }
};

using Format = std::unique_ptr<AVFormatContext, Freed<avformat_close_input>>;
using Decoder = std::unique_ptr<AVCodecContext, Freed<avcodec_free_context>>;
using Packet = std::unique_ptr<AVPacket, Freed<av_packet_free>>;
using Frame = std::unique_ptr<AVFrame, Freed<av_frame_free>>;

int interrupted(void* isOver) {
    return (*static_cast<const std::function<bool()>*>(isOver))() ? 1 : 0;
}

// A remote file must not make the library open local ones, nor the other way round.
const char* protocolsFor(const std::string& url) {
    return url.starts_with("http") ? "http,https,tcp,tls" : "file";
}

int openNothing(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EPERM);
}

int open(const std::string& url, const std::function<bool()>& isOver, Format& format) {
    AVFormatContext* raw = avformat_alloc_context();
    if (!raw) return AVERROR(ENOMEM);
    raw->interrupt_callback = {interrupted, const_cast<std::function<bool()>*>(&isOver)};
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", protocolsFor(url), 0);
    av_dict_set(&options, "format_whitelist", kinds, 0);
    // The address may hold a token, which neither an unknown service nor the environment's proxy is to get.
    av_dict_set(&options, "tls_verify", "1", 0);
    av_dict_set(&options, "http_proxy", "none", 0);
    av_dict_set(&options, "probesize", probeBytes, 0);
    av_dict_set(&options, "analyzeduration", probeMicroseconds, 0);
    const int opened = avformat_open_input(&raw, url.c_str(), nullptr, &options);  // frees raw when it fails
    av_dict_free(&options);
    if (opened < 0) return opened;
    format.reset(raw);
    raw->io_open = openNothing;  // what a film refers to
    return avformat_find_stream_info(raw, nullptr);
}

int openDecoder(AVFormatContext& format, int& stream, Decoder& decoder) {
    const AVCodec* codec = nullptr;
    stream = av_find_best_stream(&format, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (stream < 0) return stream;
    const auto wanted = static_cast<unsigned>(stream);
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        if (i != wanted) format.streams[i]->discard = AVDISCARD_ALL;
    }
    decoder.reset(avcodec_alloc_context3(codec));
    if (!decoder) return AVERROR(ENOMEM);
    const int copied = avcodec_parameters_to_context(decoder.get(), format.streams[stream]->codecpar);
    if (copied < 0) return copied;
    decoder->thread_count = 1;
    decoder->skip_frame = AVDISCARD_NONKEY;
    decoder->max_pixels = maxPixels;
    return avcodec_open2(decoder.get(), codec, nullptr);
}

int decodeFirst(AVFormatContext& format, int stream, AVCodecContext& decoder, AVFrame& frame) {
    const Packet packet(av_packet_alloc());
    if (!packet) return AVERROR(ENOMEM);
    bool isAtEnd = false;
    for (int packets = 0; packets < maxPackets; ++packets) {
        const int received = avcodec_receive_frame(&decoder, &frame);
        if (received != AVERROR(EAGAIN)) return received == AVERROR_EOF ? FrameGrabber::noFrame : received;
        if (isAtEnd) return FrameGrabber::noFrame;
        const int read = av_read_frame(&format, packet.get());
        if (read == AVERROR_EXIT) return read;
        isAtEnd = read < 0;
        if (isAtEnd) {
            avcodec_send_packet(&decoder, nullptr);
        } else {
            // What cannot be decoded is passed over; a later key frame may do.
            if (packet->stream_index == stream) avcodec_send_packet(&decoder, packet.get());
            av_packet_unref(packet.get());
        }
    }
    return FrameGrabber::noFrame;
}

double rotationOf(const AVStream& stream) {
    const auto* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
    if (!matrix) return 0;
    const double degrees = -av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
    return std::isfinite(degrees) ? degrees : 0;
}

// The converter writes whole blocks, so it gets rows of its own with room behind them.
QImage toImage(const AVFrame& frame, QSize bound) {
    const QSize size(frame.width, frame.height);
    if (size.isEmpty()) return {};
    QSize scaled = bound.isEmpty() ? size : size.scaled(bound, Qt::KeepAspectRatioByExpanding);
    if (scaled.width() > size.width()) scaled = size;
    const std::unique_ptr<SwsContext, FreedContext> converter(
        sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), scaled.width(),
                       scaled.height(), AV_PIX_FMT_RGB32, SWS_AREA, nullptr, nullptr, nullptr));
    std::uint8_t* planes[4] = {};
    int strides[4] = {};
    if (!converter ||
        av_image_alloc(planes, strides, scaled.width(), scaled.height(), AV_PIX_FMT_RGB32, rowAlignment) < 0) {
        return {};
    }
    const std::unique_ptr<std::uint8_t, FreedBytes> rows(planes[0]);
    sws_scale(converter.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    return QImage(rows.get(), scaled.width(), scaled.height(), strides[0], QImage::Format_RGB32).copy();
}

}  // namespace

VideoFrame firstKeyFrame(const std::string& url, QSize bound, const std::function<bool()>& isOver) {
    // The library's own lines quote URLs, which may hold tokens.
    static std::once_flag silenced;
    std::call_once(silenced, [] { av_log_set_level(AV_LOG_QUIET); });
    Format format;
    if (const int result = open(url, isOver, format); result < 0) return {result, {}};
    int stream = -1;
    Decoder decoder;
    if (const int result = openDecoder(*format, stream, decoder); result < 0) return {result, {}};
    const Frame frame(av_frame_alloc());
    if (!frame) return {AVERROR(ENOMEM), {}};
    if (const int result = decodeFirst(*format, stream, *decoder, *frame); result != 0) return {result, {}};
    const double degrees = rotationOf(*format->streams[stream]);
    const bool isTurned = std::abs(std::abs(degrees) - 90) < 45;
    QImage image = toImage(*frame, isTurned ? bound.transposed() : bound);
    if (image.isNull()) return {FrameGrabber::noFrame, {}};
    if (degrees != 0) image = image.transformed(QTransform().rotate(degrees));
    return {FrameGrabber::success, image};
}

}  // namespace korvane
