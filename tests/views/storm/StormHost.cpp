#include "korvane/tests/views/storm/StormHost.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

#include "korvane/base/Semaphore.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

}  // namespace

std::string nameOf(const StormHost::Event& event) {
    return event ? std::to_string(event->identificator().value_or(-1)) : "null";
}

StormHost::StormHost(Scheduler& scheduler, Dice& dice, Link link)
    : scheduler_(scheduler), dice_(dice), link_(std::move(link)) {
    answerOnMain();
    answerPlayback();
}

void StormHost::answerOnMain() {
    delegate_->OnScrubberDidSelectEvent = [this](const Event& event) {
        const std::string instead = isGone_ ? "" : link_.underMarkInstead(event);
        if (!instead.empty()) link_.complain("selected " + nameOf(event) + ", and under the mark is " + instead);
        if (link_.playsWhatIsSelected && event) playFrom(event->timeAsValue());
        hear("select " + nameOf(event));
    };
    delegate_->OnScrubberDraggingStartFlyOverEvent = [this](const Event& event) { hear("start " + nameOf(event)); };
    delegate_->OnScrubberDraggingContinueFlyOverEvent = [this](const Event& event) { hear("over " + nameOf(event)); };
    delegate_->OnScrubberDraggingEndFlyOverEvent = [this](const Event& event) { hear("end " + nameOf(event)); };
    delegate_->OnScrubberStateChangedFrom = [this](auto from, auto to, auto status) {
        hear("state " + std::to_string(from) + ">" + std::to_string(to) + " " + std::to_string(status));
    };
    delegate_->OnScrubberSetCurrentPositionForPlayingEvent = [this](const Event& event, TimeMs position) {
        playFrom(position);
        hear("seek " + nameOf(event));
    };
    delegate_->onSharedTokenWillExpireIn = [this](std::int64_t) {
        hear("expires");
        return 0;
    };
}

void StormHost::answerPlayback() {
    delegate_->OnScrubberEventPlayStarted = [this](const Event& event) {
        hasFinished_ = false;
        if (!link_.playsWhatIsSelected) playFrom(std::max(rangeStart_, TimeMs{0}));
        hear("started " + nameOf(event));
        return 0;
    };
    delegate_->OnScrubberEventPlayFinished = [this](const Event& event) {
        hasFinished_ = true;
        hear("finished " + nameOf(event));
        return dice_.pick({1, 1, 0, 2});
    };
    delegate_->OnScrubberGetRangeForPlayingEvent = [this](const Event&, TimeMs* start, TimeMs* end) {
        hear("range");
        narrow(start, end);
    };
    delegate_->OnScrubberGetCurrentPositionForPlayingEvent = [this](const Event& event) { return positionOf(event); };
}

void StormHost::playFrom(TimeMs position) {
    playsFrom_ = position;
    playsSince_ = scheduler_.monotonicNow();
}

void StormHost::hear(const std::string& what) {
    if (isGone_) link_.complain("the host hears '" + what + "' although its view is gone");
    link_.hear(what);
    if (blocks_ && dice_.oneIn(10)) Semaphore(scheduler_).waitFor(1s);
    if (meddles_ && !isMeddling_ && dice_.oneIn(8)) {
        isMeddling_ = true;
        link_.meddle();
        isMeddling_ = false;
    }
    if (throws_ && dice_.oneIn(20)) throw std::runtime_error("a host in a bad mood");
}

void StormHost::changeMood() {
    using enum Player;
    player_ = dice_.pick({Plays, Plays, Plays, Plays, Absent, Stands, Reverses, Overruns, AtTheEnd, Least, Most});
    range_ = dice_.pick(
        {Range::Whole, Range::Whole, Range::Whole, Range::Narrow, Range::Empty, Range::Reversed, Range::Endless});
    blocks_ = dice_.oneIn(6);
    meddles_ = dice_.oneIn(3);
    throws_ = dice_.oneIn(10);
}

void StormHost::calmDown() {
    player_ = Player::Plays;
    range_ = Range::Whole;
    blocks_ = meddles_ = throws_ = false;
}

void StormHost::narrow(TimeMs* start, TimeMs* end) {
    if (!start || !end) return;
    switch (range_) {
        case Range::Whole:
            break;
        case Range::Narrow:
            *start += 2'000;
            *end -= 3'000;
            break;
        case Range::Empty:
            *end = *start;
            break;
        case Range::Reversed:
            std::swap(*start, *end);
            break;
        case Range::Endless:
            *start = std::numeric_limits<TimeMs>::min();
            *end = std::numeric_limits<TimeMs>::max();
            break;
    }
    rangeStart_ = *start;
    rangeEnd_ = *end;
}

TimeMs StormHost::positionOf(const Event& event) {
    if (event && !isGone_ && !link_.isCurrent(event)) {
        link_.complain("entry " + nameOf(event) + " plays, and the view says otherwise");
    }
    const TimeMs position = answer();
    lastPoll_ = {position, rangeStart_, rangeEnd_, event};
    hear("position");
    return position;
}

TimeMs StormHost::answer() {
    const auto gone = std::chrono::duration_cast<std::chrono::milliseconds>(scheduler_.monotonicNow() - playsSince_);
    switch (player_) {
        case Player::Absent:
            return -1;
        case Player::Plays:
            return playsFrom_ + gone.count();
        case Player::Stands:
            return playsFrom_;
        case Player::Reverses:
            return playsFrom_ - gone.count();
        case Player::Overruns:
            return rangeEnd_ == std::numeric_limits<TimeMs>::max() ? rangeEnd_ : rangeEnd_ + gone.count();
        case Player::AtTheEnd:
            return rangeEnd_;
        case Player::Least:
            return std::numeric_limits<TimeMs>::min();
        case Player::Most:
            return std::numeric_limits<TimeMs>::max();
    }
    return -1;
}

}  // namespace korvane::test
