#pragma once

#include <QObject>
#include <QPointer>
#include <cstdint>
#include <memory>

#include "base/LifeToken.h"
#include "base/Scheduler.h"
#include "client/KorvanePlayer.h"
#include "views/timeline/ScrubberView.h"

namespace korvane {

/// Hosts the event strip: its settings, its callbacks as signals on the main thread, and the player's position for the
/// cell that plays. Main thread only.
class StripHost : public QObject {
    Q_OBJECT

  public:
    /// Both outlive the host; the strip does not outlive the player.
    StripHost(Scheduler& scheduler, KorvanePlayer& player, QObject* parent = nullptr);

    /// Takes a strip over; it lives elsewhere.
    void attach(ScrubberView* view);

    /// Shows the camera of a token, at the live end. A Status; -1 without a strip.
    std::int32_t open(const QString& token);

    /// Events in the list, without head and live entry.
    std::int64_t eventCount() const;

    ScrubberView* view() const { return view_; }

  signals:
    /// The entry under the mark; null when it has left the list.
    void selected(const std::shared_ptr<korvane::ScrubberEvent>& event);
    /// The finger moves the strip; ms, the moment under the mark.
    void flownOver(qint64 time, const QString& zone);
    void flyOverEnded();
    /// A ScrubberState and a Status.
    void stateChanged(int state, int status);
    /// ms
    void tokenWillExpire(qint64 timeLeft);

  private:
    std::shared_ptr<ScrubberEvent> eventUnderMark() const;
    void fill(ScrubberViewDelegate& delegate);

    Scheduler& scheduler_;
    KorvanePlayer& player_;
    QPointer<ScrubberView> view_;
    const std::shared_ptr<ScrubberViewDelegate> delegate_;
    LifeToken life_;
};

}  // namespace korvane
