#include "korvane/film/worker/MediaFile.h"

#include <limits>

#include "korvane/base/UtcTime.h"
#include "korvane/film/worker/FileBytes.h"
#include "korvane/film/worker/FilmContainer.h"
#include "korvane/film/worker/Sandbox.h"

namespace korvane {
namespace {

constexpr std::int64_t mostPixels = 8192LL * 8192LL;
constexpr AVRational milliseconds = {1, 1000};

}  // namespace

Result<std::unique_ptr<MediaFile>> MediaFile::open(int descriptor) {
    AvSource source(std::make_unique<FileBytes>(descriptor));
    AvInput input;
    const int code = mindMemory(openContainer(source, FilmKinds::Containers, false, input));
    if (!input)
        return Error{code == AVERROR_INVALIDDATA ? "not a video file, or damaged"
                                                 : "cannot be opened: " + avErrorText(code)};
    if (code < 0) return Error{"holds nothing that can be decoded"};
    const int stream = av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (stream < 0) return Error{"holds no video"};
    for (unsigned i = 0; i < input->nb_streams; ++i)
        if (static_cast<int>(i) != stream) input->streams[i]->discard = AVDISCARD_ALL;
    if ((input->streams[stream]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) return Error{"holds no video"};
    const AVRational base = input->streams[stream]->time_base;
    if (base.num <= 0 || base.den <= 0) return Error{"has no clock"};
    return std::unique_ptr<MediaFile>(new MediaFile(std::move(source), std::move(input), stream));
}

bool MediaFile::readPacket(AVPacket& packet) {
    while (true) {
        av_packet_unref(&packet);
        if (mindMemory(av_read_frame(input_.get(), &packet)) < 0) return false;
        if (packet.stream_index != stream_) continue;
        if (packet.pts == AV_NOPTS_VALUE) packet.pts = packet.dts;
        if (packet.pts != AV_NOPTS_VALUE) return true;
    }
}

void MediaFile::seek(std::int64_t time) {
    av_seek_frame(input_.get(), stream_, time, AVSEEK_FLAG_BACKWARD);
}

Result<AvCodec> MediaFile::makeDecoder() const {
    const AVCodec* codec = avcodec_find_decoder(stream().codecpar->codec_id);
    if (codec == nullptr) return Error{"its video has a coding that is not known"};
    AvCodec decoder(avcodec_alloc_context3(codec));
    if (!decoder || avcodec_parameters_to_context(decoder.get(), stream().codecpar) < 0) return Error{"out of memory"};
    decoder->thread_count = 1;
    decoder->max_pixels = mostPixels;
    decoder->pkt_timebase = stream().time_base;
    const int code = avcodec_open2(decoder.get(), codec, nullptr);
    if (code < 0) return Error{"its video cannot be decoded: " + avErrorText(code)};
    return decoder;
}

void MediaFile::decode(AVCodecContext& decoder, std::int64_t endTime,
                       const std::function<bool(const AVFrame&)>& onFrame) {
    const AvPacket packet(av_packet_alloc());
    const AvFrame frame(av_frame_alloc());
    if (!packet || !frame) return;
    const auto drain = [&] {
        while (mindMemory(avcodec_receive_frame(&decoder, frame.get())) >= 0)
            if (frame->best_effort_timestamp != AV_NOPTS_VALUE && !onFrame(*frame)) return false;
        return true;
    };
    while (readPacket(*packet)) {
        if (packet->dts != AV_NOPTS_VALUE && packet->dts >= endTime) break;
        // A damaged packet costs its picture, not the file.
        if (mindMemory(avcodec_send_packet(&decoder, packet.get())) >= 0 && !drain()) return;
    }
    avcodec_send_packet(&decoder, nullptr);
    drain();
}

void MediaFile::decodeKeyFrame(AVCodecContext& decoder, std::int64_t time,
                               const std::function<void(const AVFrame&)>& onFrame) {
    const AvPacket packet(av_packet_alloc());
    const AvFrame frame(av_frame_alloc());
    avcodec_flush_buffers(&decoder);
    seek(time);
    while (packet && frame && readPacket(*packet)) {
        if (packet->dts != AV_NOPTS_VALUE && packet->dts < time) continue;
        mindMemory(avcodec_send_packet(&decoder, packet.get()));
        avcodec_send_packet(&decoder, nullptr);
        if (mindMemory(avcodec_receive_frame(&decoder, frame.get())) >= 0) onFrame(*frame);
        break;
    }
    avcodec_flush_buffers(&decoder);
}

TimeMs MediaFile::toMs(std::int64_t streamTime) const {
    return av_rescale_q(streamTime, stream().time_base, milliseconds);
}

std::int64_t MediaFile::fromMs(TimeMs ms) const {
    return av_rescale_q(ms, milliseconds, stream().time_base);
}

std::optional<TimeMs> MediaFile::creationTime() const {
    for (const AVDictionary* metadata : {input_->metadata, stream().metadata}) {
        const AVDictionaryEntry* entry = av_dict_get(metadata, "creation_time", nullptr, 0);
        if (entry == nullptr) continue;
        // Cameras without a set clock write the zero of some calendar.
        if (const auto time = parseUtc(entry->value); time && *time > 0) return time;
    }
    return std::nullopt;
}

double MediaFile::frameRate() const {
    const AVRational rate = stream().avg_frame_rate;
    return rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 0;
}

int MediaFile::width() const {
    return stream().codecpar->width;
}
int MediaFile::height() const {
    return stream().codecpar->height;
}

}  // namespace korvane
