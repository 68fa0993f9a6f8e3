#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace korvane {

/// Frees an object of the decoding library by the function that sets its pointer to null.
template <auto Free>
struct FilmFreed {
    template <typename Type>
    void operator()(Type* object) const {
        Free(&object);
    }
};
struct FilmFreedIo {
    void operator()(AVIOContext* io) const {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
};
struct FilmFreedScaler {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};

using FilmFormat = std::unique_ptr<AVFormatContext, FilmFreed<avformat_close_input>>;
using FilmDecoder = std::unique_ptr<AVCodecContext, FilmFreed<avcodec_free_context>>;
using FilmPacket = std::unique_ptr<AVPacket, FilmFreed<av_packet_free>>;
using FilmFrame = std::unique_ptr<AVFrame, FilmFreed<av_frame_free>>;
using FilmResampler = std::unique_ptr<SwrContext, FilmFreed<swr_free>>;
using FilmIo = std::unique_ptr<AVIOContext, FilmFreedIo>;
using FilmScaler = std::unique_ptr<SwsContext, FilmFreedScaler>;

}  // namespace korvane
