#include <QCoreApplication>
#include <QKeyEvent>
#include <cmath>
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
    // Beyond the right edge of a bar there is no other moment than its end.
    const std::int64_t last = view_->getEventsCount() - 2;
    view_->toLastEvent();
    advanceToRest();
    const auto* const cell = view_->getScrubberTimelineCellByIndex(last);
    ASSERT_TRUE(cell);
    EXPECT_EQ(cell->positionUnder(frame(last).width - 0.5), view_->getEvent(last)->end());
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
    // Left by the next one, it keeps its drawing through a change of size.
    auto* const cell = view_->getScrubberTimelineCellByIndex(1);
    view_->toEvent(nullptr);
    advanceToRest();
    ui_.root()->setHeight(90);
    advanceToRest();
    EXPECT_EQ(cell->indexPath(), 1);
    EXPECT_TRUE(cell->containerView()->isNeedCustomDraw());
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

TEST_F(TimelineStripTest, AFlickThroughManyDaysLoadsWhatItRestsOn) {
    std::vector<std::pair<TimeMs, TimeMs>> days;
    for (TimeMs day = 0; day < 400; ++day) days.push_back({(day - 400) * 24 * 60, (day - 400) * 24 * 60 + 4});
    load(days);
    service_.clearRequests();
    service_.scriptAll("getEventsSync", Script::late(200ms));
    const std::int64_t before = view_->indexUnderMark();
    for (int flick = 0; flick < 12; ++flick) {
        ui_.drag({100, 60}, {700, 60}, 100ms);
        ui_.advance(500ms);
    }
    ui_.advance(10s);
    EXPECT_GT(before - view_->indexUnderMark(), 150);
    constexpr std::size_t inViewAndBeside = 3 * 7;
    EXPECT_LE(service_.requests("getEventsSync").size(), inViewAndBeside);
}

TEST_F(TimelineStripTest, RedrawsTheSameCellsWhenEventsArrive) {
    service_.scriptNext("getEventsSync", Script::late(4s));
    load({{0, 60}});
    view_->toFirstEvent();
    advanceToRest();
    auto* const playing = view_->getScrubberTimelineCellByIndex(1);
    ASSERT_TRUE(playing && playing->isStartedProgress());
    EXPECT_EQ(playing->containerView()->eventTypeLayer2()->images().size(), 0U);
    ui_.advance(5s);
    EXPECT_EQ(view_->getScrubberTimelineCellByIndex(1), playing);
    EXPECT_TRUE(playing->isStartedProgress());
    EXPECT_EQ(playing->containerView()->eventTypeLayer2()->images().size(), 1U);
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
    EXPECT_EQ(rest(), Told{begin_ + segment});
    view_->toPreviousEvent();
    EXPECT_EQ(rest(), Told{begin_ + 1'000}) << "a step back to the first one lands inside of it";
    view_->toNextEventOnlyScroll();
    EXPECT_EQ(rest(), Told{});
    EXPECT_EQ(view_->indexUnderMark(), 2);
    view_->toNextEventWithSendNotify(false);
    EXPECT_EQ(rest(), Told{});
    view_->toNextEventOnlyScroll();
    EXPECT_EQ(rest(), Told{-1}) << "of the live end the host hears all the same";
    EXPECT_EQ(view_->getCurrentEvent(), nullptr);
    view_->toClosestEvent(begin_ + segment + 90'000);
    EXPECT_EQ(rest(), Told{begin_ + segment + 90'000});
    view_->toClosestEvent(begin_ - 5);
    EXPECT_EQ(rest(), Told{begin_ + 1'000});
    ui_.tap({450, 60});
    EXPECT_EQ(rest(), Told{}) << "a tap selects the live end alone";
    view_->scrollToPosition(begin_ + segment + 1, true, true, 0.002);
    EXPECT_EQ(rest(), Told{begin_ + segment + 1});
    view_->scrollToPosition(begin_ - 1, true, true, 0.002);
    EXPECT_EQ(rest(), Told{});
    EXPECT_EQ(view_->indexUnderMark(), 2) << "what no entry holds moves nothing";
}

TEST_F(TimelineStripTest, KeysDoWhatAHandDoes) {
    load({{0, 60}});
    const auto press = [&](Qt::Key key, Qt::KeyboardModifiers with = Qt::NoModifier) {
        QKeyEvent event(QEvent::KeyPress, key, with);
        QCoreApplication::sendEvent(view_.get(), &event);
        advanceToRest();
        EXPECT_EQ(event.isAccepted(), key != Qt::Key_A);
        return static_cast<double>(underMark() - begin_) / 1000;
    };
    host_.delegate->OnScrubberGetCurrentPositionForPlayingEvent = [](const auto&) { return -1; };
    constexpr double near = 4;  // seconds; a bar stands clear of the head by two points
    EXPECT_NEAR(press(Qt::Key_Home), 0, 0.1);
    EXPECT_NEAR(press(Qt::Key_Right), 60, near);
    EXPECT_NEAR(press(Qt::Key_Right, Qt::ShiftModifier), 240, 0.1);
    EXPECT_NEAR(press(Qt::Key_Left), 180, near);
    EXPECT_NEAR(press(Qt::Key_PageDown), 180 + 800 / 134.35 * 240, near);
    press(Qt::Key_A);
    press(Qt::Key_End);
    EXPECT_EQ(view_->indexUnderMark(), view_->getEventsCount() - 1);
    press(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_EQ(view_->indexUnderMark(), view_->getEventsCount() - 2);
    int asked = 0;
    QObject::connect(view_.get(), &ScrubberWidget::playPauseRequested, [&] { ++asked; });
    press(Qt::Key_Space);
    EXPECT_EQ(asked, 1);
}

TEST_F(TimelineStripTest, AFingerFliesOverTheRecordingsUnderTheMark) {
    load({{0, 60}});
    std::vector<std::string> heard;
    const auto hear = [&](const char* what) {
        return [&heard, what](const auto& event) {
            if (heard.empty() || heard.back() != what) heard.push_back(what);
            EXPECT_GT(event->timeAsValue(), 0);
        };
    };
    host_.delegate->OnScrubberDraggingStartFlyOverEvent = hear("start");
    host_.delegate->OnScrubberDraggingContinueFlyOverEvent = hear("continue");
    host_.delegate->OnScrubberDraggingEndFlyOverEvent = hear("end");
    host_.delegate->OnScrubberFlyOverEvent = hear("over");
    view_->toFirstEvent();
    advanceToRest();
    EXPECT_TRUE(heard.empty()) << "neither a jump nor playback flies over";
    service_.clearRequests();
    drag(-300);
    ui_.settle();
    ASSERT_FALSE(heard.empty());
    for (const char* what : {"start", "over", "continue", "end"}) {
        EXPECT_GT(std::count(heard.begin(), heard.end(), what), 0) << what;
    }
    EXPECT_LE(service_.requests("getRecords").size(), 5U) << "one request a segment";

    heard.clear();
    QKeyEvent key(QEvent::KeyPress, Qt::Key_PageDown, Qt::NoModifier);
    QCoreApplication::sendEvent(view_.get(), &key);
    advanceToRest();
    EXPECT_TRUE(heard.empty()) << "a key is no drag";
    service_.scriptAll("getRecords", Script::late(3s));
    drag(-400);
    advanceToRest();
    heard.clear();
    ui_.advance(5s);
    EXPECT_TRUE(heard.empty()) << "recordings of what has left the mark";
}

TEST_F(TimelineStripTest, IsSpokenAsASliderOverItsSegments) {
    load({{0, 14}, {20, 26}});
    EXPECT_EQ(spoken(*view_), "7 of 1..7 | Live view | ");
    view_->getConfig().setDateTimeZone("UTC");
    view_->scrollToPosition(begin_ + 23 * minute, false, false, 0.01);
    ui_.settle();
    ui_.advance(100ms);
    EXPECT_EQ(spoken(*view_), "5 of 1..7 | Mon 13 Nov 2023, 04:20:00 | recorded, nearest event: motion at 04:20:30");
    drag(200);
    ui_.settle();
    EXPECT_EQ(spoken(*view_), "3 of 1..7 | Mon 13 Nov 2023, 04:10:20 | recorded");
}

}  // namespace
}  // namespace korvane::test
