#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <atomic>

namespace korvane {

/// What a QML host tells of its player, so that cells can follow it: the answers to the questions of playback that a
/// ScrubberViewDelegate would answer, and used where none does. Times are ms, UTC. Set on the main thread, read on any.
///
///     ScrubberView {
///         playback.position: player.position
///         playback.nextEventFollows: true
///         config.continuousEventPlaying: true
///         onScrubberSetCurrentPositionForPlayingEvent: (event, newPosition) => player.seek(newPosition)
///     }
class ScrubberViewPlayback : public QObject {
    Q_OBJECT
    QML_ANONYMOUS
    /// Where the player stands; -1 while it plays nothing.
    Q_PROPERTY(qint64 position READ position WRITE setPosition NOTIFY positionChanged)
    /// Narrows what is played of an event; -1, as it is at first, leaves that end to the event.
    Q_PROPERTY(qint64 rangeStart READ rangeStart WRITE setRangeStart NOTIFY rangeChanged)
    Q_PROPERTY(qint64 rangeEnd READ rangeEnd WRITE setRangeEnd NOTIFY rangeChanged)
    /// The next event follows a finished one, when the setting continuousEventPlaying is on too.
    Q_PROPERTY(bool nextEventFollows READ nextEventFollows WRITE setNextEventFollows NOTIFY nextEventFollowsChanged)

  public:
    qint64 position() const { return position_; }
    void setPosition(qint64 position) {
        if (position_.exchange(position) != position) emit positionChanged();
    }
    qint64 rangeStart() const { return rangeStart_; }
    void setRangeStart(qint64 rangeStart) {
        if (rangeStart_.exchange(rangeStart) != rangeStart) emit rangeChanged();
    }
    qint64 rangeEnd() const { return rangeEnd_; }
    void setRangeEnd(qint64 rangeEnd) {
        if (rangeEnd_.exchange(rangeEnd) != rangeEnd) emit rangeChanged();
    }
    bool nextEventFollows() const { return nextEventFollows_; }
    void setNextEventFollows(bool nextEventFollows) {
        if (nextEventFollows_.exchange(nextEventFollows) != nextEventFollows) emit nextEventFollowsChanged();
    }

  signals:
    void positionChanged();
    void rangeChanged();
    void nextEventFollowsChanged();

  private:
    std::atomic<qint64> position_ = 0;  // as of a host that does not answer
    std::atomic<qint64> rangeStart_ = -1;
    std::atomic<qint64> rangeEnd_ = -1;
    std::atomic<bool> nextEventFollows_ = false;
};

}  // namespace korvane
