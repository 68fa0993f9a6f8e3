#include "korvane/tests/views/Road.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "korvane/views/timeline/Presentation/CellScale.h"

namespace korvane::test {
namespace {

constexpr std::int64_t pageLength = 100;
constexpr double closeEnough = 0.5;

}  // namespace

Road::Road(ScrubberView& view, RoadGround ground) : view_(view), ground_(std::move(ground)) {
    host_.delegate->OnScrubberEventPlayStarted = [this](const auto& event) {
        const std::lock_guard lock(mutex_);
        played_.push_back("started " + idOf(event));
        return 0;
    };
    host_.delegate->OnScrubberEventPlayFinished = [this](const auto& event) {
        const std::lock_guard lock(mutex_);
        played_.push_back("finished " + idOf(event));
        return 1;
    };
    host_.delegate->OnScrubberGetCurrentPositionForPlayingEvent = [this](const auto& /*event*/) {
        const std::lock_guard lock(mutex_);
        ++poll_.number;
        return poll_.position = position();
    };
    const auto select = host_.delegate->OnScrubberDidSelectEvent;
    host_.delegate->OnScrubberDidSelectEvent = [this, select](const auto& event) {
        select(event);
        if (event->type() == ScrubberEventTypeItem) play(event->start());
    };
    const auto seek = host_.delegate->OnScrubberSetCurrentPositionForPlayingEvent;
    host_.delegate->OnScrubberSetCurrentPositionForPlayingEvent = [this, seek](const auto& event, TimeMs to) {
        seek(event, to);
        play(to);
    };
    view_.setDelegate(host_.delegate);
}

std::string Road::idOf(const std::shared_ptr<ScrubberEvent>& event) {
    return event ? std::to_string(event->identificator().value_or(-1)) : "null";
}

void Road::play(TimeMs from) {
    const std::lock_guard lock(mutex_);
    playsFrom_ = from;
    playsSince_ = ground_.scheduler.monotonicNow();
}

TimeMs Road::position() {
    const auto time = ground_.scheduler.monotonicNow() - playsSince_;
    return playsFrom_ ? *playsFrom_ + std::chrono::floor<std::chrono::milliseconds>(time).count() : -1;
}

Road::Poll Road::lastPoll() {
    const std::lock_guard lock(mutex_);
    return poll_;
}

void Road::bind(const std::string& token, std::int64_t events) {
    ASSERT_EQ(view_.setSource(QString::fromStdString(token)), 0);
    const std::int64_t live = events + 1;
    ASSERT_TRUE(until([&] { return view_.getState() == ScrubberStateReady && underMark() == live; }));
    EXPECT_TRUE(until([&] { return std::abs(view_.getOffsetBetweenPointerAndItemBegin(live)) < 0.01; }));
    EXPECT_THAT(host_.take(), testing::ElementsAre("state 0>1 0", "state 1>0 0"));
    EXPECT_EQ(view_.getEventsCount(), events + 2);
    EXPECT_EQ(view_.getEvent(0)->type(), ScrubberEventTypeHead);
    EXPECT_EQ(view_.getEvent(live)->type(), ScrubberEventTypeLive);
    EXPECT_EQ(view_.getEvent(live - pageLength)->type(), ScrubberEventTypeItem);
    EXPECT_EQ(view_.getEvent(live - pageLength - 1)->type(), ScrubberEventTypePending);
    EXPECT_FALSE(view_.getCurrentEvent());
}

void Road::lookAtAPageThatIsMissing() {
    const std::int64_t far = view_.getEventsCount() - 2 * pageLength;
    view_.scrollOnPositionX(far, 100.0 * static_cast<double>(far));
    const std::int64_t at = view_.indexUnderMark();
    ASSERT_TRUE(until([&] { return view_.getEvent(at)->type() == ScrubberEventTypeItem; }));
    EXPECT_TRUE(until([&] { return heard("state 0>0 0") == 2; }));
    EXPECT_EQ(view_.indexUnderMark(), at);
    EXPECT_FALSE(view_.getCurrentEvent()) << "a page selects nothing";
    host_.take();
}

void Road::dragToAnEvent() {
    const std::int64_t before = underMark();
    ground_.drag(-130);
    const std::string id = idOf(view_.getEvent(before + 1));
    ASSERT_TRUE(until([&] { return heard("select " + id) == 1; }));
    EXPECT_EQ(host_.lines.front().substr(0, 6), "start ");
    EXPECT_GT(heard("continue " + id), 0U);
    EXPECT_EQ(heard("end " + id), 1U);
    EXPECT_TRUE(until([&] { return view_.getCurrentEvent() == view_.getEvent(before + 1); }));
    expectMarkFollows(before + 1);
    host_.take();
}

void Road::seekWithinIt() {
    const std::int64_t index = underMark();
    const auto event = view_.getCurrentEvent();
    ASSERT_EQ(event, view_.getEvent(index));
    ground_.drag(-50);
    const auto seeks = [&] {
        return std::ranges::count_if(host_.lines, [](const auto& line) { return line.starts_with("seek "); });
    };
    ASSERT_TRUE(until([&] { return seeks() == 1; }));
    EXPECT_EQ(view_.getCurrentEvent(), event);
    EXPECT_GT(std::stoll(host_.lines.back().substr(host_.lines.back().rfind(' '))), event->start() + 12'000);
    EXPECT_EQ(heard("select " + idOf(event)), 0U);
    expectMarkFollows(index);
    host_.take();
}

void Road::letTheNextFollow() {
    const std::int64_t index = underMark();
    const auto event = view_.getCurrentEvent();
    const auto next = view_.getEvent(index + 1);
    view_.getConfig().setContinuousEventPlaying(true);
    played_.clear();
    play(event->end() - 500);
    ASSERT_TRUE(until([&] { return view_.getCurrentEvent() == next; }));
    expectMarkFollows(index + 1);
    EXPECT_THAT(host_.take(), testing::ElementsAre("select " + idOf(next)));
    const std::lock_guard lock(mutex_);
    EXPECT_THAT(played_, testing::ElementsAre("finished " + idOf(event), "started " + idOf(next)));
}

/// Two advances long: what was polled last lies under the mark before the next poll.
void Road::expectMarkFollows(std::int64_t index) {
    const auto event = view_.getEvent(index);
    for (int advance = 0; advance < 2; ++advance) {
        const int seen = lastPoll().number;
        ASSERT_TRUE(until([&] { return lastPoll().number > seen; }));
        const Poll poll = lastPoll();
        const double expected = CellScale{event->start(), event->end(), 100}.offsetOf(poll.position);
        const auto atMark = [&] { return view_.getOffsetBetweenPointerAndItemBegin(index); };
        until([&] { return std::abs(atMark() - expected) <= closeEnough || lastPoll().number != poll.number; });
        EXPECT_NEAR(atMark(), expected, closeEnough) << "polled " << poll.position - event->start();
    }
}

void Road::clean() {
    host_.take();
    view_.clean();
    EXPECT_THAT(host_.take(), testing::ElementsAre("state 0>0 0"));
    EXPECT_EQ(view_.getEventsCount(), 0);
    EXPECT_FALSE(view_.getCurrentEvent());
    const int polls = lastPoll().number;
    const auto begin = ground_.scheduler.monotonicNow();
    until([&] { return ground_.scheduler.monotonicNow() - begin > std::chrono::milliseconds(1100); });
    EXPECT_EQ(lastPoll().number, polls);
}

}  // namespace korvane::test
