#include "korvane/film/worker/KeyFrame.h"

#include <algorithm>
#include <utility>

#include "korvane/film/worker/FilmContainer.h"
#include "korvane/film/worker/Sandbox.h"

namespace korvane {
namespace {

constexpr std::int64_t maxPixels = 64'000'000;
constexpr int maxPackets = 5'000;  // of a stream that holds no key frame

int openDecoder(AVFormatContext& film, int& stream, AvCodec& decoder) {
    const AVCodec* codec = nullptr;
    stream = av_find_best_stream(&film, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (stream < 0) return stream;
    for (unsigned i = 0; i < film.nb_streams; ++i)
        if (static_cast<int>(i) != stream) film.streams[i]->discard = AVDISCARD_ALL;
    decoder.reset(avcodec_alloc_context3(codec));
    if (!decoder) return AVERROR(ENOMEM);
    const int copied = avcodec_parameters_to_context(decoder.get(), film.streams[stream]->codecpar);
    if (copied < 0) return copied;
    decoder->thread_count = 1;
    decoder->skip_frame = AVDISCARD_NONKEY;
    decoder->max_pixels = maxPixels;
    return avcodec_open2(decoder.get(), codec, nullptr);
}

int decodeFirst(AVFormatContext& film, int stream, AVCodecContext& decoder, AVFrame& frame) {
    const AvPacket packet(av_packet_alloc());
    if (!packet) return AVERROR(ENOMEM);
    bool isAtEnd = false;
    for (int packets = 0; packets < maxPackets; ++packets) {
        const int received = avcodec_receive_frame(&decoder, &frame);
        if (received != AVERROR(EAGAIN)) return received;
        if (isAtEnd) return AVERROR_EOF;
        isAtEnd = av_read_frame(&film, packet.get()) < 0;
        if (isAtEnd) {
            avcodec_send_packet(&decoder, nullptr);
        } else {
            // What cannot be decoded is passed over; a later key frame may do.
            if (packet->stream_index == stream) mindMemory(avcodec_send_packet(&decoder, packet.get()));
            av_packet_unref(packet.get());
        }
    }
    return AVERROR_EOF;
}

FrameConverter::Size covering(FrameConverter::Size bound, const AVFrame& frame) {
    const FrameConverter::Size own{frame.width, frame.height};
    if (bound.width <= 0 || bound.height <= 0 || own.width <= 0 || own.height <= 0) return own;
    const auto share = [](int part, int of, int whole) {
        return std::max(1, static_cast<int>(std::int64_t{part} * of / whole));
    };
    const FrameConverter::Size byWidth{bound.width, share(own.height, bound.width, own.width)};
    const FrameConverter::Size byHeight{share(own.width, bound.height, own.height), bound.height};
    const FrameConverter::Size scaled = byWidth.height >= bound.height ? byWidth : byHeight;
    return scaled.width > own.width ? own : scaled;
}

FilmWords failed(int code) {
    const bool isEmpty = code == AVERROR_EOF || code == AVERROR_STREAM_NOT_FOUND;
    return FilmWords(FilmMessage::Failed)
        .number(code == AVERROR(ENOMEM))
        .text(isEmpty ? "holds no picture" : "cannot be opened: " + avErrorText(code));
}

}  // namespace

FilmWords firstKeyFrame(const AvSource& source, FrameConverter::Size bound, FrameConverter& converter) {
    AvInput film;
    if (const int code = openContainer(source, FilmKinds::FilmOrPicture, true, film); code < 0) return failed(code);
    int stream = -1;
    AvCodec decoder;
    if (const int code = openDecoder(*film, stream, decoder); code < 0) return failed(code);
    const AvFrame frame(av_frame_alloc());
    if (!frame) return failed(AVERROR(ENOMEM));
    if (const int code = decodeFirst(*film, stream, *decoder, *frame); code < 0) return failed(code);
    const int degrees = rotationOf(*film->streams[stream]);
    if (degrees == 90 || degrees == 270) std::swap(bound.width, bound.height);
    return converter.convert(*frame, covering(bound, *frame), degrees);
}

}  // namespace korvane
