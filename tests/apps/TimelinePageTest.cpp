// The timeline strip in the whole application, led by keys and pointer, against the real service.
#include <cmath>

#include "korvane/tests/apps/ApplicationFixture.h"
#include "korvane/tests/server/TestClip.h"

namespace korvane::test {
namespace {

constexpr TimeMs second1 = 1'000;
constexpr TimeMs later = 7'200'000;

/// Two films that touch, of 300 s and 20 s, in segments of 240 s and 80 s; and one of 20 s two hours later.
class TimelinePageTest : public ApplicationFixture {
  protected:
    void writeFootage() override {
        TestClip clip;
        clip.width = 176;  // small, since it is long
        clip.height = 100;
        clip.seconds = 300;
        clip.movements = {{2, 4}, {290, 292}};
        clip.write(folder / "20261118_070000.mp4");
        clip.seconds = 20;
        clip.movements = {{9, 11}};
        for (const char* file : {"20261118_070500.mp4", "20261118_090000.mp4"}) clip.write(folder / file);
    }

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(ApplicationFixture::SetUp());
        QObject::connect(&player(), &RecordingPlayer::stateChanged, [this] {
            if (player().state() == State::Opening) ++seeks;
        });
        QObject::connect(&timeline(), &ScrubberHost::selected, [this] { ++selections; });
    }

    TimelineHost& timeline() { return browser().timeline(); }

    /// The moment under the mark.
    TimeMs marked() {
        const auto index = timeline().indexUnderMark();
        const auto segment = index ? timeline().entry(*index) : nullptr;
        if (!segment || segment->type() != ScrubberEventTypeItem) return -1;
        const double part = timeline().view()->getOffsetBetweenPointerAndItemBegin(*index) / 156;
        return segment->start() + std::lround(part * static_cast<double>(segment->end() - segment->start()));
    }
    bool follows() {
        return timeline().isReady() && timeline().view()->isAtRest() &&
               std::abs(marked() - player().getPosition()) < 5 * second1;
    }
    bool restsAtLiveEnd() {
        return browser().isLive() && timeline().isReady() && timeline().indexUnderMark() == timeline().count() + 1 &&
               timeline().view()->isAtRest();
    }
    bool goesTo(TimeMs moment) {
        player().resume();
        player().setPosition(moment);
        return until([&] { return player().state() == State::Playing && player().getPosition() >= moment; });
    }

    int seeks = 0;
    int selections = 0;
};

TEST_F(TimelinePageTest, ASwitchKeepsTheMomentAndThePlaying) {
    press(Qt::Key_Home);
    ASSERT_TRUE(comesToState(State::Playing));
    // In the first event, and a minute and more from any.
    for (const auto& [moment, event] : {std::pair<TimeMs, int>{first + 20 * second1, 1}, {first + 200 * second1, 2}}) {
        for (const State state : {State::Playing, State::Paused}) {
            SCOPED_TRACE(testing::Message() << event << ", " << (state == State::Paused));
            browser().setPage(Page::Timeline);
            ASSERT_TRUE(until([this] { return follows(); }));
            ASSERT_TRUE(goesTo(moment));
            if (state == State::Paused) press(Qt::Key_Space);
            ASSERT_TRUE(until([this] { return follows(); }));
            seeks = 0;
            browser().setPage(Page::Events);
            ASSERT_TRUE(
                until([&] { return browser().strip().isReady() && browser().strip().indexUnderMark() == event; }));
            ASSERT_TRUE(until([&] { return navigation().selected() == browser().strip().entry(event); }));
            EXPECT_EQ(player().state(), state);
            press(Qt::Key_T);
            EXPECT_TRUE(until([this] { return follows(); }));
            EXPECT_EQ(player().state(), state);
            EXPECT_LT(player().getPosition() - moment, 20 * second1);
            EXPECT_EQ(seeks, 0);
        }
    }
}

TEST_F(TimelinePageTest, ADragGoesToThatSecond) {
    press(Qt::Key_T);
    ASSERT_TRUE(until([this] { return restsAtLiveEnd(); }));
    press(Qt::Key_Home);
    ASSERT_TRUE(until([this] { return player().state() == State::Playing && follows(); }));
    TimeMs flown = -1;
    QObject::connect(&timeline(), &ScrubberHost::flownOver, [&](qint64 time) { flown = time; });
    TourHand finger = hand();
    const QPointF mark = timeline().view()->mapToScene({timeline().view()->width() / 2, 60});
    finger.press(mark);
    finger.drag(mark - QPointF(78, 0), 8);
    EXPECT_TRUE(browser().isFlyingOver());
    EXPECT_GT(flown, first + 60 * second1);
    EXPECT_LT(std::abs(flown - marked()), 5 * second1);
    finger.release();
    ASSERT_TRUE(comesToState(State::Playing));
    EXPECT_FALSE(browser().isFlyingOver());
    EXPECT_TRUE(player().getPosition() >= flown && player().getPosition() < flown + 3 * second1);
}

TEST_F(TimelinePageTest, TheStripFollowsThePlayerOverBordersAndGaps) {
    press(Qt::Key_T);
    ASSERT_TRUE(until([this] { return restsAtLiveEnd(); }));
    navigation().toPrevious();
    ASSERT_TRUE(until([this] { return timeline().indexUnderMark() == 3 && player().state() == State::Playing; }));
    press(Qt::Key_Left, Qt::ShiftModifier);
    ASSERT_TRUE(until([this] { return timeline().indexUnderMark() == 2 && follows(); }));
    navigation().toFirst();
    ASSERT_TRUE(until([this] { return timeline().indexUnderMark() == 1 && follows(); }));

    ASSERT_TRUE(goesTo(first + 236 * second1));
    seeks = selections = 0;
    EXPECT_TRUE(until([this] { return timeline().indexUnderMark() == 2 && follows(); }));
    EXPECT_EQ(seeks, 0);
    EXPECT_TRUE(until([this] { return timeline().isAt(navigation().selected(), 2); }));
    ASSERT_TRUE(goesTo(first + 317 * second1));
    EXPECT_TRUE(until([this] { return player().getPosition() >= first + later && timeline().indexUnderMark() == 3; }));
    EXPECT_EQ(selections, 0);
    ASSERT_TRUE(goesTo(first + later + 18 * second1));
    EXPECT_TRUE(until([this] { return restsAtLiveEnd(); })) << "the end of all that was recorded";
    EXPECT_EQ(selections, 1) << "of the live end alone";
}

}  // namespace
}  // namespace korvane::test
