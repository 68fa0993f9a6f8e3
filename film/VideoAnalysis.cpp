#include "korvane/film/VideoAnalysis.h"

#include <sys/stat.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "korvane/film/FilmTask.h"

namespace korvane {
namespace {

// What is decoded grows with the file: a film of many hours may take longer than a short one that is made to be slow. A
// camera that saves bytes writes so many in the time in which a slow machine decodes a second of its film.
constexpr std::int64_t bytesASecond = 100'000;
constexpr double million = 1e6;
// More than a camera's day of restless trees has, and less than what would take the importer's memory.
constexpr std::size_t mostMotions = 100'000;
constexpr std::size_t mostPictureBytes = 512'000'000;

FilmLimits limitsOf(int file) {
    struct stat info {};
    FilmLimits limits;
    if (::fstat(file, &info) != 0) return limits;
    // Holes cost nobody anything to make. A file system that counts no blocks tells of none.
    constexpr std::int64_t blockBytes = 512;
    const bool hasBlocks = info.st_blocks > 0;
    const std::int64_t bytes = hasBlocks ? std::min(info.st_size, info.st_blocks * blockBytes) : info.st_size;
    limits.seconds += bytes / bytesASecond;
    return limits;
}

/// A process that is bent may say anything.
class Hearing {
  public:
    explicit Hearing(const VideoAnalysisOptions& options) : options_(options) {}

    void hear(FilmNews& news) {
        if (news.type() == FilmMessage::Progress && options_.onProgress) {
            options_.onProgress(static_cast<double>(news.number(0, 1'000'000)) / million);
        } else if (news.type() == FilmMessage::Motion) {
            const TimeMs offset = news.number(0, longestFilm);
            const std::string_view picture = news.text();
            pictureBytes_ += picture.size();
            isTooMuch_ = isTooMuch_ || motions_.size() >= mostMotions || picture.size() > longestPicture ||
                         pictureBytes_ > mostPictureBytes;
            if (!isTooMuch_) motions_.push_back({offset, std::string(picture)});
        }
    }

    bool isTooMuch() const { return isTooMuch_; }

    Result<VideoAnalysis> conclude(FilmNews& answer) {
        VideoAnalysis analysis;
        analysis.duration = answer.number(1, longestFilm);
        const bool isDated = answer.number() == 1;
        const TimeMs created = answer.number(0, latestMoment);
        if (isDated) analysis.created = created;
        analysis.thumbnail = answer.text().substr(0, longestPicture);
        if (isTooMuch_ || !answer.isWhole()) return Error{"has made its reader talk nonsense"};
        analysis.motions = std::move(motions_);
        return analysis;
    }

  private:
    const VideoAnalysisOptions& options_;
    std::vector<VideoMotion> motions_;
    std::size_t pictureBytes_ = 0;
    bool isTooMuch_ = false;
};

FilmTask::IsOver isOverBy(const std::atomic<bool>* cancel) {
    return [cancel] { return cancel != nullptr && cancel->load(); };
}

}  // namespace

Result<VideoAnalysis> analyzeVideo(FilmHelper& helper, int file, const VideoAnalysisOptions& options) {
    std::string reason;
    const auto isOver = isOverBy(options.cancel);
    // Each thread holds the film's index and pictures of its own: where that is too much, one may still do.
    for (unsigned threads = options.threads;; threads = 1) {
        const auto task = helper.begin(file, limitsOf(file), reason);
        if (!task) return Error{reason, true};
        Hearing hearing(options);
        auto answer = task->ask(
            FilmWords(FilmMessage::Analyze).number(threads), [&](FilmNews& news) { hearing.hear(news); },
            [&] { return hearing.isTooMuch() || isOver(); });
        if (answer || hearing.isTooMuch()) {
            FilmNews none(FilmWords(FilmMessage::Done).bytes());
            return hearing.conclude(answer ? *answer : none);
        }
        const FilmFailure& failure = task->failure();
        if (threads == 1 || !failure.isMemory)
            return Error{failure.reason, failure.kind == FilmFailure::Kind::Unavailable};
    }
}

Result<std::string> pictureAt(FilmHelper& helper, int file, TimeMs offset, const std::atomic<bool>* cancel) {
    std::string reason;
    const auto task = helper.begin(file, limitsOf(file), reason);
    if (!task) return Error{reason, true};
    auto answer = task->ask(FilmWords(FilmMessage::PictureAt).number(offset), {}, isOverBy(cancel));
    if (answer) return std::string(answer->text().substr(0, longestPicture));
    return Error{task->failure().reason, task->failure().kind == FilmFailure::Kind::Unavailable};
}

}  // namespace korvane
