#include "korvane/apps/browser/FilmReader.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <mutex>
#include <utility>

#include "korvane/apps/browser/FilmTypes.h"
#include "korvane/apps/browser/FrameConverter.h"
#include "korvane/apps/browser/SoundDecoder.h"

extern "C" {
#include <libavutil/display.h>
}

namespace korvane {

namespace {

constexpr int ioBytes = 32 * 1024;
constexpr std::int64_t maxPixels = 40'000'000;
constexpr const char* probeBytes = "2000000";
constexpr const char* probeMicroseconds = "500000";
constexpr const char* mostStreams = "32";
// Kinds that hold a film themselves. Playlists and the like only name others.
constexpr const char* kinds =
    "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,mpegts,mpeg,avi,flv,asf,ogg,h264,hevc,m4v,mpegvideo,mjpeg,mxf,gxf,nut,dv,"
    "ivf,av1,obu,rm,wtv,dhav,nsv";
constexpr AVRational milliseconds{1, 1000};
// Sound lies beside its picture, but not quite: so much of the film is read ahead to come upon it in time.
constexpr TimeMs soundAhead = 700;
constexpr std::size_t mostWaiting = 600;
constexpr TimeMs unknownLength = 40;  // of a picture
// A film may say anything: sums of times that are no further than 30,000 years do not overflow.
constexpr TimeMs latestTime = 1'000'000'000'000'000;

int readBytes(void* stream, std::uint8_t* into, int count) {
    auto& source = *static_cast<MediaStream*>(stream);
    const std::size_t got = source.read({into, static_cast<std::size_t>(std::max(0, count))});
    if (got > 0) return static_cast<int>(got);
    return source.fault() == MediaFault::None ? AVERROR_EOF : AVERROR_EXIT;
}

std::int64_t seekBytes(void* stream, std::int64_t offset, int whence) {
    auto& source = *static_cast<MediaStream*>(stream);
    const auto sizeOr = [&](std::int64_t fallback) { return source.size().value_or(fallback); };
    if ((whence & AVSEEK_SIZE) != 0) return sizeOr(AVERROR(ENOSYS));
    std::int64_t base = 0;
    if ((whence & ~AVSEEK_FORCE) == SEEK_CUR) base = source.position();
    if ((whence & ~AVSEEK_FORCE) == SEEK_END) base = sizeOr(-1);
    if (base < 0 || offset < -base || offset > INT64_MAX - base) return AVERROR(EINVAL);
    source.seek(base + offset);
    return source.position();
}

int isOver(void* stream) {
    return static_cast<const MediaStream*>(stream)->fault() == MediaFault::None ? 0 : 1;
}

int openNothing(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EPERM);
}

double rotationOf(const AVStream& stream) {
    const auto* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
    if (!matrix) return 0;
    const double degrees = -av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
    // Cameras stand in quarter turns; any other one makes a picture far larger than its points.
    return std::isfinite(degrees) ? std::fmod(std::round(degrees / 90) * 90, 360) : 0;
}

int threadsFor(int width, int height) {
    constexpr std::int64_t hd = 1280 * 720;
    constexpr std::int64_t fullHd = 1920 * 1088;
    const std::int64_t points = std::int64_t{width} * height;
    return points > fullHd ? 4 : points > hd ? 2 : 1;
}

}  // namespace

struct FilmReader::State {
    struct Shot {
        FilmFrame frame;
        bool isThere = false;
        TimeMs begin = 0;
        TimeMs end = 0;
    };

    State(MediaStream& source, SoundQueue* queue) : stream(source), sound(queue) {}

    MediaFault open();
    bool openContainer();
    bool openPicture();
    void openSound();
    Step step();
    Step demux();
    bool isAhead() const;
    void keepIncoming();
    void forgetPictures();
    TimeMs timeOf(std::int64_t pts) const;

    MediaStream& stream;
    SoundQueue* const sound;
    FilmIo io;
    FilmFormat format;
    FilmDecoder decoder;
    std::unique_ptr<SoundDecoder> soundDecoder;
    int pictureStream = -1;
    int soundStream = -1;
    TimeMs beginMs = 0;  // of the film, on its own clock
    FrameConverter converter;
    FilmPacket packet{av_packet_alloc()};
    FilmFrame incoming{av_frame_alloc()};
    Shot shown{FilmFrame(av_frame_alloc())};
    Shot before{FilmFrame(av_frame_alloc())};
    std::deque<FilmPacket> waiting;
    bool isAtEnd = false;    // of the container
    bool isDrained = false;  // the decoder knows of it
    MediaFault fault = MediaFault::None;
};

bool FilmReader::State::openContainer() {
    auto* buffer = static_cast<std::uint8_t*>(av_malloc(ioBytes));
    io.reset(buffer ? avio_alloc_context(buffer, ioBytes, 0, &stream, readBytes, nullptr, seekBytes) : nullptr);
    AVFormatContext* raw = io ? avformat_alloc_context() : nullptr;
    if (!raw) return false;
    raw->pb = io.get();
    raw->flags |= AVFMT_FLAG_CUSTOM_IO;
    raw->interrupt_callback = {isOver, &stream};
    raw->io_open = openNothing;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "none", 0);
    av_dict_set(&options, "format_whitelist", kinds, 0);
    av_dict_set(&options, "probesize", probeBytes, 0);
    av_dict_set(&options, "analyzeduration", probeMicroseconds, 0);
    av_dict_set(&options, "max_streams", mostStreams, 0);
    const int opened = avformat_open_input(&raw, "", nullptr, &options);  // frees raw when it fails
    av_dict_free(&options);
    if (opened < 0) return false;
    format.reset(raw);
    return avformat_find_stream_info(raw, nullptr) >= 0;
}

bool FilmReader::State::openPicture() {
    const AVCodec* codec = nullptr;
    pictureStream = av_find_best_stream(format.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (pictureStream < 0) return pictureStream != AVERROR_DECODER_NOT_FOUND;
    AVStream& picture = *format->streams[pictureStream];
    decoder.reset(avcodec_alloc_context3(codec));
    if (!decoder || avcodec_parameters_to_context(decoder.get(), picture.codecpar) < 0) return false;
    decoder->thread_count = threadsFor(picture.codecpar->width, picture.codecpar->height);
    decoder->max_pixels = maxPixels;
    decoder->pkt_timebase = picture.time_base;
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0) return false;
    converter.setRotation(rotationOf(picture));
    const std::int64_t start = picture.start_time;
    if (start != AV_NOPTS_VALUE)
        beginMs = std::clamp(av_rescale_q(start, picture.time_base, milliseconds), -latestTime, latestTime);
    return true;
}

void FilmReader::State::openSound() {
    if (!sound || pictureStream < 0) return;
    soundStream = av_find_best_stream(format.get(), AVMEDIA_TYPE_AUDIO, -1, pictureStream, nullptr, 0);
    if (soundStream >= 0) soundDecoder = SoundDecoder::open(*format->streams[soundStream], beginMs, *sound);
    if (!soundDecoder) soundStream = -1;
}

MediaFault FilmReader::State::open() {
    // The library's own lines quote addresses, which may hold tokens.
    static std::once_flag silenced;
    std::call_once(silenced, [] { av_log_set_level(AV_LOG_QUIET); });
    if (!packet || !incoming || !shown.frame || !before.frame) return fault = MediaFault::NoRoom;
    const bool isOpen = openContainer() && openPicture();
    if (!isOpen) return fault = stream.fault() != MediaFault::None ? stream.fault() : MediaFault::NotAFilm;
    openSound();
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        const bool isRead = static_cast<int>(i) == pictureStream || static_cast<int>(i) == soundStream;
        if (!isRead) format->streams[i]->discard = AVDISCARD_ALL;
    }
    isDrained = isAtEnd = pictureStream < 0;
    return MediaFault::None;
}

TimeMs FilmReader::State::timeOf(std::int64_t pts) const {
    if (pts == AV_NOPTS_VALUE) return 0;
    const std::int64_t time = av_rescale_q(pts, format->streams[pictureStream]->time_base, milliseconds);
    return std::clamp(time, -latestTime, latestTime) - beginMs;
}

bool FilmReader::State::isAhead() const {
    if (!soundDecoder || isAtEnd || waiting.size() >= mostWaiting) return true;
    if (waiting.size() < 2) return false;
    return timeOf(waiting.back()->dts) - timeOf(waiting.front()->dts) >= soundAhead;
}

/// One packet from the container to where it belongs.
FilmReader::Step FilmReader::State::demux() {
    const int read = av_read_frame(format.get(), packet.get());
    if (read < 0) {
        if (stream.fault() != MediaFault::None) {
            fault = stream.fault();
            return Step::Failed;
        }
        isAtEnd = true;
        return Step::Nothing;
    }
    if (packet->stream_index == pictureStream) {
        FilmPacket kept(av_packet_clone(packet.get()));
        if (kept) waiting.push_back(std::move(kept));
    } else if (packet->stream_index == soundStream && soundDecoder) {
        soundDecoder->decode(*packet);
    }
    av_packet_unref(packet.get());
    return Step::Nothing;
}

void FilmReader::State::keepIncoming() {
    const TimeMs endBefore = shown.end;
    std::swap(shown, before);
    std::swap(shown.frame, incoming);
    shown.isThere = true;
    const std::int64_t pts = shown.frame->best_effort_timestamp;
    shown.begin = pts == AV_NOPTS_VALUE ? endBefore : timeOf(pts);
    const AVRational base = format->streams[pictureStream]->time_base;
    const std::int64_t length = std::clamp<std::int64_t>(
        av_rescale_q(std::max<std::int64_t>(0, shown.frame->pkt_duration), base, milliseconds), 0, latestTime);
    shown.end = shown.begin + (length > 0 ? length : unknownLength);
}

void FilmReader::State::forgetPictures() {
    shown.isThere = before.isThere = false;
    av_frame_unref(shown.frame.get());
    av_frame_unref(before.frame.get());
}

FilmReader::Step FilmReader::State::step() {
    if (fault != MediaFault::None) return Step::Failed;
    if (!decoder) return Step::End;
    const int received = avcodec_receive_frame(decoder.get(), incoming.get());
    if (received >= 0) {
        keepIncoming();
        return Step::Picture;
    }
    if (received == AVERROR_EOF) return Step::End;
    if (waiting.empty() || !isAhead()) {
        if (!isAtEnd) return demux();
    }
    if (!waiting.empty()) {
        // What cannot be decoded is passed over; a later key frame may do.
        avcodec_send_packet(decoder.get(), waiting.front().get());
        waiting.pop_front();
        return Step::Nothing;
    }
    if (std::exchange(isDrained, true)) return Step::End;
    avcodec_send_packet(decoder.get(), nullptr);
    return Step::Nothing;
}

FilmReader::FilmReader(MediaStream& stream, SoundQueue* sound) : state_(std::make_unique<State>(stream, sound)) {}

FilmReader::~FilmReader() = default;

MediaFault FilmReader::open() {
    return state_->open();
}

bool FilmReader::seek(TimeMs position) {
    if (!state_->decoder || state_->fault != MediaFault::None) return false;
    const AVRational base = state_->format->streams[state_->pictureStream]->time_base;
    const std::int64_t to = av_rescale_q(std::max<TimeMs>(0, position) + state_->beginMs, milliseconds, base);
    // An error of an earlier read would be told once more.
    state_->io->error = 0;
    state_->io->eof_reached = 0;
    if (av_seek_frame(state_->format.get(), state_->pictureStream, to, AVSEEK_FLAG_BACKWARD) < 0) return false;
    avcodec_flush_buffers(state_->decoder.get());
    if (state_->soundDecoder) state_->soundDecoder->flush();
    state_->waiting.clear();
    state_->forgetPictures();
    state_->isAtEnd = state_->isDrained = false;
    return true;
}

FilmReader::Step FilmReader::step() {
    return state_->step();
}

MediaFault FilmReader::fault() const {
    return state_->fault;
}

bool FilmReader::hasPicture() const {
    return state_->shown.isThere;
}

TimeMs FilmReader::pictureBegin() const {
    return state_->shown.begin;
}

TimeMs FilmReader::pictureEnd() const {
    return state_->shown.end;
}

QImage FilmReader::picture() {
    return state_->shown.isThere ? state_->converter.convert(*state_->shown.frame) : QImage();
}

bool FilmReader::stepBack() {
    if (state_->before.isThere) std::swap(state_->shown, state_->before);
    return state_->before.isThere;
}

}  // namespace korvane
