#include <QCoreApplication>
#include <QKeyEvent>
#include <cmath>
#include <set>
#include <tuple>

#include "korvane/tests/views/StripFixture.h"
#include "korvane/views/timeline/Presentation/CellScale.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCell.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCollectionView.h"
#include "korvane/views/timeline/ScrubberTimelineView.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

constexpr TimeMs minute = 60'000;
constexpr TimeMs segment = 4 * minute;

/// A timeline strip of 800 x 120 over recorded periods, on virtual time, with a player that plays what is selected.
class TimelineStripTest : public ::testing::Test {
  protected:
    TimelineStripTest()
        : service_(ui_.scheduler()), environment_{nullptr, std::shared_ptr<KorvaneService>(&service_, [](auto*) {})} {
        view_ = std::make_unique<ScrubberTimelineView>(environment_, Rect{}, ui_.root());
        auto& config = view_->getConfig();
        config.setDataSourceType(ScrubberDataSourceTypeTimeline);
        config.setCellSeparatorWidth(0);
        config.setEventTypeImages(ScrubberConfig::builtInEventTypeImages());
        config.setContinuousEventPlaying(true);
        view_->applyConfig();
        begin_ = ui_.scheduler().utcNow() / (24 * 60 * minute) * (24 * 60 * minute) - 20 * 60 * minute;
        host_.delegate->OnScrubberDidSelectEvent = [this](const auto& event) {
            selected_.push_back(event->timeAsValue());
            seek(event->timeAsValue());
        };
        host_.delegate->OnScrubberGetCurrentPositionForPlayingEvent = [this](const auto&) {
            return polled_ = position();
        };
        host_.delegate->OnScrubberEventPlayFinished = [](const auto&) { return 1; };
        view_->setDelegate(host_.delegate);
    }

    ~TimelineStripTest() override {
        view_.reset();
        service_.releaseAll();
        ui_.settle();
    }

    /// Periods as minutes from begin_.
    void load(const std::vector<std::pair<TimeMs, TimeMs>>& periods) {
        service_.withFootage([&](ScriptedFootage& footage) {
            std::int64_t id = 0;
            for (const auto& [from, to] : periods) {
                footage.addRecord({++id, begin_ + from * minute, begin_ + to * minute, "", ""});
                footage.addEvent({id, begin_ + from * minute + 30'000, "motion", ""});
            }
        });
        EXPECT_EQ(view_->setSource(QString::fromStdString(service_.makeToken())), 0);
        ui_.settle();
        ui_.advance(100ms);
        selected_.clear();
        host_.take();
    }

    void seek(TimeMs to) {
        playsFrom_ = to;
        playsSince_ = ui_.scheduler().monotonicNow();
    }
    TimeMs position() {
        const auto gone = ui_.scheduler().monotonicNow() - playsSince_;
        return playsFrom_ + std::chrono::duration_cast<std::chrono::milliseconds>(gone).count();
    }

    ScrubberTimelineCollectionView& strip() const { return *view_->getCollectionView(); }
    Rect frame(std::int64_t index) const { return strip().layoutAttributesForItemAtIndexPath(index).value_or(Rect{}); }
    /// The moment under the mark, by the cell that lies there.
    TimeMs underMark() const {
        const std::int64_t index = view_->indexUnderMark();
        const auto* const cell = view_->getScrubberTimelineCellByIndex(index);
        return cell ? cell->positionUnder(view_->getOffsetBetweenPointerAndItemBegin(index)) : -1;
    }
    double scaleWidth(std::int64_t index) const {
        const auto* const drawn = view_->getScrubberTimelineCellByIndex(index)->containerView();
        return drawn->scaleRect().width + frame(index).width - drawn->cellRect().width;
    }
    void advanceToRest() {
        ui_.settle();
        ui_.advance(1200ms, 50ms);
    }
    void drag(double by) { ui_.drag({400, 60}, {400 + by, 60}, 200ms, true); }

    VirtualUi ui_;
    ScriptedService service_;
    RecordingHost host_;
    TimelineEnvironment environment_;
    std::unique_ptr<ScrubberTimelineView> view_;
    TimeMs begin_ = 0;
    TimeMs playsFrom_ = 0;
    TimeMs polled_ = -1;
    std::chrono::microseconds playsSince_{};
    std::vector<TimeMs> selected_;
};

TEST_F(TimelineStripTest, InPlaybackTheMarkStandsOnTheSecondThatPlays) {
    load({{0, 14}, {20, 26}, {26, 31}});
    view_->toFirstEvent();
    advanceToRest();
    ASSERT_EQ(selected_, std::vector<TimeMs>{begin_});
    std::int64_t last = 0;
    for (int second = 0; second < 14 * 60 + 20; ++second) {
        ui_.advance(1s, 100ms);
        const std::int64_t index = view_->indexUnderMark();
        ASSERT_GE(index, last) << second;
        last = index;
        const auto entry = view_->getCurrentEvent();
        ASSERT_TRUE(entry) << second;
        // Between two polls the player is ahead by up to two seconds, and a gap is waited out at its edge.
        const std::int64_t playing = *entry->identificator() + 1;
        const double offset = view_->getOffsetBetweenPointerAndItemBegin(playing);
        const CellScale scale{entry->start(), entry->end(), scaleWidth(playing)};
        const TimeMs polled = std::clamp(polled_, entry->start(), entry->end());
        EXPECT_NEAR(offset, scale.offsetOf(polled), 1.1) << second;
    }
    EXPECT_EQ(view_->indexUnderMark(), 5) << "the next period follows";
    EXPECT_EQ(selected_.size(), 1U) << "and nobody is told of a selection";
}

TEST_F(TimelineStripTest, RestsWhereAHandLeavesItAndPlaysOnFromThere) {
    load({{0, 60}});
    view_->toFirstEvent();
    advanceToRest();
    for (const double by : {-333.0, 40.0, -1000.0, 61.0}) {
        selected_.clear();
        drag(by);
        ui_.settle();
        ASSERT_EQ(selected_.size(), 1U);
        EXPECT_NEAR(static_cast<double>(selected_[0]), static_cast<double>(underMark()), 1'001);
        const double rest = strip().contentOffset().x;
        const double perSecond = 134.35 / 240;
        ui_.advance(1500ms);
        EXPECT_NEAR(strip().contentOffset().x, rest + perSecond, 1.5) << "no jump";
        ui_.advance(5s);
        EXPECT_NEAR(static_cast<double>(underMark()), static_cast<double>(position()), 2'500);
    }
    // A hand can reach the live end and stay there.
    for (const double by : {-400.0, 12.0, -12.0}) {
        view_->scrollToPosition(begin_ + 60 * minute - 1, false, false, 0.002);
        if (by != -400) view_->toEvent(nullptr);
        advanceToRest();
        drag(by);
        advanceToRest();
        EXPECT_EQ(selected_.back(), -1) << by;
        EXPECT_EQ(view_->indexUnderMark(), view_->getEventsCount() - 1) << by;
    }
}

TEST_F(TimelineStripTest, WhatIsRecordedOnGoesOnPlaying) {
    load({{0, 3}});
    host_.delegate->OnScrubberEventPlayFinished = [](const auto&) { return 0; };
    view_->toFirstEvent();
    ui_.advance(184s, 100ms);
    const auto mark = [&] { return static_cast<double>(underMark() - begin_) / 1000; };
    EXPECT_NEAR(mark(), 180, 2);
    service_.withFootage([&](ScriptedFootage& footage) {
        footage.addRecord({90, begin_ + 3 * minute, begin_ + 4 * minute - 1, "", ""});
    });
    view_->refresh();
    ui_.advance(10s, 100ms);
    EXPECT_NEAR(mark(), 194, 3);
}

TEST_F(TimelineStripTest, OfOverlappingPeriodsGoesToTheOneThatIsNamed) {
    const auto answer = [this](const std::vector<std::pair<TimeMs, TimeMs>>& periods) {
        Reply reply = Reply::array();
        for (const auto& [from, to] : periods) reply.push_back({begin_ + from * minute, begin_ + to * minute});
        service_.scriptAll("getTimelineSync", Script::answered(std::move(reply)));
    };
    answer({{0, 4}, {10, 14}, {12, 15}});
    load({{0, 4}});
    const std::int64_t last = view_->getEventsCount() - 2;
    ASSERT_EQ(last, 3);
    for (const std::int64_t index : {last, last - 1, last}) {
        view_->toEventAt(index);
        advanceToRest();
        EXPECT_EQ(view_->indexUnderMark(), index);
    }
    answer({{10, 14}, {12, 15}});
    view_->refresh();
    ui_.advance(2s);
    EXPECT_EQ(view_->indexUnderMark(), last - 1);
    EXPECT_TRUE(view_->getCurrentEvent());
}

TEST_F(TimelineStripTest, NeighboursThatJoinMakeOneBar) {
    const auto t = [this](TimeMs ms) { return begin_ + ms; };
    const Reply periods = {{t(0), t(5'000)}, {t(6'001), t(9'000)}, {t(10'002), t(12'000)}, {t(10'998), t(20'000)}};
    service_.scriptAll("getTimelineSync", Script::answered(periods));
    load({{0, 1}});
    std::string told;
    for (std::int64_t i = 0; i < view_->getEventsCount(); ++i) {
        view_->scrollToPointer(std::max<std::int64_t>(i, 1), 0.002, {});
        advanceToRest();
        const auto* const cell = view_->getScrubberTimelineCellByIndex(i);
        if (!cell) continue;
        const auto* const drawn = cell->containerView();
        told += std::string(drawn->isBeginOfGroup() ? "(" : "-") + (drawn->isEndOfGroup() ? ")" : "-");
    }
    EXPECT_EQ(told,
              "()"
              "(-"
              "-)"
              "()"
              "()"
              "()")
        << "1001 ms join, 1002 ms and an overlap of as much do not";
}

TEST_F(TimelineStripTest, GoesToNeighboursAndSaysSoOnce) {
    load({{0, 12}});
    const auto rest = [&] {
        advanceToRest();
        return std::exchange(selected_, {});
    };
    using Told = std::vector<TimeMs>;
    view_->toFirstEvent();
    EXPECT_EQ(rest(), Told{begin_});
    view_->toPreviousEvent();
    EXPECT_EQ(rest(), Told{}) << "before the first one there is none";
    view_->toNextEvent();
    view_->toNextEvent();
    EXPECT_EQ(rest(), Told{begin_ + 2 * segment}) << "the second counts from where the first one goes";
    view_->toPreviousEvent();
    view_->toPreviousEvent();
    EXPECT_EQ(rest(), Told{begin_ + 1'000}) << "a step back to the first one lands inside of it";
    view_->toNextEventOnlyScroll();
    EXPECT_EQ(rest(), Told{});
    EXPECT_EQ(view_->indexUnderMark(), 2);
    view_->toNextEventWithSendNotify(false);
    EXPECT_EQ(rest(), Told{});
    view_->toNextEventOnlyScroll();
    EXPECT_EQ(rest(), Told{-1}) << "of the live end the host hears all the same";
    view_->toClosestEvent(begin_ + segment + 90'000);
    EXPECT_EQ(rest(), Told{begin_ + segment + 90'000});
    ui_.tap({450, 60});
    EXPECT_EQ(rest(), Told{}) << "a tap selects the live end alone";
    view_->scrollToPosition(begin_ - 1, true, true, 0.002);
    EXPECT_EQ(rest(), Told{}) << "what no entry holds moves nothing";
}

TEST_F(TimelineStripTest, AFingerFliesOverTheRecordingsUnderTheMark) {
    load({{0, 60}});
    std::set<std::string> heard;
    host_.delegate->OnScrubberDraggingStartFlyOverEvent = [&](const auto&) { heard.insert("start"); };
    host_.delegate->OnScrubberDraggingContinueFlyOverEvent = [&](const auto&) { heard.insert("continue"); };
    host_.delegate->OnScrubberDraggingEndFlyOverEvent = [&](const auto&) { heard.insert("end"); };
    host_.delegate->OnScrubberFlyOverEvent = [&](const auto&) { heard.insert("over"); };
    view_->toFirstEvent();
    advanceToRest();
    QKeyEvent key(QEvent::KeyPress, Qt::Key_PageDown, Qt::NoModifier);
    QCoreApplication::sendEvent(view_.get(), &key);
    advanceToRest();
    EXPECT_TRUE(heard.empty()) << "neither a jump nor a key nor playback flies over";
    service_.clearRequests();
    drag(-300);
    ui_.settle();
    EXPECT_EQ(heard, (std::set<std::string>{"start", "continue", "end", "over"}));
    EXPECT_LE(service_.requests("getRecords").size(), 5U) << "one request a segment";
    service_.scriptAll("getRecords", Script::late(3s));
    drag(-400);
    advanceToRest();
    heard.clear();
    ui_.advance(5s);
    EXPECT_TRUE(heard.empty()) << "recordings of what has left the mark";
}

TEST_F(TimelineStripTest, KeysDoWhatAHandDoes) {
    load({{0, 60}});
    host_.delegate->OnScrubberGetCurrentPositionForPlayingEvent = [](const auto&) { return -1; };
    const std::tuple<Qt::Key, Qt::KeyboardModifier, double> keys[] = {{Qt::Key_Home, Qt::NoModifier, 0},
                                                                      {Qt::Key_Right, Qt::NoModifier, 60},
                                                                      {Qt::Key_Right, Qt::ShiftModifier, 240},
                                                                      {Qt::Key_Left, Qt::NoModifier, 180}};
    for (const auto& [key, with, seconds] : keys) {
        QKeyEvent event(QEvent::KeyPress, key, with);
        QCoreApplication::sendEvent(view_.get(), &event);
        advanceToRest();
        // A bar stands clear of the head by two points.
        EXPECT_NEAR(static_cast<double>(underMark() - begin_) / 1000, seconds, 4) << key;
    }
}

}  // namespace
}  // namespace korvane::test
