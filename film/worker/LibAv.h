#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>

namespace korvane {

template <auto Free>
struct AvDeleter {
    template <typename T>
    void operator()(T* object) const {
        Free(&object);
    }
};

using AvFrame = std::unique_ptr<AVFrame, AvDeleter<av_frame_free>>;
using AvPacket = std::unique_ptr<AVPacket, AvDeleter<av_packet_free>>;
using AvCodec = std::unique_ptr<AVCodecContext, AvDeleter<avcodec_free_context>>;
using AvResampler = std::unique_ptr<SwrContext, AvDeleter<swr_free>>;
using AvInput = std::unique_ptr<AVFormatContext, AvDeleter<avformat_close_input>>;

struct AvScalerDeleter {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};
using AvScaler = std::unique_ptr<SwsContext, AvScalerDeleter>;

/// Keeps libav's own lines from standard error, for the whole process: what matters comes as a result, and a line may
/// contain the name of the file.
void silenceLibAv();

/// What a libav code means, in words.
std::string avErrorText(int code);

}  // namespace korvane
