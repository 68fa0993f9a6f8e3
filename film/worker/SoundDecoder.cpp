#include "korvane/film/worker/SoundDecoder.h"

#include <algorithm>
#include <utility>

#include "korvane/film/FilmMessages.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace korvane {

namespace {
constexpr int mostRate = 768'000;  // the tables for converting grow with the rate
constexpr int mostSamples = filmSoundRate * 10;
constexpr AVRational milliseconds{1, 1000};
constexpr TimeMs latestTime = 1'000'000'000'000'000;  // sums of such do not overflow
}  // namespace

std::unique_ptr<SoundDecoder> SoundDecoder::open(const AVStream& stream, TimeMs beginMs, Sink sink) {
    const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    if (!codec) return nullptr;
    AvCodec decoder(avcodec_alloc_context3(codec));
    if (!decoder || avcodec_parameters_to_context(decoder.get(), stream.codecpar) < 0) return nullptr;
    decoder->thread_count = 1;
    decoder->pkt_timebase = stream.time_base;
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0) return nullptr;
    return std::unique_ptr<SoundDecoder>(
        new SoundDecoder(std::move(decoder), stream.time_base, beginMs, std::move(sink)));
}

SoundDecoder::SoundDecoder(AvCodec decoder, AVRational timeBase, TimeMs beginMs, Sink sink)
    : decoder_(std::move(decoder)),
      frame_(av_frame_alloc()),
      timeBase_(timeBase),
      beginMs_(beginMs),
      sink_(std::move(sink)) {}

void SoundDecoder::decode(const AVPacket& packet) {
    if (!frame_ || avcodec_send_packet(decoder_.get(), &packet) < 0) return;
    while (avcodec_receive_frame(decoder_.get(), frame_.get()) >= 0) take(*frame_);
}

void SoundDecoder::take(const AVFrame& frame) {
    if (frame.best_effort_timestamp == AV_NOPTS_VALUE || frame.sample_rate <= 0 || frame.sample_rate > mostRate) return;
    const Form form{frame.format, frame.sample_rate, frame.ch_layout.nb_channels};
    if (form != form_) resampler_.reset();
    if (!resampler_) {
        form_ = form;
        AVChannelLayout stereo;
        av_channel_layout_default(&stereo, filmSoundChannels);
        AVChannelLayout given = frame.ch_layout;  // the library only reads it
        SwrContext* made = nullptr;
        const int set = swr_alloc_set_opts2(&made, &stereo, AV_SAMPLE_FMT_S16, filmSoundRate, &given,
                                            static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr);
        resampler_.reset(made);
        if (set < 0 || !made || swr_init(made) < 0) return resampler_.reset();
    }
    const int room = swr_get_out_samples(resampler_.get(), frame.nb_samples);
    if (room <= 0 || room > mostSamples) return;
    std::vector<std::int16_t> samples(static_cast<std::size_t>(room) * std::size_t{filmSoundChannels});
    auto* into = reinterpret_cast<std::uint8_t*>(samples.data());
    auto** const from = const_cast<const std::uint8_t**>(frame.extended_data);
    const int count = swr_convert(resampler_.get(), &into, room, from, frame.nb_samples);
    if (count <= 0) return;
    samples.resize(static_cast<std::size_t>(count) * std::size_t{filmSoundChannels});
    const std::int64_t time = av_rescale_q(frame.best_effort_timestamp, timeBase_, milliseconds);
    sink_(std::clamp(time, -latestTime, latestTime) - beginMs_, samples);
}

void SoundDecoder::flush() {
    avcodec_flush_buffers(decoder_.get());
    resampler_.reset();
}

}  // namespace korvane
