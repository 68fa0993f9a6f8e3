#include "korvane/apps/browser/RecordingPlayer.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "korvane/client/Status.h"

namespace korvane {

namespace {

// A film counts as ended when its last frame begins, and clocks drift a little: shorter gaps are ignored.
constexpr TimeMs unnoticedGap = 2'000;
constexpr TimeMs newestStretch = 10'000;
constexpr TimeMs noWayBack = 10'000;   // a step back that ends nearer than this has led nowhere
constexpr TimeMs aheadOfEnd = 5'000;   // the next film is opened then
constexpr TimeMs longestTick = 40;     // the position moves on between pictures, too
constexpr TimeMs stallNotice = 150;    // a picture may be late by so much before the clock waits for it
constexpr TimeMs longestLast = 1'000;  // a film's last picture beyond the recording's end
constexpr int mostEmptyFilms = 20;

QString textOf(MediaFault fault) {
    switch (fault) {
        case MediaFault::BadAddress:
            return QStringLiteral("The service names an address that is not opened");
        case MediaFault::Unreachable:
        case MediaFault::TimedOut:
            return QStringLiteral("The service does not answer");
        case MediaFault::Insecure:
            return QStringLiteral("The service's certificate is refused");
        case MediaFault::Refused:
            return QStringLiteral("The service refuses this recording");
        case MediaFault::Gone:
            return QStringLiteral("This recording is gone");
        case MediaFault::Broken:
            return QStringLiteral("The service broke off");
        case MediaFault::NotAFilm:
            return QStringLiteral("This recording is no film that can be shown");
        case MediaFault::BeyondLimits:
            return QStringLiteral("This recording takes more than a film may");
        default:
            return QStringLiteral("This recording cannot be opened");
    }
}

/// What the service's own requests would have ended with.
std::int32_t statusOf(MediaFault fault) {
    switch (fault) {
        case MediaFault::Unreachable:
            return StatusTransportFailed;
        case MediaFault::TimedOut:
            return StatusTimedOut;
        case MediaFault::Insecure:
            return StatusInsecure;
        default:
            return StatusSuccess;
    }
}

}  // namespace

RecordingPlayer::RecordingPlayer(Scheduler& scheduler, const KorvaneHelpers& helpers, QObject* parent,
                                 const MediaOptions& options)
    : QObject(parent),
      scheduler_(scheduler),
      helpers_(helpers),
      clock_(scheduler),
      deck_(scheduler, options, [&scheduler, news = life_.guard([this] { onNews(); })] { scheduler.post(news); }) {
    connect(&sink_, &PictureSink::pictureChanged, this, &RecordingPlayer::framePositionChanged);
    seekOnMain_ = life_.guard([this](TimeMs position) { open(position, isHeld() ? Then::Pause : Then::Play); });
}

RecordingPlayer::~RecordingPlayer() {
    haltClock();
}

void RecordingPlayer::setCamera(const std::shared_ptr<KorvaneCamera>& camera) {
    stop();
    lookup_ = camera ? std::make_unique<RecordingLookup>(scheduler_, helpers_, camera) : nullptr;
    if (camera && !sound_) {
        sound_ = std::make_unique<SoundOutput>(scheduler_, life_.guard([this] {
            if (clock_.isRunning()) startClock(clock_.moment());
            emit hasSoundChanged();
        }));
        sound_->setMuted(isMuted_);
    }
    const std::lock_guard lock(cameraMutex_);
    camera_ = camera;
}

std::shared_ptr<KorvaneCamera> RecordingPlayer::getSource() const {
    const std::lock_guard lock(cameraMutex_);
    return camera_;
}

bool RecordingPlayer::isHeld() const {
    return state_ == State::Paused || (state_ == State::Opening && then_ == Then::Pause);
}

void RecordingPlayer::setPosition(TimeMs position) {
    // At once where possible, so that the position right after a seek is the new one.
    if (scheduler_.isMainThread()) return seekOnMain_(position);
    scheduler_.post([seek = seekOnMain_, position]() mutable { seek(position); });
}

void RecordingPlayer::open(TimeMs moment, Then then) {
    if (!lookup_ || moment < 0) return;
    emptyFilms_ = 0;
    look(moment, then);
}

void RecordingPlayer::seek(TimeMs moment) {
    if (!lookup_ || moment < 0) return;
    // The look-up has room for one question, and the one under way must be answered.
    if (state_ == State::Opening) return goTo(moment);
    isSeeking_ = true;
    lookup_->find(moment, [this, moment](const RecordingCatalog::Answer& answer, std::int32_t status) {
        isSeeking_ = false;
        const bool isNothing = status == 0 && answer.kind == RecordingCatalog::Kind::Unknown;
        const bool isBack = moment > 0 && moment + noWayBack < position_;
        if (isNothing) {
            emit nothingFound();
            if (scrub_) return seekOnMain_(position_);
            tick();
        } else if (status == 0 && isBack && answer.position + noWayBack > position_) {
            seekBefore(moment);
        } else {
            goTo(moment > 0 || status != 0 ? moment : answer.position);
        }
    });
}

void RecordingPlayer::goTo(TimeMs moment) {
    emit seeking();
    seekOnMain_(moment);
}

void RecordingPlayer::seekBefore(TimeMs moment) {
    isSeeking_ = true;
    lookup_->findBefore(moment, [this, moment](const RecordingCatalog::Answer& answer, std::int32_t status) {
        isSeeking_ = false;
        const Recording& before = answer.recording;
        const bool isFound = status == 0 && answer.kind != RecordingCatalog::Kind::Unknown;
        goTo(isFound ? std::max(before.start, before.end - newestStretch) : moment);
    });
}

/// What was under way is over: another moment is on its way.
void RecordingPlayer::leave() {
    haltClock();
    deck_.unprepare();
    target_.reset();
    next_.reset();
    scrub_.reset();
    isNextAsked_ = isScrubAsked_ = isSeeking_ = isAfterNewest_ = isNewest_ = isAtBound_ = false;
}

void RecordingPlayer::openNewest(Then then) {
    if (!lookup_) return;
    leave();
    then_ = then;
    isAfterNewest_ = true;
    setState(State::Opening);
    lookup_->findNewest([this](const RecordingCatalog::Answer& answer, std::int32_t status) {
        if (status != 0) return fail(tr("The service does not answer"), status);
        isAfterNewest_ = false;
        if (answer.kind == RecordingCatalog::Kind::Unknown) return stop();
        isNewest_ = true;
        load(answer.recording, std::max(answer.recording.start, answer.recording.end - newestStretch));
    });
}

void RecordingPlayer::look(TimeMs moment, Then then, std::optional<TimeMs> bound) {
    leave();
    then_ = then;
    lookBound_ = bound;
    setState(State::Opening);
    publish(moment);
    lookup_->find(moment, [this, moment, bound](const RecordingCatalog::Answer& answer, std::int32_t status) {
        if (status != 0) return fail(tr("The service does not answer"), status);
        if (answer.kind == RecordingCatalog::Kind::Unknown) return setState(State::Ended);
        const bool isGap = answer.kind == RecordingCatalog::Kind::Gap && answer.position - moment > unnoticedGap;
        if (isGap && bound && answer.position > *bound) {
            isAtBound_ = true;
            setState(State::Paused);
            emit boundReached();
            return;
        }
        load(answer.recording, answer.position);
        if (isGap) emit gapSkipped(moment, answer.position);
    });
}

void RecordingPlayer::load(const Recording& recording, TimeMs position) {
    recording_ = recording;
    target_ = position;
    deck_.setHasSound(sound_ && (sound_->hasDevice() || sound_->isLooking()));
    deck_.play(recording, position, Film::Seek::Exact);
    publish(position);
    if (deck_.film()->front())
        arrive();
    else
        setState(State::Opening);
}

void RecordingPlayer::onNews() {
    deck_.reap();
    Film* const film = deck_.film();
    if (!film) return;
    if (scrub_) {
        std::optional<Film::Picture> newest;
        while (auto picture = film->take()) newest = std::move(picture);
        if (newest && isNearer(*newest)) show(*newest);
    } else if (target_) {
        arrive();
    } else {
        tick();
    }
}

/// A key frame may lie further from the finger than what is shown.
bool RecordingPlayer::isNearer(const Film::Picture& picture) const {
    const TimeMs position = recording_->start + picture.begin;
    return framePosition() < 0 || std::abs(*scrub_ - position) <= std::abs(*scrub_ - framePosition());
}

/// Once the picture of the target is there.
void RecordingPlayer::arrive() {
    Film& film = *deck_.film();
    const Film::Picture* front = film.front();
    if (!front) {
        if (film.fault() != MediaFault::None) return fail(textOf(film.fault()), statusOf(film.fault()));
        if (film.isAtEnd()) onBeyondEnd(film.end().value_or(0));
        return;
    }
    const TimeMs target = *target_;
    const TimeMs shownUntil = recording_->start + front->end + Film::lastPictureLasts;
    if (front->isLast && shownUntil < target) return onBeyondEnd(front->end);
    target_.reset();
    emptyFilms_ = 0;
    show(*film.take());
    setState(then_ == Then::Play ? State::Playing : State::Paused);
    if (state_ != State::Playing || clock_.isRunning()) return;
    startClock(target);
    tick();
}

/// The film of the recording is shorter than the service has told, and the target lies behind it.
void RecordingPlayer::onBeyondEnd(TimeMs end) {
    const Recording recording = *recording_;
    const TimeMs target = *std::exchange(target_, std::nullopt);
    lookup_->shorten(recording, recording.start + end);
    if (++emptyFilms_ > mostEmptyFilms) return fail(tr("The recordings here have no picture"), 0);
    if (isNewest_ && end > 0) {
        load(recording, std::max(recording.start, recording.start + end - newestStretch));
    } else if (isNewest_) {
        lookup_->findBefore(recording.start, [this](const RecordingCatalog::Answer& answer, std::int32_t status) {
            if (status != 0) return fail(tr("The service does not answer"), status);
            if (answer.kind == RecordingCatalog::Kind::Unknown) return stop();
            load(answer.recording, std::max(answer.recording.start, answer.recording.end - newestStretch));
        });
    } else {
        look(target, then_, lookBound_);
    }
}

/// Shows what is due, and sees to the next time that something is.
void RecordingPlayer::tick() {
    Film* const film = deck_.film();
    if (state_ != State::Playing || !film || !recording_ || target_ || scrub_) return;
    if (!clock_.isRunning()) {
        // It has waited for a picture that was late.
        if (!film->front() && !film->isAtEnd() && film->fault() == MediaFault::None) return;
        startClock(position_);
    }
    const TimeMs moment = momentIn(*film);
    if (!showDue(*film, moment)) return;
    publish(moment);
    // A slot of the signal may have gone elsewhere.
    if (state_ != State::Playing || deck_.film() != film || target_ || !clock_.isRunning()) return;
    if (isExhausted(*film, moment)) {
        if (!isSeeking_) playNext();
        return;
    }
    prepareNext(moment);
    const Film::Picture* front = film->front();
    tickIn(front ? recording_->start + front->begin - moment : longestTick);
}

/// Not beyond what this film is to show, so that the next one begins where it has stopped.
TimeMs RecordingPlayer::momentIn(const Film& film) const {
    TimeMs moment = clock_.moment();
    if (film.isAtEnd()) moment = std::min(moment, endOf(film));
    if (next_) moment = std::min(moment, recording_->end);
    return std::max(moment, position_.load());
}

/// False when there is nothing to go on with for now.
bool RecordingPlayer::showDue(Film& film, TimeMs moment) {
    std::optional<Film::Picture> due;
    while (film.front() && recording_->start + film.front()->begin <= moment) due = film.take();
    if (due) show(*due);
    if (film.front() || film.isAtEnd() || moment < shownEnd_ + stallNotice) return true;
    if (film.fault() != MediaFault::None) {
        fail(textOf(film.fault()), statusOf(film.fault()));
    } else {
        haltClock();
        publish(std::max(position_.load(), shownEnd_));
    }
    return false;
}

bool RecordingPlayer::isExhausted(Film& film, TimeMs moment) {
    if (next_ && moment >= recording_->end) return true;
    return film.isAtEnd() && moment >= endOf(film);
}

/// A last picture that claims to last counts no longer than the recording, or than it has been shown.
TimeMs RecordingPlayer::endOf(const Film& film) const {
    const TimeMs told = recording_->start + film.end().value_or(0);
    return std::min(told, std::max({recording_->end, framePosition() + longestLast, position_.load()}));
}

void RecordingPlayer::tickIn(TimeMs delay) {
    scheduler_.cancel(timer_);
    const std::chrono::milliseconds bounded(std::clamp<TimeMs>(delay, 1, longestTick));
    timer_ = scheduler_.after(bounded, life_.guard([this] { tick(); }));
}

void RecordingPlayer::startClock(TimeMs moment) {
    clock_.start(moment);
    if (!sound_) return;
    const auto& film = deck_.film();
    sound_->play(film ? film->sound() : nullptr, recording_ ? clock_.timeOf(recording_->start) : clock_.timeOf(0));
}

void RecordingPlayer::haltClock() {
    scheduler_.cancel(timer_);
    clock_.halt();
    if (sound_) sound_->stop();
}

void RecordingPlayer::prepareNext(TimeMs moment) {
    if (isNextAsked_ || isSeeking_ || moment + aheadOfEnd < recording_->end) return;
    isNextAsked_ = true;
    lookup_->find(recording_->end + 1, [this](const RecordingCatalog::Answer& answer, std::int32_t status) {
        if (status != 0 || answer.kind == RecordingCatalog::Kind::Unknown) return;
        next_ = Next{answer.recording, answer.position};
        deck_.prepare(answer.recording, answer.position);
    });
}

/// Goes on after the film, or after the recording where its film goes on.
void RecordingPlayer::playNext() {
    const Recording recording = *recording_;
    const Film& film = *deck_.film();
    TimeMs reached = recording.end;
    if (film.isAtEnd() && film.end()) {
        const TimeMs end = recording.start + *film.end();
        if (end <= recording.end) lookup_->shorten(recording, end);
        // Another recording may have what this one lacks.
        if (end + unnoticedGap < recording.end) next_.reset();
        reached = std::max(end - 1, std::min(position_.load(), recording.end));
    }
    // Time must not go back, whatever the service and the film say.
    const TimeMs from = std::max(reached, position_.load()) + 1;
    const auto next = std::exchange(next_, std::nullopt);
    const bool isGap = next && next->position - from > unnoticedGap;
    if (!next || (isGap && bound_ && next->position > *bound_)) return look(from, Then::Play, bound_);
    playOn(*next, from);
}

void RecordingPlayer::playOn(const Next& next, TimeMs from) {
    haltClock();
    isNextAsked_ = false;
    then_ = Then::Play;
    lookBound_ = bound_;
    isNewest_ = false;
    const bool isGap = next.position - from > unnoticedGap;
    load(next.recording, next.position);
    if (isGap) emit gapSkipped(from, next.position);
}

void RecordingPlayer::scrubTo(TimeMs moment) {
    if (!lookup_ || moment < 0) return;
    if (!scrub_) {
        leave();
        lookup_->cancel();
    }
    scrub_ = moment;
    if (!isScrubAsked_) lookForScrub();
}

void RecordingPlayer::lookForScrub() {
    isScrubAsked_ = true;
    lookup_->find(*scrub_, [this, moment = *scrub_](const RecordingCatalog::Answer& answer, std::int32_t status) {
        isScrubAsked_ = false;
        if (!scrub_) return;
        if (status == 0 && answer.kind == RecordingCatalog::Kind::Inside) glimpse(answer, moment);
        if (*scrub_ != moment) lookForScrub();
    });
}

void RecordingPlayer::glimpse(const RecordingCatalog::Answer& answer, TimeMs moment) {
    recording_ = answer.recording;
    deck_.play(answer.recording, moment, Film::Seek::Glimpse);
}

void RecordingPlayer::endScrub() {
    if (scrub_) seekOnMain_(*scrub_);
}

void RecordingPlayer::show(const Film::Picture& picture) {
    shownEnd_ = recording_->start + picture.end;
    if (!picture.image.isNull()) sink_.show(picture.image, recording_->start + picture.begin);
}

void RecordingPlayer::resume() {
    if (state_ == State::Opening) {
        then_ = Then::Play;
    } else if (state_ == State::Paused && isAtBound_) {
        look(position_, Then::Play, bound_);
    } else if (state_ == State::Paused) {
        setState(State::Playing);
        tick();
    } else if (state_ == State::Ended || (state_ == State::Failed && isAfterNewest_)) {
        openNewest(Then::Play);
    } else if (state_ == State::Failed) {
        open(position_, Then::Play);
    }
}

void RecordingPlayer::pause() {
    if (state_ == State::Opening) {
        then_ = Then::Pause;
    } else if (state_ == State::Playing) {
        haltClock();
        setState(State::Paused);
    }
}

void RecordingPlayer::stop() {
    if (lookup_) lookup_->cancel();
    leave();
    recording_.reset();
    deck_.clear();
    setState(State::Idle);
    sink_.clear();
    publish(-1);
}

void RecordingPlayer::setMuted(bool muted) {
    if (muted == std::exchange(isMuted_, muted)) return;
    if (sound_) sound_->setMuted(muted);
    emit mutedChanged();
}

void RecordingPlayer::fail(const QString& text, std::int32_t status) {
    // The recording may be gone, so the next look-up asks the service again.
    if (lookup_) lookup_->forget();
    const bool isAfterNewest = isAfterNewest_;
    leave();
    isAfterNewest_ = isAfterNewest;
    recording_.reset();
    deck_.clear();
    setState(State::Failed);
    emit failed(text, status);
}

void RecordingPlayer::setState(State state) {
    if (state_ == state) return;
    state_ = state;
    emit stateChanged();
}

void RecordingPlayer::publish(TimeMs position) {
    if (position_.exchange(position) != position) emit positionChanged(position);
}

}  // namespace korvane
