#include "korvane/tests/toolkit/StripFixture.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

struct CollectionViewPointer : StripTest {
    void glideTo(double to) {
        animateKeyframes(
            1.0,
            [&] {
                strip->setContentOffset({to, 0});
            },
            [this](bool finished) { note(finished ? "done" : "cut"); });
        log.clear();
    }
};

TEST_F(CollectionViewPointer, FlickDeceleratesInOrder) {
    for (const int pointer : {0, VirtualUi::mouse}) {
        start(2000);
        ui.drag({600, 60}, {440, 60}, 160ms, false, pointer);
        const double lifted = x();
        EXPECT_DOUBLE_EQ(lifted, 2150);
        rest();
        EXPECT_EQ(log, (Log{"begin", "scroll", "end, decelerates", "decelerating", "scroll", "stopped"}));
        EXPECT_NEAR(x(), lifted + 500, 60) << "about a point per ms over half a second's worth";
        expectCellsInPlace();
    }
}

TEST_F(CollectionViewPointer, WhatMovesIsCaughtWhereItIsSeenAndDragsOn) {
    for (const bool isFlick : {true, false}) {
        start(2000);
        if (isFlick) ui.drag({600, 60}, {440, 60}, 160ms);
        if (!isFlick) glideTo(5000);
        ui.advance(496ms);
        EXPECT_EQ(log.size(), isFlick ? 5U : 0U) << "an animation's value changed once, when it began";
        const double seen = strip->seenContentOffset().x;
        EXPECT_NEAR(seen, isFlick ? 2450 : 3500, 60);
        expectCellsInPlace();
        log.clear();
        ui.press({300, 60});
        EXPECT_EQ(log, isFlick ? Log{"begin"} : (Log{"scroll", "cut", "begin"})) << "and no end of the deceleration";
        ui.advance(200ms);
        EXPECT_EQ(x(), seen);
        ui.move({295, 60});
        EXPECT_DOUBLE_EQ(x(), seen + 5);
        ui.advance(100ms);
        log.clear();
        ui.release({295, 60});
        ui.advance(1000ms);
        EXPECT_EQ(log, Log{"end"}) << "and no tap";
        EXPECT_DOUBLE_EQ(x(), seen + 5);
    }
}

TEST_F(CollectionViewPointer, WheelBurstIsOneDrag) {
    start(2000);
    ui.wheel({400, 60}, {0, -120});
    EXPECT_TRUE(strip->isDragging());
    EXPECT_EQ(x(), 2060) << "a vertical wheel turns a horizontal strip";
    ui.advance(96ms);
    ui.wheel({400, 60}, {120, 0});
    EXPECT_EQ(x(), 2000);
    ui.wheel({400, 60}, {0, 0}, {-7, 2});
    EXPECT_EQ(x(), 2007) << "pixels as they are";
    EXPECT_EQ(log, (Log{"begin", "scroll"}));
    ui.advance(128ms);
    EXPECT_EQ(log, (Log{"begin", "scroll"}));
    ui.advance(32ms);
    EXPECT_EQ(log, (Log{"begin", "scroll", "end"}));
    ui.wheel({400, 60}, {0, 120 * 200});
    EXPECT_EQ(x(), 0) << "no rubber band for a wheel";
    ui.advance(200ms);
    ui.wheel({400, 60}, {0, 0});
    EXPECT_FALSE(strip->isDragging());
}

TEST_F(CollectionViewPointer, RubberBandAtBothEnds) {
    const double end = strip->contentSize().width - 800;
    for (const double edge : {0.0, end}) {
        SCOPED_TRACE(edge);
        start(edge);
        const double side = edge > 0 ? 1 : -1;
        ui.drag({400 + side * 300, 60}, {400 - side * 100, 60}, 640ms, true);
        EXPECT_EQ(log, (Log{"begin", "scroll", "end, decelerates", "decelerating"}));
        double pulled = std::abs(x() - edge);
        EXPECT_GT(pulled, 100);
        EXPECT_LT(pulled, 220);
        expectCellsInPlace();
        onScroll = [&] {
            EXPECT_LE(std::abs(x() - edge), pulled) << "springs back without a swing";
            pulled = std::abs(x() - edge);
        };
        rest();
        onScroll = nullptr;
        EXPECT_EQ(x(), edge);
        EXPECT_EQ(log.back(), "stopped");
        expectCellsInPlace();
    }
}

}  // namespace
}  // namespace korvane
