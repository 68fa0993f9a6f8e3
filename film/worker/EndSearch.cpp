#include "korvane/film/worker/EndSearch.h"

#include <algorithm>

#include "korvane/base/SaturatingTime.h"
#include "korvane/film/worker/FilmContainer.h"
#include "korvane/film/worker/Sandbox.h"

namespace korvane {

namespace {
constexpr int packetsAStep = 16;
constexpr TimeMs disorder = 1'000;  // what is stored last need not be shown last
}  // namespace

EndSearch::EndSearch(const AvSource& source, AVFormatContext& film, Place from, std::int64_t moment,
                     const AVPacket& first)
    : source_(source),
      film_(film),
      from_{from.stream, std::min(from.time, moment)},
      moment_(moment),
      first_(timeOf(first)),
      packet_(av_packet_alloc()) {
    isFromFirst_ = !goToIndexed();
    if (isFromFirst_) look(first);
}

/// Where the container knows of each picture, the way from the first packet on is spared.
bool EndSearch::goToIndexed() {
    AVStream* const stream = film_.streams[from_.stream];
    const AVIndexEntry* const entry =
        avformat_index_get_entry_from_timestamp(stream, from_.time, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
    if (!entry || (entry->flags & AVINDEX_KEYFRAME) != 0) return false;
    const std::int64_t before = av_rescale_q(disorder, {1, 1000}, stream->time_base);
    const std::int64_t time = saturatingSubtract(entry->timestamp, before);
    return seekContainer(source_, film_, from_.stream, time, AVSEEK_FLAG_ANY);
}

FilmStep EndSearch::step() {
    for (int i = 0; packet_ && i < packetsAStep; ++i) {
        if (mindMemory(av_read_frame(&film_, packet_.get())) < 0) return onEnd();
        const FilmStep found = look(*packet_);
        av_packet_unref(packet_.get());
        if (found != FilmStep::Nothing) return found;
    }
    return packet_ ? FilmStep::Nothing : FilmStep::Picture;
}

FilmStep EndSearch::look(const AVPacket& packet) {
    constexpr int unseen = AV_PKT_FLAG_DISCARD | AV_PKT_FLAG_CORRUPT;
    if (packet.stream_index != from_.stream || (packet.flags & unseen) != 0) return FilmStep::Nothing;
    // One without a time follows the one before it.
    const std::int64_t told = timeOf(packet);
    if (told == AV_NOPTS_VALUE && !end_) return FilmStep::Picture;
    const std::int64_t begin = told == AV_NOPTS_VALUE ? *end_ : told;
    const std::int64_t end = saturatingAdd(begin, std::max<std::int64_t>(0, packet.duration));
    if (end >= moment_) return FilmStep::Picture;
    end_ = std::max(end, end_.value_or(end));
    return FilmStep::Nothing;
}

FilmStep EndSearch::onEnd() {
    if (end_) return FilmStep::End;
    // A film that was cut off has nothing where its container says that the last pictures are.
    if (isFromFirst_ || !seekContainer(source_, film_, from_.stream, first_)) return FilmStep::Picture;
    isFromFirst_ = true;
    return FilmStep::Nothing;
}

}  // namespace korvane
