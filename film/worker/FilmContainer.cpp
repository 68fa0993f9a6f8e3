#include "korvane/film/worker/FilmContainer.h"

#include <cmath>
#include <string>

extern "C" {
#include <libavutil/display.h>
}

namespace korvane {
namespace {

constexpr const char* quickBytes = "2000000";
constexpr const char* quickMicroseconds = "500000";
constexpr const char* mostStreams = "32";
constexpr const char* containers = "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,mpegts,avi,flv,mpeg,asf";
constexpr const char* otherFilms = ",ogg,h264,hevc,m4v,mpegvideo,mjpeg,mxf,gxf,nut,dv,ivf,av1,obu,rm,wtv,dhav,nsv";
constexpr const char* pictures = ",jpeg_pipe,png_pipe,webp_pipe";

std::string namesOf(FilmKinds kinds) {
    std::string names = containers;
    if (kinds != FilmKinds::Containers) names += otherFilms;
    if (kinds == FilmKinds::FilmOrPicture) names += pictures;
    return names;
}

int hasFailed(void* source) {
    return static_cast<const ByteSource*>(source)->hasFailed() ? 1 : 0;
}

int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EPERM);
}

}  // namespace

int openContainer(const AvSource& source, FilmKinds kinds, bool isQuick, AvInput& film) {
    AVFormatContext* raw = source.context() ? avformat_alloc_context() : nullptr;
    if (!raw) return AVERROR(ENOMEM);
    raw->pb = source.context();
    raw->flags |= AVFMT_FLAG_CUSTOM_IO;
    raw->interrupt_callback = {hasFailed, &source.bytes()};
    raw->io_open = refuseToOpen;
    AVDictionary* settings = nullptr;
    av_dict_set(&settings, "format_whitelist", namesOf(kinds).c_str(), 0);
    av_dict_set(&settings, "protocol_whitelist", "none", 0);
    av_dict_set(&settings, "max_streams", mostStreams, 0);
    if (isQuick) {
        av_dict_set(&settings, "probesize", quickBytes, 0);
        av_dict_set(&settings, "analyzeduration", quickMicroseconds, 0);
    }
    const int opened = avformat_open_input(&raw, nullptr, nullptr, &settings);  // frees raw when it fails
    av_dict_free(&settings);
    if (opened < 0) return opened;
    film.reset(raw);
    return avformat_find_stream_info(raw, nullptr);
}

bool seekContainer(const AvSource& source, AVFormatContext& film, int stream, std::int64_t time, int flags) {
    // An error of an earlier read would be told once more.
    source.context()->error = 0;
    source.context()->eof_reached = 0;
    return av_seek_frame(&film, stream, time, AVSEEK_FLAG_BACKWARD | flags) >= 0;
}

std::int64_t timeOf(const AVPacket& packet) {
    return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
}

int rotationOf(const AVStream& stream) {
    const auto* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
    if (!matrix) return 0;
    const double degrees = -av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
    // Cameras stand in quarter turns; any other one makes a picture far larger than its points.
    if (!std::isfinite(degrees)) return 0;
    const int turns = static_cast<int>(std::lround(std::fmod(degrees, 360) / 90));
    return (turns + 4) % 4 * 90;
}

}  // namespace korvane
