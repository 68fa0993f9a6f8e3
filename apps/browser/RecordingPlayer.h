#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "korvane/apps/browser/FilmDeck.h"
#include "korvane/apps/browser/PictureSink.h"
#include "korvane/apps/browser/PlaybackClock.h"
#include "korvane/apps/browser/RecordingLookup.h"
#include "korvane/apps/browser/SoundOutput.h"
#include "korvane/base/LifeToken.h"
#include "korvane/client/KorvanePlayer.h"

namespace korvane {

/// Plays what a camera has recorded from a moment on, from one film to the next without a pause. It skips times without
/// recordings, and shows no moment twice where recordings overlap. A film that ends earlier than the service has told
/// counts as recorded until there. Nothing that a service does or leaves holds the main thread up.
/// Main thread only, except for the operations of KorvanePlayer.
class RecordingPlayer : public QObject, public KorvanePlayer {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the application")
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    Q_PROPERTY(bool muted READ isMuted WRITE setMuted NOTIFY mutedChanged)
    Q_PROPERTY(bool hasSound READ hasSound NOTIFY hasSoundChanged)
    Q_PROPERTY(qint64 framePosition READ framePosition NOTIFY framePositionChanged)
    Q_PROPERTY(korvane::PictureSink* sink READ sink CONSTANT)

  public:
    enum class State {
        /// Nothing to play.
        Idle,
        /// On the way to a moment.
        Opening,
        Playing,
        Paused,
        /// The newest recording has been played to its end.
        Ended,
        /// See `failed`.
        Failed,
    };
    Q_ENUM(State)

    enum class Then { Play, Pause };

    /// `scheduler` and `helpers` outlive the player, and the service of each camera that it is given.
    RecordingPlayer(Scheduler& scheduler, const KorvaneHelpers& helpers, QObject* parent = nullptr,
                    const MediaOptions& options = {});
    ~RecordingPlayer() override;

    /// Stops; null for none.
    void setCamera(const std::shared_ptr<KorvaneCamera>& camera);

    /// Goes to a moment (ms, 0 and up), or to the next one that was recorded. From now on it is the position.
    void open(TimeMs moment, Then then);
    /// As setPosition(), where there is something to go to: into a gap it goes on to what was recorded next, and when
    /// that leads nowhere on the way back, to the end of what was recorded before. With nothing recorded from `moment`
    /// (ms, 0 for the begin of all) on, it stays where it is and tells of that.
    void seek(TimeMs moment);
    /// Playing pauses instead of skipping to a recording that begins after `bound` (ms). Absent for no bound.
    void setBound(std::optional<TimeMs> bound) { bound_ = bound; }
    /// Goes to the last seconds that were recorded.
    void openNewest(Then then);
    /// Plays on. At the end of all recordings it repeats the last seconds; after a failure it tries again from there.
    Q_INVOKABLE void resume();
    Q_INVOKABLE void pause();
    void stop();

    /// Shows the moment (ms) under a finger that drags: its key frame as soon as that is decoded, where that is nearer
    /// than what is shown, then its picture, and never one of an older wish after one of a newer. Where nothing was
    /// recorded, the last picture stays. State and position stay too, and playing rests, until endScrub() or whatever
    /// goes to a moment.
    void scrubTo(TimeMs moment);
    bool isScrubbing() const { return scrub_.has_value(); }
    /// Opens the last moment of scrubTo(), and plays on if it played. Nothing without one.
    void endScrub();

    /// What is known of where recordings lie may be out of date. What plays goes on.
    void forgetRecordings() {
        if (lookup_) lookup_->forget();
    }

    State state() const { return state_; }
    /// False where there is no sound device, or while it is looked for: then the player is silent.
    bool hasSound() const { return sound_ && sound_->hasDevice(); }
    bool isMuted() const { return isMuted_; }
    void setMuted(bool muted);
    PictureSink* sink() { return &sink_; }
    /// When the picture that is shown was recorded, ms; -1 without a picture.
    TimeMs framePosition() const { return sink_.position(); }

    /// Any thread. During a seek this is already the target.
    TimeMs getPosition() const override { return position_; }
    void setPosition(TimeMs position) override;
    std::shared_ptr<KorvaneCamera> getSource() const override;

  signals:
    void stateChanged();
    void mutedChanged();
    void hasSoundChanged();
    void framePositionChanged();
    /// ms, or -1 for none.
    void positionChanged(qint64 position);
    /// Nothing was recorded between the two moments, ms.
    void gapSkipped(qint64 from, qint64 to);
    /// A seek has found its moment and is about to go there.
    void seeking();
    /// A seek has led nowhere.
    void nothingFound();
    /// Paused, since what comes next begins after the bound.
    void boundReached();
    /// A sentence, and the service's status or 0.
    void failed(const QString& text, int status);

  private:
    // What follows the recording that plays; its film is opened ahead.
    struct Next {
        Recording recording;
        TimeMs position = 0;
    };

    void goTo(TimeMs moment);
    void seekBefore(TimeMs moment);
    void look(TimeMs moment, Then then, std::optional<TimeMs> bound = {});
    void load(const Recording& recording, TimeMs position);
    void leave();
    bool isHeld() const;
    void onNews();
    void arrive();
    void onBeyondEnd(TimeMs end);
    void tick();
    TimeMs momentIn(const Film& film) const;
    bool showDue(Film& film, TimeMs moment);
    bool isExhausted(Film& film, TimeMs moment);
    TimeMs endOf(const Film& film) const;
    void tickIn(TimeMs delay);
    void startClock(TimeMs moment);
    void haltClock();
    void prepareNext(TimeMs moment);
    void playNext();
    void playOn(const Next& next, TimeMs from);
    void lookForScrub();
    void glimpse(const RecordingCatalog::Answer& answer, TimeMs moment);
    bool isNearer(const Film::Picture& picture) const;
    void show(const Film::Picture& picture);
    void fail(const QString& text, std::int32_t status);
    void setState(State state);
    void publish(TimeMs position);

    Scheduler& scheduler_;
    const KorvaneHelpers& helpers_;
    PictureSink sink_;
    std::unique_ptr<SoundOutput> sound_;  // looked for with the first camera
    bool isMuted_ = false;
    std::unique_ptr<RecordingLookup> lookup_;
    mutable std::mutex cameraMutex_;
    std::shared_ptr<KorvaneCamera> camera_;
    State state_ = State::Idle;
    std::atomic<TimeMs> position_ = -1;
    PlaybackClock clock_;
    Scheduler::TimerId timer_ = 0;
    std::optional<Recording> recording_;
    // The moment in recording_ whose picture is awaited.
    std::optional<TimeMs> target_;
    TimeMs shownEnd_ = 0;  // of the picture that is shown
    std::optional<Next> next_;
    bool isNextAsked_ = false;
    std::optional<TimeMs> bound_;
    std::optional<TimeMs> lookBound_;  // of the look-up that led here
    std::optional<TimeMs> scrub_;
    bool isScrubAsked_ = false;
    Then then_ = Then::Play;      // what follows State::Opening
    bool isSeeking_ = false;      // a seek is being looked up; meanwhile all goes on as it was
    bool isAfterNewest_ = false;  // the newest recording is being looked up
    bool isNewest_ = false;       // the target is the end of all recordings
    bool isAtBound_ = false;
    int emptyFilms_ = 0;  // in a row
    std::function<void(TimeMs)> seekOnMain_;
    LifeToken life_;
    // Behind the token, of which it holds a share.
    FilmDeck deck_;
};

}  // namespace korvane
