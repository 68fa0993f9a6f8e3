#include "toolkit/ScrollPhysics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace korvane {
namespace {

using Phase = ScrollPhysics::Phase;

constexpr ScrollBounds strip{0, 10'000, 800};
constexpr double frameTime = 16;

ScrollPhysics at(double offset, ScrollBounds bounds = strip) {
    ScrollPhysics physics;
    physics.setBounds(bounds);
    physics.setOffset(offset);
    return physics;
}

// A finger at even speed, `velocity` points per ms, for `duration` ms; not lifted. Gives its last place.
Point drag(ScrollPhysics& physics, double velocity, double duration) {
    Point finger{400, 60};
    physics.press(finger, 0, false);
    for (double t = frameTime; t <= duration; t += frameTime) {
        finger.x = 400 + velocity * t;
        physics.move(finger, t);
    }
    return finger;
}

void settle(ScrollPhysics& physics, double from = 0) {
    for (int frame = 1; physics.phase() == Phase::Decelerating && frame < 1000; ++frame) {
        physics.advance(from + frame * frameTime);
    }
}

TEST(ScrollPhysics, DragStartsBehindTheThresholdWithoutAJump) {
    struct Case {
        const char* name;
        Point to;
        bool begins;
        double offset;
        bool taps;
    };
    const std::vector<Case> cases = {
        {"rest", {400, 60}, false, 500, true},           {"within the threshold", {410, 60}, false, 500, true},
        {"just behind it", {411, 60}, true, 499, false}, {"to the left", {380, 60}, true, 510, false},
        {"vertical", {403, 90}, false, 500, false},      {"more across than down", {440, 80}, true, 470, false},
    };
    for (const auto& c : cases) {
        auto physics = at(500);
        physics.press({400, 60}, 0, false);
        const auto change = physics.move(c.to, 16);
        EXPECT_EQ(change.began, c.begins) << c.name;
        EXPECT_DOUBLE_EQ(physics.offset(), c.offset) << c.name;
        EXPECT_EQ(physics.release(300).tapped, c.taps) << c.name;
        EXPECT_EQ(physics.phase(), Phase::Resting) << c.name;
    }
}

TEST(ScrollPhysics, FlickHeldStillOrWithoutTimesEndsAtRest) {
    auto physics = at(5000);
    drag(physics, -1.0, 320);
    EXPECT_FALSE(physics.release(380).willDecelerate);
    physics.press({400, 60}, 7, false);
    for (int x = 390; x > 300; x -= 10) physics.move({double(x), 60}, 7);
    EXPECT_FALSE(physics.release(7).willDecelerate);
}

TEST(ScrollPhysics, FlickRunsOutExponentiallyAndAloneByTime) {
    auto physics = at(2000);
    drag(physics, -1.0, 320);
    const double lifted = physics.offset();
    physics.release(320);
    auto coarse = physics;
    physics.advance(100);
    // The way that 0.998 of the velocity a millisecond leaves: v * (1 - 0.998^100) / -ln 0.998.
    EXPECT_NEAR(physics.offset() - lifted, (1 - std::pow(0.998, 100)) / -std::log(0.998), 1e-6);
    settle(physics, 100);
    coarse.advance(1e6);
    EXPECT_EQ(coarse.phase(), Phase::Resting);
    EXPECT_NEAR(coarse.offset(), physics.offset(), 1e-6) << "frames must not change where it ends";
    EXPECT_NEAR(physics.offset() - lifted, 1 / -std::log(0.998), 6);
}

TEST(ScrollPhysics, FlickIntoTheEndOvershootsAndReturns) {
    for (const double velocity : {3.0, -3.0}) {
        auto physics = at(velocity > 0 ? 600 : 9'400);
        drag(physics, velocity, 96);
        physics.release(96);
        double furthest = 0;
        for (double t = frameTime; physics.phase() == Phase::Decelerating; t += frameTime) {
            physics.advance(t);
            furthest = std::max({furthest, -physics.offset(), physics.offset() - 10'000});
        }
        EXPECT_GT(furthest, 20);
        EXPECT_LT(furthest, 200);
        EXPECT_EQ(physics.offset(), velocity > 0 ? 0 : 10'000);
    }
}

TEST(ScrollPhysics, FlickBackOutOfTheBandGoesOnInside) {
    auto physics = at(0);
    Point finger = drag(physics, 0.8, 480);
    ASSERT_LT(physics.offset(), -80);
    for (double t = 496; t < 620; t += frameTime) physics.move({finger.x -= 3 * frameTime, 60}, t);
    physics.release(616);
    settle(physics);
    EXPECT_GT(physics.offset(), 300);
}

TEST(ScrollPhysics, CatchInTheBandDoesNotJump) {
    auto physics = at(0);
    drag(physics, 1.0, 320);
    physics.release(320);
    physics.advance(32);
    const double caughtAt = physics.offset();
    ASSERT_LT(caughtAt, -10);
    physics.press({200, 60}, 400, false);
    physics.move({200.5, 60}, 416);
    EXPECT_NEAR(physics.offset(), caughtAt, 0.5);
}

TEST(ScrollPhysics, ShrinkingBoundsDoNotMakeItJumpAndAreKeptInTheEnd) {
    for (const bool isLifted : {false, true}) {
        auto physics = at(5000);
        const Point finger = drag(physics, -1.0, 160);
        if (isLifted) {
            physics.release(160);
            physics.advance(50);
        }
        const double before = physics.offset();
        EXPECT_FALSE(physics.setBounds({0, 1000, 400}).scrolled);
        if (!isLifted) physics.move({finger.x - 0.5, 60}, 176);
        EXPECT_NEAR(physics.offset(), before, 0.5);
        physics.release(500);
        settle(physics, 50);
        EXPECT_EQ(physics.offset(), 1000);
    }
}

TEST(ScrollPhysics, GrowingBoundsFreeABounce) {
    auto physics = at(9'950);
    drag(physics, -2.0, 96);
    physics.release(96);
    physics.advance(30);
    ASSERT_GT(physics.offset(), 10'000);
    physics.setBounds({0, 50'000, 800});
    settle(physics, 30);
    EXPECT_GT(physics.offset(), 10'050) << "goes on into the new content";
}

TEST(ScrollPhysics, FingerThatRestsFollowsNewBounds) {
    auto physics = at(5000);
    physics.press({400, 60}, 0, false);
    EXPECT_TRUE(physics.setBounds({0, 1000, 400}).scrolled);
    EXPECT_EQ(physics.offset(), 1000);
    const auto lost = physics.cancel();
    EXPECT_FALSE(lost.ended || lost.tapped);
    EXPECT_FALSE(physics.release(1).tapped);
}

TEST(ScrollPhysics, PlaceSetByTheOwnerMayLieOutsideAndStays) {
    auto physics = at(10'010);
    EXPECT_EQ(physics.offset(), 10'010);
    physics.setBounds({0, 20'000, 800});
    EXPECT_EQ(physics.offset(), 10'010);
    physics.setOffset(20'010);
    physics.setBounds({0, 19'000, 800});
    EXPECT_EQ(physics.offset(), 19'010) << "comes along with the end";
    physics.setBounds({0, -700, 800});
    EXPECT_EQ(physics.offset(), 10) << "content smaller than the view rests at its start";
}

TEST(ScrollPhysics, OwnerMovesTheStripUnderAFinger) {
    auto physics = at(5000);
    const Point finger = drag(physics, -0.5, 160);
    physics.setOffset(100);
    physics.move({finger.x - 10, 60}, 176);
    EXPECT_DOUBLE_EQ(physics.offset(), 110);
    physics.release(400);

    drag(physics, -2, 160);
    physics.release(160);
    physics.setOffset(300);
    EXPECT_EQ(physics.phase(), Phase::Resting);
    EXPECT_FALSE(physics.advance(100).scrolled);
    EXPECT_EQ(physics.offset(), 300);
}

TEST(ScrollPhysics, FingerTakesTheDragOfAWheelOver) {
    auto physics = at(50);
    EXPECT_TRUE(physics.wheel(40).began);
    EXPECT_FALSE(physics.press({10, 10}, 0, false).began);
    EXPECT_FALSE(physics.endWheel().ended);
    EXPECT_TRUE(physics.release(100).ended);
}

}  // namespace
}  // namespace korvane
