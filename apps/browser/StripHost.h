#pragma once

#include <atomic>
#include <cstdint>

#include "korvane/apps/browser/ScrubberHost.h"
#include "korvane/views/timeline/ScrubberView.h"

namespace korvane {

/// Hosts the event strip, which shows events or recordings. Main thread only.
class StripHost : public ScrubberHost {
    Q_OBJECT

  public:
    /// All outlive the host, and an attached strip does not outlive it.
    StripHost(Scheduler& scheduler, KorvanePlayer& player, const KorvaneHelpers& helpers, QObject* parent = nullptr);

    /// Takes a strip over; it lives elsewhere.
    void attach(ScrubberView* view) { take(view); }

    /// Takes effect with the next open().
    void showRecordings(bool areRecordings);
    /// Takes effect at once; what is selected goes on as the group that it is in, or as one of the group's events.
    void group(bool isGrouping);
    bool hasRecordings() const { return hasRecordings_; }
    bool isGrouping() const { return isGrouping_; }
    /// Takes effect at once.
    void playOn(bool isPlayingOn) { isPlayingOn_ = isPlayingOn; }

    bool isPlayingOn() const override { return isPlayingOn_; }
    /// Single events can be deleted; recordings and groups of events cannot.
    bool canDelete(const ScrubberEvent& event) const override;
    bool isAt(const Event& event, std::int64_t index) const override { return event && event == entry(index); }
    /// An entry's own moment: a drag writes another one into timeAsValue.
    TimeMs momentOf(const ScrubberEvent& event) const override;
    void toNext() override;
    void toPrevious() override;
    void toClosest(TimeMs moment) override;

    ScrubberView* view() const { return static_cast<ScrubberView*>(widget()); }

  protected:
    void adjust(ScrubberConfig& config) const override;
    void onSelected(const Event& event) override;
    void onPlayStarted(const Event& event) override;
    void onListChanged() override { renewSelection(); }
    void forgetList() override {
        setSelected(nullptr);
        isArrivalPending_ = false;
    }
    TimeMs positionIn(const Event& event) const override;

  private:
    using Told = void (ScrubberHost::*)(const Event& event);

    void setSelected(const Event& event);
    void tell(Told told, const Event& event);
    bool isAnswerTo(TimeMs moment, const Event& event) const;
    Event nearestTo(TimeMs moment, const Event& event) const;
    void renewSelection();
    Event inList(const Event& event) const;

    bool hasRecordings_ = false;
    bool isGrouping_ = false;
    std::atomic<bool> isPlayingOn_ = false;
    Event selected_;
    bool isArrivalPending_ = false;           // it was the answer to a wish
    bool isSelectionPending_ = false;         // selected_ was still loading when it was selected
    std::atomic<std::int64_t> followed_ = 0;  // the id of selected_ while the strip follows the player in it, or 0
};

}  // namespace korvane
