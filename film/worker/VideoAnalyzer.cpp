#include "korvane/film/worker/VideoAnalyzer.h"

#include <algorithm>
#include <limits>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>

#include "korvane/film/worker/BrightnessGrid.h"
#include "korvane/film/worker/JpegEncoder.h"
#include "korvane/film/worker/MediaFile.h"
#include "korvane/film/worker/MotionDetector.h"
#include "korvane/film/worker/PacketMap.h"

namespace korvane {
namespace {

// Pieces of a film that a thread takes at a time: long enough that its ends, of which less is known, cost little ...
constexpr TimeMs shortestPiece = 20'000;
constexpr TimeMs longestPiece = 120'000;
// ... and so many for each thread that all end together.
constexpr TimeMs piecesAThread = 4;
// A moment after something comes into view there is more of it to see.
constexpr TimeMs settle = 700;
// Within so short a group nothing comes and goes without being in one of the key frames, or making it larger.
constexpr TimeMs shortGroup = 4000;

TimeMs pieceLength(const PacketMap& map, unsigned threads) {
    return std::clamp(map.duration() / (piecesAThread * threads), shortestPiece, longestPiece);
}

/// Looks for motion in one stretch of a file.
class StretchSearch {
  public:
    StretchSearch(const Stretch& groups, MediaFile& file, AVCodecContext& decoder, std::int64_t firstPts)
        : groups_(groups), file_(file), decoder_(decoder), firstPts_(firstPts) {}

    void run() {
        std::size_t i = 0;
        while (i < groups_.size()) {
            if (canSkip(i)) {
                see(groups_[i].begin, keyImage(i));
                ++i;
                continue;
            }
            // On to the next group that might be skipped.
            std::size_t end = i + 1;
            while (end < groups_.size() && !groups_[end].steady) ++end;
            watch(groups_[i], groups_[end - 1]);
            i = end;
        }
    }

    const std::vector<Motion>& motions() const { return detector_.motions(); }
    /// By the start of the motion that they show.
    std::map<TimeMs, std::string>& pictures() { return pictures_; }

  private:
    /// Whether nothing new can be learned inside of a group: what went on before it goes on to its end.
    bool canSkip(std::size_t index) {
        const PictureGroup& group = groups_[index];
        if (!group.steady || index + 1 == groups_.size()) return false;
        const bool moving = detector_.isMoving();
        if (!moving && (!group.usual || group.end - group.begin > shortGroup)) return false;
        const bool changed = MotionDetector::isChange(keyImage(index), keyImage(index + 1));
        return changed == moving;
    }

    const CellImage& keyImage(std::size_t index) {
        const auto [place, isNew] = keyImages_.try_emplace(index);
        if (isNew)
            file_.decodeKeyFrame(decoder_, groups_[index].seekTo, [this, &image = place->second](const AVFrame& frame) {
                sampler_.sample(frame, image);
            });
        return place->second;
    }

    void watch(const PictureGroup& first, const PictureGroup& last) {
        CellImage image;
        avcodec_flush_buffers(&decoder_);
        file_.seek(first.seekTo);
        file_.decode(decoder_, last.endTime, [&](const AVFrame& frame) {
            const TimeMs offset = file_.toMs(frame.best_effort_timestamp - firstPts_);
            if (offset >= first.begin && offset - last_ >= MotionDetector::sampleEvery &&
                sampler_.sample(frame, image)) {
                see(offset, image);
                takePicture(offset, frame);
            }
            return true;
        });
        avcodec_flush_buffers(&decoder_);
    }

    void see(TimeMs offset, const CellImage& image) {
        last_ = offset;
        change_ = detector_.add(offset, image);
        if (change_ == MotionDetector::Change::Ended) unsettled_ = false;
    }

    void takePicture(TimeMs offset, const AVFrame& frame) {
        const bool began = change_ == MotionDetector::Change::Began;
        const bool settled = unsettled_ && offset >= motions().back().start + settle;
        if (!began && !settled) return;
        pictures_[motions().back().start] = jpeg_.encode(frame);
        unsettled_ = began;
    }

    const Stretch& groups_;
    MediaFile& file_;
    AVCodecContext& decoder_;
    const std::int64_t firstPts_;
    MotionDetector detector_;
    MotionDetector::Change change_ = MotionDetector::Change::None;
    BrightnessGrid sampler_;
    JpegEncoder jpeg_;
    std::map<std::size_t, CellImage> keyImages_;
    std::map<TimeMs, std::string> pictures_;
    TimeMs last_ = std::numeric_limits<TimeMs>::min() / 2;
    bool unsettled_ = false;
};

/// The stretches of one file, shared out to threads, and what they find.
class MotionSearch {
  public:
    MotionSearch(int file, const PacketMap& map, unsigned threads, const AnalysisProgress& onProgress)
        : file_(file),
          map_(map),
          threads_(threads),
          onProgress_(onProgress),
          stretches_(map.stretchesWithChange(pieceLength(map, threads))) {}

    Result<std::vector<VideoMotion>> run() {
        std::vector<std::thread> threads;
        const std::size_t count = std::min<std::size_t>(threads_, stretches_.size());
        try {
            for (std::size_t i = 1; i < count; ++i) threads.emplace_back([this] { work(); });
        } catch (const std::system_error&) {
            // Those that there are do it all.
        }
        work();
        for (std::thread& thread : threads) thread.join();
        if (failure_) return *failure_;
        std::vector<VideoMotion> found;
        for (const Motion& motion : MotionDetector::join(std::move(motions_)))
            found.push_back({std::clamp<TimeMs>(motion.start, 0, longestFilm), std::move(pictures_[motion.start])});
        return found;
    }

  private:
    void work() {
        auto file = MediaFile::open(file_);
        if (!file) return fail(file.error());
        auto decoder = (*file)->makeDecoder();
        if (!decoder) return fail(decoder.error());
        (*decoder)->skip_frame = AVDISCARD_NONREF;
        (*decoder)->skip_loop_filter = AVDISCARD_ALL;
        for (std::size_t i = next_++; i < stretches_.size(); i = next_++) {
            StretchSearch search(stretches_[i], **file, **decoder, map_.firstPts());
            search.run();
            const std::lock_guard lock(mutex_);
            motions_.insert(motions_.end(), search.motions().begin(), search.motions().end());
            pictures_.merge(search.pictures());
            report();
        }
    }

    void fail(const Error& error) {
        const std::lock_guard lock(mutex_);
        failure_ = error;
    }

    void report() {
        ++done_;
        if (onProgress_) onProgress_(static_cast<double>(done_) / static_cast<double>(stretches_.size()));
    }

    const int file_;
    const PacketMap& map_;
    const unsigned threads_;
    const AnalysisProgress& onProgress_;
    const std::vector<Stretch> stretches_;
    std::atomic<std::size_t> next_ = 0;
    std::mutex mutex_;
    std::size_t done_ = 0;
    Failure failure_;
    std::vector<Motion> motions_;
    std::map<TimeMs, std::string> pictures_;
};

/// The first picture whose time is at or after `time` of the stream, or the last one there is.
Result<std::string> pictureOf(MediaFile& file, std::int64_t time) {
    auto decoder = file.makeDecoder();
    if (!decoder) return decoder.error();
    JpegEncoder jpeg;
    const AvFrame latest(av_frame_alloc());
    file.seek(time);
    file.decode(**decoder, std::numeric_limits<std::int64_t>::max(), [&](const AVFrame& frame) {
        av_frame_unref(latest.get());
        av_frame_ref(latest.get(), &frame);
        return frame.best_effort_timestamp < time;
    });
    if (latest->data[0] == nullptr) return Error{"no picture of it can be decoded"};
    return jpeg.encode(*latest);
}

}  // namespace

Result<VideoAnalysis> searchVideo(int file, unsigned threads, const AnalysisProgress& onProgress) {
    auto media = MediaFile::open(file);
    if (!media) return media.error();
    const PacketMap map = PacketMap::read(**media);
    if (map.empty()) return Error{"holds no picture"};
    if (map.duration() <= 0) return Error{"lasts no time"};
    if (map.duration() > longestFilm) return Error{"its times are damaged: it claims to last longer than a week"};
    VideoAnalysis analysis;
    analysis.duration = map.duration();
    analysis.created = (*media)->creationTime();
    auto thumbnail = pictureOf(**media, map.firstPts());
    if (!thumbnail) return thumbnail.error();
    analysis.thumbnail = std::move(*thumbnail);
    auto motions = MotionSearch(file, map, threads, onProgress).run();
    if (!motions) return motions.error();
    analysis.motions = std::move(*motions);
    return analysis;
}

std::string pictureIn(int file, TimeMs offset) {
    auto media = MediaFile::open(file);
    if (!media) return {};
    const AvPacket packet(av_packet_alloc());
    if (!packet || !(*media)->readPacket(*packet)) return {};
    auto picture = pictureOf(**media, packet->pts + (*media)->fromMs(offset));
    return picture ? std::move(*picture) : std::string();
}

}  // namespace korvane
