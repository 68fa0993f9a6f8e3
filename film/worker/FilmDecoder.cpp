#include "korvane/film/worker/FilmDecoder.h"

#include <algorithm>
#include <deque>
#include <utility>

#include "korvane/film/worker/EndSearch.h"
#include "korvane/film/worker/FilmContainer.h"
#include "korvane/film/worker/Sandbox.h"
#include "korvane/film/worker/SoundDecoder.h"

namespace korvane {

namespace {

constexpr std::int64_t maxPixels = 40'000'000;
constexpr AVRational milliseconds{1, 1000};
// Sound lies beside its picture, but not quite: so much of the film is read ahead to come upon it in time.
constexpr TimeMs soundAhead = 700;
constexpr std::size_t mostWaiting = 600;
constexpr TimeMs unknownLength = 40;  // of a picture
constexpr TimeMs nearestBack = 2'000;
constexpr TimeMs farthestBack = 128'000;
constexpr TimeMs quicklyDecoded = 5'000;  // of a film: decoding it takes about as long as a search for its end
// A film may say anything: sums of times that are no further than 30,000 years do not overflow.
constexpr TimeMs latestTime = 1'000'000'000'000'000;

int threadsFor(int width, int height) {
    constexpr std::int64_t hd = 1280 * 720;
    constexpr std::int64_t fullHd = 1920 * 1088;
    const std::int64_t points = std::int64_t{width} * height;
    constexpr std::int64_t fourK = 4096 * 2304;
    // Each thread holds pictures of its own, of which few have room above that.
    if (points > fourK) return 1;
    return points > fullHd ? 4 : points > hd ? 2 : 1;
}

}  // namespace

struct FilmDecoder::State {
    struct Shot {
        AvFrame frame;
        bool isThere = false;
        TimeMs begin = 0;
        TimeMs end = 0;
    };

    State(const AvSource& bytes, FrameConverter& into, SoundDecoder::Sink sink)
        : source(bytes), converter(into), sound(std::move(sink)) {}

    bool open();
    bool openPicture();
    void openSound();
    bool seek(TimeMs position);
    bool goTo(TimeMs position);
    Step approach(TimeMs moment);
    Step searchEnd();
    Step goBack();
    Step step();
    Step demux();
    bool isAhead() const;
    void keepIncoming();
    void forgetPictures();
    TimeMs timeOf(std::int64_t pts) const;
    std::int64_t streamTimeOf(TimeMs position) const;

    const AvSource& source;
    FrameConverter& converter;
    const SoundDecoder::Sink sound;
    AvInput format;
    AvCodec decoder;
    std::unique_ptr<SoundDecoder> soundDecoder;
    int pictureStream = -1;
    int soundStream = -1;
    TimeMs beginMs = 0;  // of the film, on its own clock
    int degrees = 0;
    AvPacket packet{av_packet_alloc()};
    AvFrame incoming{av_frame_alloc()};
    Shot shown{AvFrame(av_frame_alloc())};
    Shot before{AvFrame(av_frame_alloc())};
    std::deque<AvPacket> waiting;
    std::optional<TimeMs> sought;  // absent where the film cannot be searched
    std::optional<EndSearch> search;
    bool isEndSearched = false;
    TimeMs foundEnd = 0;
    TimeMs back = 0;  // how far the last step back has been
    bool isFromBegin = false;
    std::optional<TimeMs> landed;  // the first time read since
    TimeMs scanEnd = 0;            // from there on no key frame is of use
    bool isAtEnd = false;          // of the container
    bool isDrained = false;        // the decoder knows of it
    bool hasFailed = false;
};

bool FilmDecoder::State::openPicture() {
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
    degrees = rotationOf(picture);
    const std::int64_t start = picture.start_time;
    if (start != AV_NOPTS_VALUE)
        beginMs = std::clamp(av_rescale_q(start, picture.time_base, milliseconds), -latestTime, latestTime);
    return true;
}

void FilmDecoder::State::openSound() {
    if (!sound || pictureStream < 0) return;
    soundStream = av_find_best_stream(format.get(), AVMEDIA_TYPE_AUDIO, -1, pictureStream, nullptr, 0);
    if (soundStream >= 0) soundDecoder = SoundDecoder::open(*format->streams[soundStream], beginMs, sound);
    if (!soundDecoder) soundStream = -1;
}

bool FilmDecoder::State::open() {
    if (!packet || !incoming || !shown.frame || !before.frame) return false;
    if (mindMemory(openContainer(source, FilmKinds::AnyFilm, true, format)) < 0 || !openPicture()) return false;
    openSound();
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        const bool isRead = static_cast<int>(i) == pictureStream || static_cast<int>(i) == soundStream;
        if (!isRead) format->streams[i]->discard = AVDISCARD_ALL;
    }
    isDrained = isAtEnd = pictureStream < 0;
    return true;
}

TimeMs FilmDecoder::State::timeOf(std::int64_t pts) const {
    if (pts == AV_NOPTS_VALUE) return 0;
    const std::int64_t time = av_rescale_q(pts, format->streams[pictureStream]->time_base, milliseconds);
    return std::clamp(time, -latestTime, latestTime) - beginMs;
}

std::int64_t FilmDecoder::State::streamTimeOf(TimeMs position) const {
    const AVRational base = format->streams[pictureStream]->time_base;
    return av_rescale_q(position + beginMs, milliseconds, base);
}

bool FilmDecoder::State::isAhead() const {
    if (!soundDecoder || isAtEnd || waiting.size() >= mostWaiting) return true;
    if (waiting.size() < 2) return false;
    return timeOf(waiting.back()->dts) - timeOf(waiting.front()->dts) >= soundAhead;
}

/// One packet from the container to where it belongs.
FilmDecoder::Step FilmDecoder::State::demux() {
    const int read = mindMemory(av_read_frame(format.get(), packet.get()));
    if (read < 0) {
        hasFailed = source.bytes().hasFailed();
        if (hasFailed) return Step::Failed;
        isAtEnd = true;
        return Step::Nothing;
    }
    if (packet->stream_index == pictureStream) {
        AvPacket kept(av_packet_clone(packet.get()));
        if (kept) waiting.push_back(std::move(kept));
    } else if (packet->stream_index == soundStream && soundDecoder) {
        soundDecoder->decode(*packet);
    }
    av_packet_unref(packet.get());
    return Step::Nothing;
}

void FilmDecoder::State::keepIncoming() {
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

void FilmDecoder::State::forgetPictures() {
    shown.isThere = before.isThere = false;
    av_frame_unref(shown.frame.get());
    av_frame_unref(before.frame.get());
}

FilmDecoder::Step FilmDecoder::State::step() {
    if (hasFailed) return Step::Failed;
    if (!decoder) return Step::End;
    const int received = mindMemory(avcodec_receive_frame(decoder.get(), incoming.get()));
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
        mindMemory(avcodec_send_packet(decoder.get(), waiting.front().get()));
        waiting.pop_front();
        return Step::Nothing;
    }
    if (std::exchange(isDrained, true)) return Step::End;
    avcodec_send_packet(decoder.get(), nullptr);
    return Step::Nothing;
}

bool FilmDecoder::State::seek(TimeMs position) {
    search.reset();
    sought.reset();
    isEndSearched = isFromBegin = false;
    back = 0;
    position = std::clamp<TimeMs>(position, 0, latestTime);
    if (!decoder || hasFailed || !goTo(position)) return false;
    sought = scanEnd = position;
    return true;
}

bool FilmDecoder::State::goTo(TimeMs position) {
    if (!seekContainer(source, *format, pictureStream, streamTimeOf(position))) return false;
    avcodec_flush_buffers(decoder.get());
    if (soundDecoder) soundDecoder->flush();
    waiting.clear();
    forgetPictures();
    landed.reset();
    isAtEnd = isDrained = false;
    return true;
}

FilmDecoder::Step FilmDecoder::State::approach(TimeMs moment) {
    if (hasFailed) return Step::Failed;
    if (!sought) return Step::Picture;
    if (search) return searchEnd();
    if (waiting.empty() && !isAtEnd) return demux();
    if (isAtEnd) return goBack();
    const std::int64_t told = korvane::timeOf(*waiting.front());
    if (told == AV_NOPTS_VALUE) return Step::Picture;
    const TimeMs begin = timeOf(told);
    if (!std::exchange(isEndSearched, true) && begin < std::min(moment, *sought - quicklyDecoded)) {
        const EndSearch::Place from{pictureStream, streamTimeOf(*sought)};
        search.emplace(source, *format, from, streamTimeOf(moment), *waiting.front());
        return Step::Nothing;
    }
    if ((waiting.front()->flags & AV_PKT_FLAG_KEY) != 0) return Step::Picture;
    if (!landed) landed = begin;
    if (begin >= scanEnd) return goBack();
    waiting.pop_front();
    return Step::Nothing;
}

/// Where a container does not know its key frames, ever longer stretches before the position are looked through.
FilmDecoder::Step FilmDecoder::State::goBack() {
    scanEnd = std::min(scanEnd, landed.value_or(scanEnd));
    if (!isFromBegin && back < farthestBack) {
        back = std::max(nearestBack, 2 * back);
        isFromBegin = scanEnd - back < nearestBack;
        // Where pictures are shown in another order than they are stored in, the first ones lie before the beginning.
        if (goTo(isFromBegin ? -nearestBack : scanEnd - back)) return Step::Nothing;
    }
    if (back > 0) goTo(*sought);
    return Step::Picture;
}

FilmDecoder::Step FilmDecoder::State::searchEnd() {
    const Step made = search->step();
    hasFailed = source.bytes().hasFailed();
    if (hasFailed) return Step::Failed;
    if (made == Step::End) foundEnd = timeOf(search->end());
    if (made != Step::Picture) return made;
    search.reset();
    return goTo(*sought) ? Step::Nothing : Step::Picture;
}

FilmDecoder::FilmDecoder(const AvSource& source, FrameConverter& converter, SoundDecoder::Sink sound)
    : state_(std::make_unique<State>(source, converter, std::move(sound))) {}

FilmDecoder::~FilmDecoder() = default;

bool FilmDecoder::open() {
    return state_->open();
}

bool FilmDecoder::seek(TimeMs position) {
    return state_->seek(position);
}

FilmDecoder::Step FilmDecoder::approach(TimeMs moment) {
    return state_->approach(moment);
}

TimeMs FilmDecoder::foundEnd() const {
    return state_->foundEnd;
}

FilmDecoder::Step FilmDecoder::step() {
    return state_->step();
}

bool FilmDecoder::hasPicture() const {
    return state_->shown.isThere;
}

TimeMs FilmDecoder::pictureBegin() const {
    return state_->shown.begin;
}

TimeMs FilmDecoder::pictureEnd() const {
    return state_->shown.end;
}

FilmWords FilmDecoder::paint() {
    const AVFrame& frame = *state_->shown.frame;
    if (!state_->shown.isThere) return FilmWords(FilmMessage::Failed).number(0).text("holds no picture");
    return state_->converter.convert(frame, {frame.width, frame.height}, state_->degrees);
}

bool FilmDecoder::stepBack() {
    if (state_->before.isThere) std::swap(state_->shown, state_->before);
    return state_->before.isThere;
}

}  // namespace korvane
