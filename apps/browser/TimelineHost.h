#pragma once

#include <QString>
#include <atomic>
#include <cstdint>

#include "korvane/apps/browser/ScrubberHost.h"
#include "korvane/views/timeline/ScrubberTimelineView.h"

namespace korvane {

/// Hosts the timeline strip. Its entries are segments of recorded time, and the player goes from one to the next by
/// itself. Main thread only.
class TimelineHost : public ScrubberHost {
    Q_OBJECT

  public:
    /// All outlive the host, and an attached strip does not outlive it.
    TimelineHost(Scheduler& scheduler, KorvanePlayer& player, const KorvaneHelpers& helpers, QObject* parent = nullptr);

    /// Takes a strip over; it lives elsewhere.
    void attach(ScrubberTimelineView* view) { take(view); }

    /// The zone of the times on the strip. Takes effect with the next open().
    void setZone(const QString& zone) { zone_ = zone; }
    /// While the player is held at the end of a segment, the strip does not go on to the next one.
    void setHeld(bool isHeld) { isHeld_ = isHeld; }

    bool isPlayingOn() const override { return true; }
    bool canDelete(const ScrubberEvent& /*event*/) const override { return false; }
    bool isAt(const Event& event, std::int64_t index) const override;
    /// The moment that the hand has chosen in the segment, or its begin.
    TimeMs momentOf(const ScrubberEvent& event) const override;
    void toNext() override;
    void toPrevious() override;
    void toClosest(TimeMs moment) override;

    ScrubberTimelineView* view() const { return static_cast<ScrubberTimelineView*>(widget()); }

  protected:
    void adjust(ScrubberConfig& config) const override;
    void onSelected(const Event& event) override;
    void onPlayStarted(const Event& event) override;
    void onLoaded() override;
    TimeMs positionIn(const Event& event) const override;

  private:
    std::int64_t firstEndingAfter(TimeMs moment) const;
    TimeMs recordedNear(TimeMs moment) const;

    QString zone_;
    std::atomic<bool> isHeld_ = false;
};

}  // namespace korvane
