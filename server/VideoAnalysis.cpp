#include "server/VideoAnalysis.h"

#include <algorithm>
#include <limits>
#include <map>
#include <mutex>
#include <thread>

#include "server/CellSampler.h"
#include "server/JpegEncoder.h"
#include "server/MediaFile.h"
#include "server/MotionDetector.h"
#include "server/PacketMap.h"

namespace korvane {

namespace {

// Long enough that the start of a piece, which sees nothing of the one before, costs little; short enough that threads
// end together.
constexpr TimeMs kPiece = 20'000;
constexpr TimeMs kLongestFile = 7 * 86'400'000LL;
// A moment after something comes into view there is more of it to see.
constexpr TimeMs kSettle = 700;

bool isSet(const std::atomic<bool>* flag) {
    return flag != nullptr && flag->load();
}

/// The stretches of one file, shared out to threads, and what they find.
class MotionSearch {
  public:
    MotionSearch(const std::filesystem::path& file, const PacketMap& map, const VideoAnalysisOptions& options)
        : file_(file), map_(map), options_(options), stretches_(map.stretchesWithChange(kPiece)) {}

    std::vector<VideoMotion> run() {
        std::vector<std::thread> threads;
        const std::size_t count = std::min<std::size_t>(options_.threads, stretches_.size());
        for (std::size_t i = 1; i < count; ++i) threads.emplace_back([this] { work(); });
        work();
        for (std::thread& thread : threads) thread.join();
        std::vector<VideoMotion> found;
        for (const Motion& motion : MotionDetector::join(std::move(motions_)))
            found.push_back({motion.start, std::move(pictures_[motion.start])});
        return found;
    }

  private:
    void work() {
        auto file = MediaFile::open(file_, options_.cancel);
        if (!file) return;
        auto decoder = (*file)->makeDecoder();
        if (!decoder) return;
        (*decoder)->skip_frame = AVDISCARD_NONREF;
        (*decoder)->skip_loop_filter = AVDISCARD_ALL;
        JpegEncoder jpeg;
        CellSampler sampler;
        for (std::size_t i = next_++; i < stretches_.size() && !isSet(options_.cancel); i = next_++) {
            search(stretches_[i], **file, **decoder, sampler, jpeg);
            avcodec_flush_buffers(decoder->get());
            report();
        }
    }

    void search(const Stretch& stretch, MediaFile& file, AVCodecContext& decoder, CellSampler& sampler,
                JpegEncoder& jpeg) {
        MotionDetector detector;
        CellImage image;
        std::map<TimeMs, std::string> pictures;
        TimeMs last = std::numeric_limits<TimeMs>::min() / 2;
        bool unsettled = false;
        file.seek(stretch.seekTo);
        file.decode(decoder, stretch.endTime, [&](const AVFrame& frame) {
            const TimeMs offset = file.toMs(frame.best_effort_timestamp - map_.firstPts());
            if (offset < stretch.begin || offset - last < MotionDetector::kSampleEvery) return !isSet(options_.cancel);
            if (!sampler.sample(frame, image)) return true;
            last = offset;
            const auto change = detector.add(offset, image);
            if (change == MotionDetector::Change::Ended) unsettled = false;
            const bool settled = unsettled && offset >= detector.motions().back().start + kSettle;
            if (change == MotionDetector::Change::Began || settled) {
                pictures[detector.motions().back().start] = jpeg.encode(frame);
                unsettled = !settled;
            }
            return !isSet(options_.cancel);
        });
        const std::lock_guard lock(mutex_);
        motions_.insert(motions_.end(), detector.motions().begin(), detector.motions().end());
        pictures_.merge(pictures);
    }

    void report() {
        const std::lock_guard lock(mutex_);
        ++done_;
        if (options_.onProgress)
            options_.onProgress(static_cast<double>(done_) / static_cast<double>(stretches_.size()));
    }

    const std::filesystem::path& file_;
    const PacketMap& map_;
    const VideoAnalysisOptions& options_;
    const std::vector<Stretch> stretches_;
    std::atomic<std::size_t> next_ = 0;
    std::mutex mutex_;
    std::size_t done_ = 0;
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

Result<VideoAnalysis> analyzeVideo(const std::filesystem::path& file, const VideoAnalysisOptions& options) {
    auto media = MediaFile::open(file, options.cancel);
    if (!media) return media.error();
    const PacketMap map = PacketMap::read(**media, options.cancel);
    if (map.empty()) return Error{"holds no picture"};
    if (map.duration() <= 0) return Error{"lasts no time"};
    if (map.duration() > kLongestFile) return Error{"its times are damaged: it claims to last longer than a week"};
    VideoAnalysis analysis;
    analysis.duration = map.duration();
    analysis.created = (*media)->creationTime();
    auto thumbnail = pictureOf(**media, map.firstPts());
    if (!thumbnail) return thumbnail.error();
    analysis.thumbnail = std::move(*thumbnail);
    analysis.motions = MotionSearch(file, map, options).run();
    if (isSet(options.cancel)) return Error{"cancelled"};
    return analysis;
}

std::string pictureAt(const std::filesystem::path& file, TimeMs offset) {
    auto media = MediaFile::open(file);
    if (!media) return {};
    const AvPacket packet(av_packet_alloc());
    if (!packet || !(*media)->readPacket(*packet)) return {};
    auto picture = pictureOf(**media, packet->pts + (*media)->fromMs(offset));
    return picture ? std::move(*picture) : std::string();
}

}  // namespace korvane
