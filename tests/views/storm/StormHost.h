#pragma once

#include <functional>
#include <memory>
#include <string>

#include "korvane/base/Scheduler.h"
#include "korvane/tests/views/storm/Dice.h"
#include "korvane/views/timeline/ScrubberViewDelegate.h"

namespace korvane::test {

/// Its id; "null" for none.
std::string nameOf(const ScrubberViewDelegate::Event& event);

/// A host of changing moods: its player may be sane or not, it may keep its callers waiting, and it may call back into
/// the view while it is called. It is kept when its view goes, to hear what comes too late.
class StormHost {
  public:
    using Event = ScrubberViewDelegate::Event;

    /// The storm around it.
    struct Link {
        /// Something is heard; called on the thread that calls the host.
        std::function<void(const std::string& what)> hear;
        /// Empty when this entry's begin lies under the mark, else what does.
        std::function<std::string(const Event&)> underMarkInstead;
        /// Does something to the view, which may end it.
        std::function<void()> meddle;
        /// Whether the view says that this entry plays; one that is being destroyed says nothing.
        std::function<bool(const Event&)> isCurrent;
        std::function<void(const std::string& what)> complain;
        /// Its player goes to the moment of what is selected, instead of to the begin of what starts to play.
        bool playsWhatIsSelected = false;
    };

    StormHost(Scheduler& scheduler, Dice& dice, Link link);

    const std::shared_ptr<ScrubberViewDelegate>& delegate() const { return delegate_; }
    void changeMood();
    /// From now on it only listens, and its player plays.
    void calmDown();
    void viewHasGone() { isGone_ = true; }

    /// Where its player was when it was asked last, and in which range, ms.
    struct Poll {
        TimeMs position = -1;
        TimeMs start = 0;
        TimeMs end = 0;
        Event event;
    };
    const Poll& lastPoll() const { return lastPoll_; }
    /// The end of what plays has been told.
    bool hasFinished() const { return hasFinished_; }

  private:
    enum class Player { Absent, Plays, Stands, Reverses, Overruns, AtTheEnd, Least, Most };
    enum class Range { Whole, Narrow, Empty, Reversed, Endless };

    void answerOnMain();
    void answerPlayback();
    void hear(const std::string& what);
    TimeMs positionOf(const Event& event);
    TimeMs answer();
    void narrow(TimeMs* start, TimeMs* end);
    void playFrom(TimeMs position);

    Scheduler& scheduler_;
    Dice& dice_;
    const Link link_;
    const std::shared_ptr<ScrubberViewDelegate> delegate_ = std::make_shared<ScrubberViewDelegate>();
    Player player_ = Player::Plays;
    Range range_ = Range::Whole;
    bool blocks_ = false;
    bool meddles_ = false;
    bool throws_ = false;
    bool isMeddling_ = false;
    bool isGone_ = false;
    bool hasFinished_ = false;
    Poll lastPoll_;
    TimeMs rangeStart_ = 0;
    TimeMs rangeEnd_ = 0;
    TimeMs playsFrom_ = 0;
    std::chrono::microseconds playsSince_{0};
};

}  // namespace korvane::test
