#pragma once

#include <QObject>
#include <QPointer>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "korvane/apps/browser/ClockStyle.h"
#include "korvane/apps/browser/Palette.h"
#include "korvane/base/LifeToken.h"
#include "korvane/base/Scheduler.h"
#include "korvane/client/KorvaneHelpers.h"
#include "korvane/client/KorvanePlayer.h"
#include "korvane/views/timeline/ScrubberWidget.h"

namespace korvane {

/// Hosts a scrubber: its settings, its callbacks as signals on the main thread, and the player's position for the cell
/// that plays. While it is closed it tells nothing. Main thread only.
class ScrubberHost : public QObject {
    Q_OBJECT

  public:
    using Event = std::shared_ptr<ScrubberEvent>;

    /// Shows the camera of a token at the live end, or at a moment (ms, above 0). A Status; -1 without a scrubber.
    std::int32_t open(const QString& token, TimeMs moment = -1);
    /// Loads the list anew; the strip stays where it is.
    void refresh();
    /// Empties the scrubber.
    void close();
    /// That moment, while the entry for it is still looked for.
    std::optional<TimeMs> wanted() const { return wanted_; }

    /// Entries in the list, without head and live entry.
    std::int64_t count() const;
    /// The same with each event of a group by itself.
    std::int64_t ungroupedCount() const;
    /// The list is there, and not empty; parts of it may be on their way.
    bool isReady() const;
    /// A finger has hold of the strip: what else would move it is to wait.
    bool isHeld() const;
    /// Null for an index outside of the list.
    Event entry(std::int64_t index) const;
    /// That entry is what the list has at the index. False for null.
    virtual bool isAt(const Event& event, std::int64_t index) const = 0;
    /// Absent between two entries.
    std::optional<std::int64_t> indexUnderMark() const;
    /// Where playing begins when the entry is selected, ms; -1 for an entry that has no moment (yet).
    virtual TimeMs momentOf(const ScrubberEvent& event) const = 0;

    /// When an entry has played to its end, the next one follows.
    virtual bool isPlayingOn() const = 0;
    virtual bool canDelete(const ScrubberEvent& event) const = 0;

    /// Each selects where it goes.
    void toFirst();
    void toLast();
    virtual void toNext() = 0;
    virtual void toPrevious() = 0;
    /// To the entry that holds the moment (ms), or else to the next one.
    virtual void toClosest(TimeMs moment) = 0;
    /// To an entry of the list, which is selected with `isSelected`.
    void toEntry(const Event& event, bool isSelected);

    /// Take effect at once.
    void setPalette(const Palette& palette);
    void setClockStyle(const ClockStyle& style);

    ScrubberWidget* widget() const { return widget_; }

  signals:
    /// The entry under the mark; null when it has left the list. One that was selected while it loaded is told once
    /// more when it has come.
    void selected(const std::shared_ptr<korvane::ScrubberEvent>& event);
    /// The scrubber has come to the moment that it was opened at.
    void arrived(const std::shared_ptr<korvane::ScrubberEvent>& event);
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

  protected:
    /// All outlive the host, and an attached scrubber does not outlive it.
    ScrubberHost(Scheduler& scheduler, KorvanePlayer& player, const KorvaneHelpers& helpers, QObject* parent);

    /// Takes a scrubber over; it lives elsewhere. Null for none.
    void take(ScrubberWidget* widget);
    /// The settings in which the scrubbers differ, over those of the theme.
    virtual void adjust(ScrubberConfig& config) const = 0;

    virtual void onSelected(const Event& event) = 0;
    virtual void onPlayStarted(const Event& event) = 0;
    /// A load has ended, and is told after this.
    virtual void onLoaded() {}
    /// The state has been told; entries may have come or changed.
    virtual void onListChanged() {}
    /// Nothing of the list before counts any more.
    virtual void forgetList() {}
    /// For the cell that plays; any thread.
    virtual TimeMs positionIn(const Event& event) const = 0;

    void tellFlownOver(const Event& event);
    /// As wanted(); nothing is looked for any more.
    std::optional<TimeMs> takeWanted() { return std::exchange(wanted_, std::nullopt); }

    const Palette& palette() const { return palette_; }
    const ClockStyle& clockStyle() const { return clockStyle_; }
    KorvanePlayer& player() const { return player_; }
    const KorvaneHelpers& helpers() const { return helpers_; }
    ScrubberViewDelegate& callbacks() { return *delegate_; }

    static bool isRecorded(const Event& event);

  private:
    void dress();
    void fill(ScrubberViewDelegate& delegate);
    void fillPlayback(ScrubberViewDelegate& delegate);
    void onState(int state, int status);

    Scheduler& scheduler_;
    KorvanePlayer& player_;
    const KorvaneHelpers& helpers_;
    QPointer<ScrubberWidget> widget_;
    const std::shared_ptr<ScrubberViewDelegate> delegate_;
    Palette palette_ = Palette::dark();
    ClockStyle clockStyle_;
    bool isOpen_ = false;
    bool hasList_ = false;  // since open()
    int state_ = ScrubberStateReady;
    std::optional<TimeMs> wanted_;
    LifeToken life_;
};

}  // namespace korvane
