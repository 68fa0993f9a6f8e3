// The time ruler in the whole application, led by keys and pointer, against the real service.
#include <gtest/gtest.h>

#include <QQuickWindow>
#include <QTest>
#include <cstdlib>

#include "korvane/apps/browser/Application.h"
#include "korvane/apps/browser/tour/TourHand.h"
#include "korvane/tests/apps/PlayerFixture.h"
#include "korvane/tests/server/TestClip.h"

namespace korvane::test {
namespace {

using Page = Browser::Page;
using State = RecordingPlayer::State;

/// A film of 300 s, and one of 20 s two hours later.
class RulerPageTest : public PlayerFixture {
  protected:
    void writeFootage() override {
        TestClip clip;
        clip.seconds = 300;
        clip.movements = {{2, 4}, {100, 280}};
        clip.write(folder / "20261118_070000.mp4");
        clip.seconds = 20;
        clip.write(folder / "20261118_090000.mp4");
    }

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(PlayerFixture::SetUp());
        application.emplace(folder.path());
        application->openToken(token);
        ASSERT_TRUE(until([this] { return browser().isListSeen() && player().state() == State::Paused; }));
        browser().setPage(Page::Ruler);
        press(Qt::Key_Home);
        ASSERT_TRUE(plays(0)) << "from the live end a seek plays";
    }

    void TearDown() override {
        EXPECT_TRUE(application->faults().isEmpty()) << qPrintable(application->faults().join('\n'));
        application.reset();
        PlayerFixture::TearDown();
    }

    Browser& browser() { return application->browser(); }
    RecordingPlayer& player() { return *browser().player(); }
    TimelineView& view() { return *browser().ruler()->view(); }
    void press(Qt::Key key) { QTest::keyClick(application->window(), key); }
    /// Seconds from the begin of the first film.
    TimeSec knob() { return view().currentPosition() - first / 1000; }
    TimeSec center() { return view().centerTime() - first / 1000; }
    bool plays(TimeSec from) {
        return until([&] {
            const TimeSec at = (player().getPosition() - first) / 1000;
            return player().state() == State::Playing && at >= from && at < from + 20 && std::abs(knob() - at) <= 2;
        });
    }
    /// A tap that far from the middle of the axis.
    void tap(TimeSec away) {
        const double middle = (view().width() - 60) / 2;  // the buttons: 30 at the left, 90 at the right
        TourHand hand(application->scheduler(), *application->window());
        hand.tap(view().mapToScene({middle + static_cast<double>(away) / view().timeScale(), 40}));
    }

    std::optional<Application> application;
};

TEST_F(RulerPageTest, ASwitchKeepsTheMomentAndThePlaying) {
    for (const State state : {State::Playing, State::Paused}) {
        player().resume();
        player().setPosition(first + 120'000);
        ASSERT_TRUE(plays(120));
        if (state == State::Paused) press(Qt::Key_Space);
        for (const Page page : {Page::Events, Page::Timeline, Page::Ruler}) {
            SCOPED_TRACE(static_cast<int>(page));
            press(Qt::Key_T);
            ASSERT_EQ(browser().page(), page);
            const auto isThere = [&] {
                return page == Page::Ruler ? knob() > 0 : browser().navigation()->selected() != nullptr;
            };
            EXPECT_TRUE(until(isThere));
            EXPECT_EQ(player().state(), state);
            EXPECT_LT(std::abs(player().getPosition() - first - 130'000), 12'000);
        }
        EXPECT_LT(std::abs(center() - 130), 15);
    }
}

TEST_F(RulerPageTest, ATapSeeksAndTheRulerStaysUnlessTheKnobLeavesIt) {
    const TimeSec before = center();
    tap(100);
    EXPECT_TRUE(plays(before + 90));
    EXPECT_EQ(center(), before);
    tap(500);
    EXPECT_TRUE(plays(7'200)) << "over the gap, to what was recorded next";
    EXPECT_TRUE(until([this] { return std::abs(center() - 7'200) < 30; }));
    tap(300);
    EXPECT_TRUE(until([this] { return browser().message() == "Nothing recorded here"; }));
    EXPECT_TRUE(plays(7'200));
    press(Qt::Key_Left);
    EXPECT_TRUE(plays(290)) << "back over the gap, where the next moment is the one that plays";
    press(Qt::Key_PageUp);
    const TimeSec scrolled = center();
    EXPECT_LT(scrolled, -600);
    EXPECT_TRUE(plays(7'200)) << "the player goes on by itself";
    EXPECT_EQ(center(), scrolled);
}

TEST_F(RulerPageTest, ARangeHoldsTheMomentAndGivesTheScaleBack) {
    press(Qt::Key_Minus);
    ASSERT_EQ(view().getScale(), 1);
    for (const TimeSec moment : {TimeSec{100}, TimeSec{7'200}}) {
        player().setPosition(first + moment * 1000);
        press(Qt::Key_R);
        EXPECT_TRUE(until([&] { return view().getScale() == 3 && std::abs(center() - moment) < 30; }));
        EXPECT_NEAR(view().timeScale(), 3'600 / view().width(), 0.2);
        player().setPosition(first + (7'200 - moment));
        EXPECT_TRUE(until([&] { return std::abs(center() * 1000 - player().getPosition() + first) < 1'830'000; }));
        press(Qt::Key_R);
        EXPECT_TRUE(until([&] { return view().getScale() == 1 && std::abs(center() - knob()) < 30; }));
    }
}

}  // namespace
}  // namespace korvane::test
