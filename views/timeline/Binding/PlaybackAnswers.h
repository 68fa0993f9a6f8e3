#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "korvane/views/timeline/Binding/HostLink.h"
#include "korvane/views/timeline/Presentation/PlaybackHost.h"
#include "korvane/views/timeline/ScrubberWidget.h"

namespace korvane {

/// Answers what playing cells ask: by the host's callbacks, and where it has none by its ScrubberViewPlayback; tells
/// QML by the widget's signals. Any thread.
class PlaybackAnswers final : public PlaybackHost {
  public:
    using WantsNext = std::function<void(const std::shared_ptr<ScrubberEvent>& finished)>;

    /// All outlive this. `wantsNext` runs on the main thread, while the widget lives, when the host wants the next
    /// entry after one that has finished.
    PlaybackAnswers(ScrubberWidget& widget, const HostLink<ScrubberViewDelegate>& host,
                    const ScrubberViewPlayback& playback, WantsNext wantsNext);

    void setScrolling(bool isScrolling) { isScrolling_ = isScrolling; }
    bool isScrolling() const override { return isScrolling_; }
    std::int32_t OnScrubberEventPlayStarted(const std::shared_ptr<ScrubberEvent>& event) override;
    std::int32_t OnScrubberEventPlayFinished(const std::shared_ptr<ScrubberEvent>& event) override;
    void OnScrubberGetRangeForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event, TimeMs* startRange,
                                           TimeMs* endRange) override;
    void OnScrubberSetCurrentPositionForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event,
                                                     TimeMs newPosition) override;
    TimeMs OnScrubberGetCurrentPositionForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event) override;

  private:
    ScrubberWidget& widget_;
    const HostLink<ScrubberViewDelegate>& host_;
    const ScrubberViewPlayback& playback_;
    const WantsNext wantsNext_;
    std::atomic<bool> isScrolling_ = false;
};

}  // namespace korvane
