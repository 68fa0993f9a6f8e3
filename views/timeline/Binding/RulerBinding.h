#pragma once

#include <QPointer>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/Binding/HostLink.h"
#include "korvane/views/timeline/Model/Ruler/RulerRange.h"
#include "korvane/views/timeline/Model/Ruler/RulerSectors.h"
#include "korvane/views/timeline/Model/Ruler/RulerUpdates.h"
#include "korvane/views/timeline/Model/Ruler/RulerUpdatesHost.h"
#include "korvane/views/timeline/Model/Ruler/RulerWindow.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderDelegate.h"
#include "korvane/views/timeline/TimelineViewDelegate.h"

namespace korvane {

class KorvaneCamera;
class KorvanePlayer;
class TimelineSlider;
class TimelineView;

/// What stands between a time ruler's axis, its player and its source: it turns what the axis wants into requests,
/// milliseconds into seconds, and gestures into seeks. Main thread only, except for what the threads call.
class RulerBinding final : public TimelineSliderDelegate, public RulerUpdatesHost {
  public:
    /// `view` outlives it.
    explicit RulerBinding(TimelineView& view);

    HostLink<TimelineViewDelegate>& host() { return host_; }
    const std::shared_ptr<RulerSectors>& sectors() const { return sectors_; }
    RulerUpdates& updates() { return updates_; }

    /// Null lets go of it. Only while the updates are stopped.
    void setSlider(TimelineSlider* slider);
    /// What the host hears of it; nothing for none, which it hears as the last one.
    void setRange(const std::optional<RulerRange>& range);
    /// Whether the axis is painted anew for what is known of a sector.
    void setShowsSectorStates(bool shows) { showsSectorStates_ = shows; }
    /// Fetches what is in view anew, and forgets the rest.
    void refresh();
    std::shared_ptr<KorvanePlayer> player() const;
    std::shared_ptr<KorvaneCamera> camera() const;
    /// Only while the updates are stopped.
    void setPlayer(std::shared_ptr<KorvanePlayer> player);
    void setCamera(std::shared_ptr<KorvaneCamera> camera);

    // What the axis wants.
    void updateTimeline(TimeSec start, TimeSec end) override;
    void makePositionVisible(TimeSec time, float position) override;
    void startPositionChanging(TimeSec time, float position) override;
    void continuePositionChanging(TimeSec time, float position) override;
    void endPositionChanging(TimeSec time, float position) override;
    void sliderGoes() override;

    // What the threads want.
    std::shared_ptr<const Timeline> fetch(TimeMs start, TimeMs end) override;
    void breakOffFetch() override;
    void timelineReload() override;
    void sectorStateChanged() override;
    std::optional<TimeMs> playerPosition() override;
    void positionChanged(TimeMs position) override;
    void showPosition(TimeSec position) override;

  private:
    void showKnob(TimeSec time);
    void refreshPresent();
    RulerWindow window() const;

    TimelineView& view_;
    HostLink<TimelineViewDelegate> host_;
    const std::shared_ptr<RulerSectors> sectors_;
    TimelineSlider* slider_ = nullptr;
    std::pair<TimeSec, TimeSec> demandedIn_{};  // borders of the view at the last demand
    std::atomic<bool> showsSectorStates_ = false;
    mutable std::mutex mutex_;  // a leaf, guards what follows
    std::shared_ptr<KorvanePlayer> player_;
    std::shared_ptr<KorvaneCamera> curcam_;
    std::shared_ptr<KorvaneCamera> asked_;  // by the fetch under way
    RulerRange range_;
    bool isRangeSet_ = false;
    RulerUpdates updates_;  // last: its threads use all of the above
};

}  // namespace korvane
