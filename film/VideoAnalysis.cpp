#include "korvane/film/VideoAnalysis.h"

#include <sys/stat.h>

#include <utility>

#include "korvane/film/FilmTask.h"

namespace korvane {
namespace {

// What is decoded grows with the file: a film of many hours may take longer than a short one that is made to be slow.
constexpr std::int64_t bytesASecond = 1'000'000;
constexpr double million = 1e6;

FilmLimits limitsOf(int file) {
    struct stat info {};
    FilmLimits limits;
    if (::fstat(file, &info) == 0) limits.seconds += info.st_size / bytesASecond;
    return limits;
}

FilmTask::IsOver isOverBy(const std::atomic<bool>* cancel) {
    return [cancel] { return cancel != nullptr && cancel->load(); };
}

}  // namespace

Result<VideoAnalysis> analyzeVideo(FilmHelper& helper, int file, const VideoAnalysisOptions& options) {
    std::string reason;
    const auto task = helper.begin(file, limitsOf(file), reason);
    if (!task) return Error{reason, true};
    VideoAnalysis analysis;
    const auto onNews = [&](FilmNews& news) {
        if (news.type() == FilmMessage::Progress && options.onProgress) {
            options.onProgress(static_cast<double>(news.number(0, 1'000'000)) / million);
        } else if (news.type() == FilmMessage::Motion) {
            const TimeMs offset = news.number();
            analysis.motions.push_back({offset, std::string(news.text())});
        }
    };
    auto answer = task->ask(FilmWords(FilmMessage::Analyze).number(options.threads), onNews, isOverBy(options.cancel));
    if (!answer) return Error{task->failure().reason, task->failure().kind == FilmFailure::Kind::Unavailable};
    analysis.duration = answer->number();
    const bool isDated = answer->number() == 1;
    const TimeMs created = answer->number();
    if (isDated) analysis.created = created;
    analysis.thumbnail = answer->text();
    if (!answer->isWhole()) return Error{"has made its reader talk nonsense"};
    return analysis;
}

std::string pictureAt(FilmHelper& helper, int file, TimeMs offset, const std::atomic<bool>* cancel) {
    std::string reason;
    const auto task = helper.begin(file, limitsOf(file), reason);
    if (!task) return {};
    auto answer = task->ask(FilmWords(FilmMessage::PictureAt).number(offset), {}, isOverBy(cancel));
    return answer ? std::string(answer->text()) : std::string();
}

}  // namespace korvane
