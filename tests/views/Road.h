#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "korvane/base/Scheduler.h"
#include "korvane/tests/views/StripFixture.h"
#include "korvane/views/timeline/ScrubberView.h"

namespace korvane::test {

/// Where a road is walked: on virtual time or on real.
struct RoadGround {
    Scheduler& scheduler;
    /// Lets things happen until the condition holds; false when it never does.
    std::function<bool(const std::function<bool()>&)> until;
    /// A finger drags the strip by so many points, stops, and lets go.
    std::function<void(double)> drag;
};

/// The way of a host with an event strip, in the order in which a person goes it: bind, drag, play, seek, let the next
/// event follow, clean. Each step looks for what it has to bring about.
class Road {
  public:
    Road(ScrubberView& view, RoadGround ground);

    /// The strip loads and comes to rest at the live end, with the newest page filled.
    void bind(const std::string& token, std::int64_t events);
    /// The strip is dropped where nothing has been loaded yet, and the page comes.
    void lookAtAPageThatIsMissing();
    /// The strip is dropped on another event, which is selected and plays; then within that, which seeks.
    void dragToAnEvent();
    void seekWithinIt();
    /// The event plays to its end, and the next one after it.
    void letTheNextFollow();
    void clean();

    std::int64_t underMark() const { return view_.getIndexPathFromPointer().value_or(-1); }
    bool until(const std::function<bool()>& condition) const { return ground_.until(condition); }

  private:
    /// What the cell's thread has asked for last.
    struct Poll {
        int number = 0;
        TimeMs position = 0;
    };

    void play(TimeMs from);
    TimeMs position();
    Poll lastPoll();
    void expectMarkFollows(std::int64_t index);
    std::size_t heard(const std::string& line) const { return host_.count(line); }
    static std::string idOf(const std::shared_ptr<ScrubberEvent>& event);

    ScrubberView& view_;
    const RoadGround ground_;
    RecordingHost host_;
    std::mutex mutex_;  // the player and what was polled of it
    std::chrono::microseconds playsSince_{};
    std::optional<TimeMs> playsFrom_;
    Poll poll_;
    std::vector<std::string> played_;
};

}  // namespace korvane::test
