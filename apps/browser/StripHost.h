#pragma once

#include <QObject>
#include <QPointer>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "korvane/base/LifeToken.h"
#include "korvane/base/Scheduler.h"
#include "korvane/client/KorvaneHelpers.h"
#include "korvane/client/KorvanePlayer.h"
#include "korvane/views/timeline/ScrubberView.h"

namespace korvane {

/// Hosts the event strip: its settings, its callbacks as signals on the main thread, and the player's position for the
/// cell that plays. Main thread only.
class StripHost : public QObject {
    Q_OBJECT

  public:
    using Event = std::shared_ptr<ScrubberEvent>;

    /// All outlive the host, and an attached strip does not outlive it.
    StripHost(Scheduler& scheduler, KorvanePlayer& player, const KorvaneHelpers& helpers, QObject* parent = nullptr);

    /// Takes a strip over; it lives elsewhere.
    void attach(ScrubberView* view);

    /// Takes effect with the next open().
    void showRecordings(bool areRecordings);
    /// Takes effect at once; what is selected goes on as the group that it is in, or as one of the group's events.
    void group(bool isGrouping);
    bool hasRecordings() const { return hasRecordings_; }
    bool isGrouping() const { return isGrouping_; }
    /// When an entry has played to its end, the next one follows. Takes effect at once.
    void playOn(bool isPlayingOn) { isPlayingOn_ = isPlayingOn; }
    bool isPlayingOn() const { return isPlayingOn_; }

    /// Shows the camera of a token at the live end, or selects the last entry that has begun at a moment (ms, above 0).
    /// A Status; -1 without a strip.
    std::int32_t open(const QString& token, TimeMs moment = -1);
    /// That moment, while the entry for it is still looked for.
    std::optional<TimeMs> wanted() const { return wanted_; }

    /// Entries in the list, without head and live entry.
    std::int64_t count() const;
    /// The list is there, and not empty.
    bool isReady() const;
    /// Null for an index outside of the list.
    Event entry(std::int64_t index) const;
    /// Absent between two entries.
    std::optional<std::int64_t> indexUnderMark() const;
    /// An entry's own moment, ms: a drag writes another one into timeAsValue. -1 for an entry that has none (yet).
    TimeMs momentOf(const ScrubberEvent& event) const;

    ScrubberView* view() const { return view_; }

  signals:
    /// The entry under the mark; null when it has left the list. One that was selected while it loaded is told once
    /// more when it has come.
    void selected(const std::shared_ptr<korvane::ScrubberEvent>& event);
    /// Another entry stands for what is selected, and the player goes on.
    void renewed(const std::shared_ptr<korvane::ScrubberEvent>& event);
    /// The finger moves the strip; ms, the moment under the mark.
    void flownOver(qint64 time, const QString& zone);
    void flyOverEnded();
    /// The finger has moved the player within the entry that plays.
    void sought();
    void playFinished(const std::shared_ptr<korvane::ScrubberEvent>& event);
    /// A ScrubberState and a Status.
    void stateChanged(int state, int status);
    /// ms
    void tokenWillExpire(qint64 timeLeft);

  private:
    void fill(ScrubberViewDelegate& delegate);
    void fillPlayback(ScrubberViewDelegate& delegate);
    void onState(int state, int status);
    void onSelected(const Event& event);
    void setSelected(const Event& event);
    void renewSelection();
    Event inList(const Event& event) const;
    void onFlownOver(const Event& event);

    Scheduler& scheduler_;
    KorvanePlayer& player_;
    const KorvaneHelpers& helpers_;
    QPointer<ScrubberView> view_;
    const std::shared_ptr<ScrubberViewDelegate> delegate_;
    bool hasRecordings_ = false;
    bool isGrouping_ = false;
    std::atomic<bool> isPlayingOn_ = false;
    int state_ = ScrubberStateReady;
    std::optional<TimeMs> wanted_;  // where the strip is to go after a load
    Event selected_;
    bool isSelectionPending_ = false;           // selected_ was still loading when it was selected
    std::atomic<std::int64_t> selectedId_ = 0;  // of selected_; 0 for none, as at the live end
    LifeToken life_;
};

}  // namespace korvane
