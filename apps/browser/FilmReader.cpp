#include "korvane/apps/browser/FilmReader.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "korvane/base/Log.h"
#include "korvane/base/Printable.h"
#include "korvane/toolkit/VideoFrame.h"

namespace korvane {

namespace {

constexpr TimeMs latestTime = 1'000'000'000'000'000;  // sums of such do not overflow

MediaFault faultOf(const FilmFailure& failure) {
    switch (failure.kind) {
        case FilmFailure::Kind::Unreadable:
            return MediaFault::NotAFilm;
        case FilmFailure::Kind::BeyondLimits:
            return MediaFault::BeyondLimits;
        case FilmFailure::Kind::Unavailable:
            return MediaFault::NoRoom;
        case FilmFailure::Kind::Cancelled:
            return MediaFault::Cancelled;
    }
    return MediaFault::NotAFilm;
}

void addSound(FilmNews& news, SoundQueue& queue) {
    const TimeMs position = news.number(-latestTime, latestTime);
    const std::string_view bytes = news.text();
    std::vector<std::int16_t> samples(bytes.size() / sizeof(std::int16_t));
    samples.resize(samples.size() / SoundQueue::channels * SoundQueue::channels);
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(std::int16_t));
    queue.add(position, std::move(samples));
}

}  // namespace

FilmReader::FilmReader(FilmHelper& helper, MediaStream& stream, SoundQueue* sound)
    : helper_(helper), stream_(stream), sound_(sound) {}

FilmReader::~FilmReader() = default;

/// A film that cannot be read on because its bytes do not come has the stream's fault.
std::optional<FilmNews> FilmReader::ask(const FilmWords& order) {
    if (!task_ || fault_ != MediaFault::None) return std::nullopt;
    auto answer = task_->ask(order, [this](FilmNews& news) {
        if (news.type() == FilmMessage::Sound && sound_) addSound(news, *sound_);
    });
    if (answer) return answer;
    const FilmFailure& failure = task_->failure();
    // One picture that cannot be shown is not the end of a film.
    if (order.bytes().front() == static_cast<char>(FilmMessage::Paint) && failure.kind == FilmFailure::Kind::Unreadable)
        return std::nullopt;
    if (failure.kind == FilmFailure::Kind::BeyondLimits || failure.kind == FilmFailure::Kind::Unavailable)
        logError("FilmReader", "a film " + printable(failure.reason));
    fault_ = stream_.hasFailed() ? stream_.fault() : faultOf(failure);
    return std::nullopt;
}

MediaFault FilmReader::open() {
    FilmLimits limits;
    limits.isEachOrder = true;
    std::string reason;
    auto task = helper_.begin(-1, limits, reason);
    if (!task) {
        logError("FilmReader", reason);
        return fault_ = MediaFault::NoRoom;
    }
    task->setSource(&stream_);
    {
        const std::lock_guard lock(mutex_);
        task_ = std::move(task);
        if (isCancelled_) task_->cancel();
    }
    ask(FilmWords(FilmMessage::Open).number(sound_ != nullptr));
    if (fault_ != MediaFault::None) {
        const std::lock_guard lock(mutex_);
        task_.reset();
    }
    return fault_;
}

bool FilmReader::seek(TimeMs position) {
    auto answer = ask(FilmWords(FilmMessage::Seek).number(position));
    const bool isThere = answer && answer->number() == 1;
    if (isThere) hasPicture_ = false;
    return isThere;
}

FilmReader::Step FilmReader::approach(TimeMs moment) {
    auto answer = ask(FilmWords(FilmMessage::Approach).number(moment));
    if (!answer) return Step::Failed;
    const auto made = static_cast<Step>(answer->number(0, static_cast<int>(Step::End)));
    foundEnd_ = answer->number(-latestTime, latestTime);
    return made;
}

void FilmReader::notePicture(FilmNews& answer) {
    hasPicture_ = answer.number() == 1;
    pictureBegin_ = answer.number(-latestTime, latestTime);
    pictureEnd_ = answer.number(-latestTime, latestTime);
}

FilmReader::Step FilmReader::step() {
    auto answer = ask(FilmWords(FilmMessage::Step));
    if (!answer) return Step::Failed;
    const auto made = static_cast<Step>(answer->number(0, static_cast<int>(Step::End)));
    notePicture(*answer);
    return made;
}

bool FilmReader::stepBack() {
    auto answer = ask(FilmWords(FilmMessage::StepBack));
    const bool isBack = answer && answer->number() == 1;
    if (answer) notePicture(*answer);
    return isBack;
}

QImage FilmReader::picture() {
    if (!hasPicture_) return {};
    auto answer = ask(FilmWords(FilmMessage::Paint));
    return answer ? toImage(*answer, *task_) : QImage();
}

void FilmReader::cancel() {
    const std::lock_guard lock(mutex_);
    isCancelled_ = true;
    if (task_) task_->cancel();
}

}  // namespace korvane
