// The time ruler in the whole application, led by keys and pointer, against the real service.
#include <cstdlib>

#include "korvane/tests/apps/ApplicationFixture.h"
#include "korvane/tests/server/TestClip.h"

namespace korvane::test {
namespace {

/// A film of 300 s, and one of 20 s two hours later.
class RulerPageTest : public ApplicationFixture {
  protected:
    void writeFootage() override {
        TestClip clip;
        clip.width = 176;  // small, since it is long
        clip.height = 100;
        clip.seconds = 300;
        clip.movements = {{2, 4}, {100, 280}};
        clip.write(folder / "20261118_070000.mp4");
        clip.seconds = 20;
        clip.write(folder / "20261118_090000.mp4");
    }

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(ApplicationFixture::SetUp());
        browser().setPage(Page::Ruler);
        press(Qt::Key_Home);
        ASSERT_TRUE(plays(0)) << "from the live end a seek plays";
    }

    TimelineView& view() { return *browser().ruler()->view(); }
    TimeSec knob() { return view().currentPosition() - first / 1000; }
    TimeSec center() { return view().centerTime() - first / 1000; }
    bool plays(TimeSec from) {
        return until([&] {
            const TimeSec at = (player().getPosition() - first) / 1000;
            return player().state() == State::Playing && at >= from && at < from + 20 && std::abs(knob() - at) <= 2;
        });
    }
    /// In the scene, so many seconds from the middle of the axis, at the scale of a second a point.
    QPointF place(TimeSec away, double y) {
        return view().mapToScene({(view().width() - 20) / 2 + static_cast<double>(away), y});
    }
    void tap(TimeSec away) { hand().tap(place(away, 40)); }
};

TEST_F(RulerPageTest, ATapSeeksAndTheRulerStaysUnlessTheKnobLeavesIt) {
    const TimeSec before = center();
    tap(100);
    EXPECT_TRUE(plays(before + 95));
    TourHand finger = hand();
    finger.press(place(knob() - before - 5, 60));
    finger.drag(place(200, 60), 8);
    finger.release();
    EXPECT_TRUE(plays(before + 195));
    EXPECT_EQ(center(), before);
    tap(500);
    EXPECT_TRUE(plays(7'200)) << "over the gap, to what was recorded next";
    ASSERT_TRUE(until([this] { return std::abs(center() - 7'200) < 30; }));
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

}  // namespace
}  // namespace korvane::test
