#include "korvane/apps/browser/Film.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <mutex>
#include <utility>

#include "korvane/apps/browser/FilmReader.h"
#include "korvane/net/MediaStream.h"

namespace korvane {

namespace {
constexpr std::size_t picturesAhead = 3;
constexpr TimeMs closeToEnd = 1'000;  // from there on the film is read to its end
}  // namespace

struct Film::State {
    struct Wish {
        std::uint64_t id = 0;
        TimeMs position = 0;
        Seek how = Seek::Exact;
    };

    State(Scheduler& scheduler, FilmHelper& helper, std::string url, const MediaOptions& options, bool hasSound,
          std::function<void()> tell)
        : news(std::move(tell)),
          sound(hasSound ? std::make_shared<SoundQueue>() : nullptr),
          stream(scheduler, std::move(url), options),
          reader(helper, stream, sound.get()),
          monitor(scheduler.makeMonitor()) {}

    void run();
    std::optional<Wish> nextWish();
    void serve(const Wish& wished);
    bool isOutdated(const Wish& wished) const { return newest != wished.id; }
    bool isDropped(const Wish& wished) const {
        return wished.how == Seek::Exact ? isOutdated(wished) : newestExact > wished.id;
    }
    bool endsBefore(const Wish& wished);
    bool approach(const Wish& wished, TimeMs moment);
    bool goToLast(const Wish& wished);
    bool hasPictureFrom(TimeMs position, const Wish& wished);
    bool giveThere(const Wish& wished);
    bool give(const Wish& wished, bool isLast = false);
    void setFault(MediaFault value);
    void setEnd(const Wish& wished, TimeMs value);

    const std::function<void()> news;
    const std::shared_ptr<SoundQueue> sound;
    MediaStream stream;
    FilmReader reader;  // the thread's own, but for cancel()
    std::atomic<std::uint64_t> newest = 0;
    std::atomic<std::uint64_t> newestExact = 0;

    // Guarded by the monitor from here on.
    const std::unique_ptr<Monitor> monitor;
    std::optional<Wish> wish;
    std::deque<Picture> pictures;
    bool isAtEnd = false;
    bool isCancelled = false;
    bool isOver = false;
    std::optional<TimeMs> end;
    MediaFault fault = MediaFault::None;
};

void Film::State::run() {
    const MediaFault opened = reader.open();
    if (opened != MediaFault::None) setFault(opened);
    while (const auto next = nextWish()) {
        if (opened == MediaFault::None) serve(*next);
    }
    {
        const std::lock_guard lock(*monitor);
        isOver = true;
    }
    news();
}

std::optional<Film::State::Wish> Film::State::nextWish() {
    const std::lock_guard lock(*monitor);
    while (!wish && !isCancelled) monitor->wait();
    if (isCancelled) return std::nullopt;
    return std::exchange(wish, std::nullopt);
}

/// Until a newer wish comes, or the film ends.
void Film::State::serve(const Wish& wished) {
    reader.seek(wished.position);
    if (sound) sound->clear();
    if (endsBefore(wished)) return;
    bool isFirst = true;   // no picture has come yet
    bool isThere = false;  // the picture of the moment has been given
    bool isLastSought = false;
    while (isFirst ? !isDropped(wished) : !isOutdated(wished)) {
        const auto step = reader.step();
        if (step == FilmReader::Step::Failed) return setFault(reader.fault());
        if (step == FilmReader::Step::End) {
            if (!reader.hasPicture() && !std::exchange(isLastSought, true) && goToLast(wished)) {
                if (endsBefore(wished)) return;
                continue;
            }
            // Beyond the last picture stands the last one.
            if (!isThere && reader.hasPicture() && !give(wished, true)) return;
            return setEnd(wished, reader.hasPicture() ? reader.pictureEnd() : 0);
        }
        if (step != FilmReader::Step::Picture) continue;
        const bool isKey = std::exchange(isFirst, false);
        if (!isThere && reader.pictureEnd() <= wished.position) {
            if (isKey && wished.how == Seek::Glimpse && !give(wished)) return;
            continue;
        }
        if (!std::exchange(isThere, true) && !giveThere(wished)) return;
        if (wished.how == Seek::Glimpse || !give(wished)) return;
    }
}

/// True where the film ends well before the moment: decoding from the last key frame to there would be in vain.
bool Film::State::endsBefore(const Wish& wished) {
    const bool isExact = wished.how == Seek::Exact;
    if (!approach(wished, isExact ? wished.position - lastPictureLasts : 0)) return false;
    setEnd(wished, std::clamp<TimeMs>(reader.foundEnd(), 0, std::max<TimeMs>(0, wished.position)));
    return true;
}

bool Film::State::approach(const Wish& wished, TimeMs moment) {
    auto step = FilmReader::Step::Nothing;
    while (step == FilmReader::Step::Nothing && !isDropped(wished)) step = reader.approach(moment);
    return step == FilmReader::Step::End;
}

/// A film that was cut off may have nothing at all where it says that it goes on. False when it cannot be searched.
bool Film::State::goToLast(const Wish& wished) {
    TimeMs somewhere = 0;
    TimeMs nothing = wished.position;
    if (nothing <= 0 || !reader.seek(0)) return false;
    while (nothing - somewhere > closeToEnd && !isDropped(wished)) {
        const TimeMs middle = somewhere + (nothing - somewhere) / 2;
        (hasPictureFrom(middle, wished) ? somewhere : nothing) = middle;
    }
    return reader.seek(somewhere);
}

bool Film::State::hasPictureFrom(TimeMs position, const Wish& wished) {
    if (!reader.seek(position)) return false;
    approach(wished, 0);
    while (!isDropped(wished)) {
        const auto step = reader.step();
        if (step != FilmReader::Step::Nothing) return step == FilmReader::Step::Picture;
    }
    return false;
}

/// Of the two pictures about the moment, the earlier one where it lasts until the later begins.
bool Film::State::giveThere(const Wish& wished) {
    const bool isLate = reader.pictureBegin() > wished.position && reader.stepBack();
    if (!isLate) return wished.how == Seek::Exact || give(wished);
    const bool isGiven = give(wished);
    reader.stepBack();
    return isGiven;
}

/// Waits for room. False when a newer wish has come.
bool Film::State::give(const Wish& wished, bool isLast) {
    Picture picture{reader.pictureBegin(), reader.pictureEnd(), isLast, reader.picture()};
    {
        const std::lock_guard lock(*monitor);
        while (!isOutdated(wished) && pictures.size() >= picturesAhead) monitor->wait();
        if (isDropped(wished)) return false;
        pictures.push_back(std::move(picture));
    }
    news();
    return true;
}

void Film::State::setFault(MediaFault value) {
    {
        const std::lock_guard lock(*monitor);
        fault = value;
    }
    news();
}

void Film::State::setEnd(const Wish& wished, TimeMs value) {
    {
        const std::lock_guard lock(*monitor);
        end = value;
        if (isOutdated(wished)) return;
        isAtEnd = wished.how == Seek::Exact;
    }
    news();
}

Film::Film(Scheduler& scheduler, FilmHelper& helper, std::string url, const MediaOptions& options, bool hasSound,
           std::function<void()> news)
    : state_(std::make_shared<State>(scheduler, helper, std::move(url), options, hasSound, std::move(news))) {
    thread_ = scheduler.spawn("film", [state = state_] { state->run(); });
    if (thread_) return;
    state_->fault = MediaFault::NoRoom;
    state_->isOver = true;
    state_->news();
}

Film::~Film() {
    cancel();
    if (thread_) thread_->join();
}

void Film::seek(TimeMs position, Seek how) {
    front_.reset();
    const std::lock_guard lock(*state_->monitor);
    if (state_->isCancelled) return;
    const std::uint64_t id = state_->newest + 1;
    state_->newest = id;
    if (how == Seek::Exact) state_->newestExact = id;
    state_->wish = State::Wish{id, position, how};
    state_->pictures.clear();
    state_->isAtEnd = false;
    state_->monitor->notifyAll();
}

const Film::Picture* Film::front() {
    if (front_) return &*front_;
    const std::lock_guard lock(*state_->monitor);
    if (state_->pictures.empty()) return nullptr;
    front_ = std::move(state_->pictures.front());
    state_->pictures.pop_front();
    state_->monitor->notifyAll();
    return &*front_;
}

std::optional<Film::Picture> Film::take() {
    return front() ? std::exchange(front_, std::nullopt) : std::nullopt;
}

bool Film::isAtEnd() const {
    const std::lock_guard lock(*state_->monitor);
    return state_->isAtEnd && state_->pictures.empty() && !front_;
}

std::optional<TimeMs> Film::end() const {
    const std::lock_guard lock(*state_->monitor);
    return state_->end;
}

MediaFault Film::fault() const {
    const std::lock_guard lock(*state_->monitor);
    return state_->fault;
}

const std::shared_ptr<SoundQueue>& Film::sound() const {
    return state_->sound;
}

void Film::cancel() {
    state_->stream.cancel();
    state_->reader.cancel();
    const std::lock_guard lock(*state_->monitor);
    state_->isCancelled = true;
    state_->newest = state_->newestExact = UINT64_MAX;
    state_->monitor->notifyAll();
}

bool Film::isOver() const {
    const std::lock_guard lock(*state_->monitor);
    return state_->isOver;
}

}  // namespace korvane
