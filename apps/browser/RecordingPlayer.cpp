#include "korvane/apps/browser/RecordingPlayer.h"

#include <QAudioDevice>
#include <QAudioOutput>
#include <QMediaDevices>
#include <QUrl>
#include <algorithm>
#include <utility>

namespace korvane {

namespace {

// A file counts as ended when its last frame begins, and clocks drift a little: shorter gaps are ignored.
constexpr TimeMs unnoticedGap = 2'000;
constexpr TimeMs newestStretch = 10'000;
constexpr TimeMs noWayBack = 10'000;  // a step back that ends nearer than this has led nowhere

QString textOf(QMediaPlayer::Error error) {
    switch (error) {
        case QMediaPlayer::FormatError:
            return QStringLiteral("This recording cannot be decoded");
        case QMediaPlayer::NetworkError:
            return QStringLiteral("The service does not answer");
        case QMediaPlayer::AccessDeniedError:
            return QStringLiteral("The service refuses this recording");
        default:
            return QStringLiteral("This recording cannot be opened");
    }
}

}  // namespace

RecordingPlayer::RecordingPlayer(Scheduler& scheduler, const KorvaneHelpers& helpers, QObject* parent)
    : QObject(parent), scheduler_(scheduler), helpers_(helpers) {
    sink_ = new QVideoSink(this);
    media_ = new QMediaPlayer(this);
    media_->setVideoSink(sink_);
    // The media backend cannot use an output without a device.
    if (!QMediaDevices::audioOutputs().isEmpty()) {
        audio_ = new QAudioOutput(this);
        media_->setAudioOutput(audio_);
        connect(audio_, &QAudioOutput::mutedChanged, this, &RecordingPlayer::mutedChanged);
    }
    connect(media_, &QMediaPlayer::mediaStatusChanged, this, &RecordingPlayer::onMediaStatus);
    connect(media_, &QMediaPlayer::positionChanged, this, &RecordingPlayer::onMediaPosition);
    connect(media_, &QMediaPlayer::errorOccurred, this, &RecordingPlayer::onMediaError);
    seekOnMain_ = life_.guard([this](TimeMs position) { open(position, isHeld() ? Then::Pause : Then::Play); });
}

RecordingPlayer::~RecordingPlayer() {
    media_->disconnect(this);
    media_->stop();
}

void RecordingPlayer::setCamera(const std::shared_ptr<KorvaneCamera>& camera) {
    stop();
    lookup_ = camera ? std::make_unique<RecordingLookup>(scheduler_, helpers_, camera) : nullptr;
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
            if (media_->mediaStatus() == QMediaPlayer::EndOfMedia) onMediaStatus(QMediaPlayer::EndOfMedia);
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

void RecordingPlayer::openNewest(Then then) {
    if (!lookup_) return;
    isSeeking_ = false;
    media_->pause();
    then_ = then;
    isAfterNewest_ = true;
    setState(State::Opening);
    lookup_->findNewest([this](const RecordingCatalog::Answer& answer, std::int32_t status) {
        if (status != 0) return fail(tr("The service does not answer"), status);
        isAfterNewest_ = false;
        if (answer.kind == RecordingCatalog::Kind::Unknown) return stop();
        load(answer.recording, std::max(answer.recording.start, answer.recording.end - newestStretch));
    });
}

void RecordingPlayer::look(TimeMs moment, Then then, std::optional<TimeMs> bound) {
    isSeeking_ = false;
    media_->pause();
    then_ = then;
    isAfterNewest_ = false;
    setState(State::Opening);
    publish(moment);
    lookup_->find(moment, [this, moment, bound](const RecordingCatalog::Answer& answer, std::int32_t status) {
        if (status != 0) return fail(tr("The service does not answer"), status);
        if (answer.kind == RecordingCatalog::Kind::Unknown) return setState(State::Ended);
        const bool isGap = answer.kind == RecordingCatalog::Kind::Gap && answer.position - moment > unnoticedGap;
        if (isGap && bound && answer.position > *bound) {
            setState(State::Paused);
            emit boundReached();
            return;
        }
        load(answer.recording, answer.position);
        if (isGap) emit gapSkipped(moment, answer.position);
    });
}

void RecordingPlayer::load(const Recording& recording, TimeMs position) {
    const bool isLoaded = recording_ && recording_->id == recording.id && recording_->url == recording.url &&
                          media_->mediaStatus() != QMediaPlayer::InvalidMedia &&
                          media_->mediaStatus() != QMediaPlayer::NoMedia;
    // While the source changes, the media player still reports on the old one, and may report an error of the new one.
    target_.reset();
    recording_.reset();
    loadError_ = QMediaPlayer::NoError;
    setState(State::Opening);
    if (!isLoaded) media_->setSource(QUrl(QString::fromStdString(recording.url)));
    recording_ = recording;
    target_ = position;
    publish(position);
    if (loadError_ != QMediaPlayer::NoError)
        onMediaError(loadError_);
    else
        onMediaStatus(media_->mediaStatus());
}

void RecordingPlayer::arrive() {
    const TimeMs target = *std::exchange(target_, std::nullopt);
    media_->setPosition(std::max<TimeMs>(0, target - recording_->start));
    if (then_ == Then::Play)
        media_->play();
    else
        media_->pause();
    setState(then_ == Then::Play ? State::Playing : State::Paused);
    publish(target);
}

void RecordingPlayer::resume() {
    if (state_ == State::Opening) {
        then_ = Then::Play;
    } else if (state_ == State::Paused && position_ > recording_->end) {
        playNext();  // it has stopped at its bound
    } else if (state_ == State::Paused) {
        media_->play();
        setState(State::Playing);
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
        media_->pause();
        setState(State::Paused);
    }
}

void RecordingPlayer::stop() {
    if (lookup_) lookup_->cancel();
    isSeeking_ = false;
    recording_.reset();
    target_.reset();
    setState(State::Idle);
    media_->stop();
    media_->setSource({});
    publish(-1);
}

bool RecordingPlayer::isMuted() const {
    return audio_ && audio_->isMuted();
}

void RecordingPlayer::setMuted(bool muted) {
    if (audio_) audio_->setMuted(muted);
}

void RecordingPlayer::onMediaStatus(QMediaPlayer::MediaStatus status) {
    if (!recording_) return;
    if (target_) {
        const bool isLoading = status == QMediaPlayer::LoadingMedia || status == QMediaPlayer::NoMedia;
        if (!isLoading) arrive();
        return;
    }
    if (status == QMediaPlayer::EndOfMedia && state_ == State::Playing && !isSeeking_) playNext();
}

void RecordingPlayer::onMediaPosition(qint64 position) {
    const bool isUnderWay = state_ == State::Playing || state_ == State::Paused;
    if (!isUnderWay || !recording_ || target_) return;
    // At the end of a file the media player reports position 0 before it reports the end; a seek publishes its target
    // itself.
    publish(std::clamp<TimeMs>(recording_->start + position, position_, std::max<TimeMs>(position_, recording_->end)));
}

void RecordingPlayer::onMediaError(QMediaPlayer::Error error) {
    if (!recording_) loadError_ = error;
    if (recording_ && error != QMediaPlayer::NoError) fail(textOf(error), 0);
}

void RecordingPlayer::playNext() {
    // The service and the file may disagree about the file's end, but time must not go back.
    look(std::max(recording_->end, position_.load()) + 1, Then::Play, bound_);
}

void RecordingPlayer::fail(const QString& text, std::int32_t status) {
    // The recording may be gone, so the next look-up asks the service again.
    if (lookup_) lookup_->forget();
    recording_.reset();
    target_.reset();
    media_->stop();
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
