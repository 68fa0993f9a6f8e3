#pragma once

#include <QtQml/qqmlregistration.h>
#include <QMediaPlayer>
#include <QObject>
#include <QString>
#include <QVideoSink>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "korvane/apps/browser/RecordingLookup.h"
#include "korvane/base/LifeToken.h"
#include "korvane/client/KorvanePlayer.h"

class QAudioOutput;

namespace korvane {

/// Plays what a camera has recorded from a moment on, from one file to the next. It skips
/// times without recordings. Main thread only, except for the operations of KorvanePlayer.
class RecordingPlayer : public QObject, public KorvanePlayer {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the application")
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    Q_PROPERTY(bool muted READ isMuted WRITE setMuted NOTIFY mutedChanged)
    Q_PROPERTY(bool hasSound READ hasSound CONSTANT)
    Q_PROPERTY(QVideoSink* sink READ sink CONSTANT)

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
    RecordingPlayer(Scheduler& scheduler, const KorvaneHelpers& helpers, QObject* parent = nullptr);
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

    State state() const { return state_; }
    /// False where there is no sound device: then the player is silent.
    bool hasSound() const { return audio_ != nullptr; }
    bool isMuted() const;
    void setMuted(bool muted);
    QVideoSink* sink() const { return sink_; }

    /// Any thread. During a seek this is already the target.
    TimeMs getPosition() const override { return position_; }
    void setPosition(TimeMs position) override;
    std::shared_ptr<KorvaneCamera> getSource() const override;

  signals:
    void stateChanged();
    void mutedChanged();
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
    void goTo(TimeMs moment);
    void seekBefore(TimeMs moment);
    void look(TimeMs moment, Then then, std::optional<TimeMs> bound = {});
    void load(const Recording& recording, TimeMs position);
    bool isHeld() const;
    void arrive();
    void onMediaStatus(QMediaPlayer::MediaStatus status);
    void onMediaPosition(qint64 position);
    void onMediaError(QMediaPlayer::Error error);
    void playNext();
    void fail(const QString& text, std::int32_t status);
    void setState(State state);
    void publish(TimeMs position);

    Scheduler& scheduler_;
    const KorvaneHelpers& helpers_;
    QVideoSink* sink_ = nullptr;
    QAudioOutput* audio_ = nullptr;
    QMediaPlayer* media_ = nullptr;
    std::unique_ptr<RecordingLookup> lookup_;
    mutable std::mutex cameraMutex_;
    std::shared_ptr<KorvaneCamera> camera_;
    State state_ = State::Idle;
    std::atomic<TimeMs> position_ = -1;
    std::optional<Recording> recording_;
    // The moment in recording_ to seek to once its file is open.
    std::optional<TimeMs> target_;
    std::optional<TimeMs> bound_;
    Then then_ = Then::Play;      // what follows State::Opening
    bool isSeeking_ = false;      // a seek is being looked up; meanwhile all goes on as it was
    bool isAfterNewest_ = false;  // the newest recording is being looked up
    QMediaPlayer::Error loadError_ = QMediaPlayer::NoError;
    std::function<void(TimeMs)> seekOnMain_;
    LifeToken life_;
};

}  // namespace korvane
