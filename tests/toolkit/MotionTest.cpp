#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/toolkit/AnimatedValue.h"
#include "korvane/toolkit/ScrollPhysics.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

struct AnimatorTest : testing::Test {
    using Log = std::vector<std::string>;

    // Outlives what still ends when the other goes.
    Log log;
    VirtualUi ui;

    Completion note(const std::string& name) {
        return [this, name](bool finished) { log.push_back(name + (finished ? "+" : "-")); };
    }

    void ease(const std::string& name, double duration, const std::function<void()>& body) {
        animate(duration, body, note(name));
    }

    void keyframes(const std::string& name, double duration, const std::function<void()>& body) {
        animateKeyframes(duration, body, note(name));
    }
};

TEST_F(AnimatorTest, EasingIsSlowAtTheStart) {
    AnimatedValue eased(0);
    ease("eased", 1.0, [&] { eased.setValue(200); });
    ui.advance(256ms);
    EXPECT_LT(eased.seen(), 40);
}

TEST_F(AnimatorTest, NewerValueTakesOverFromWhatIsSeen) {
    AnimatedValue value(0);
    AnimatedValue other(0);
    keyframes("first", 1.0, [&] { value.setValue(1000); });
    ui.advance(496ms);
    const double seen = value.seen();
    ASSERT_NEAR(seen, 496, 20);
    keyframes("second", 1.0, [&] {
        value.setValue(0);
        other.setValue(10);
    });
    EXPECT_EQ(value.value(), 0);
    EXPECT_EQ(value.seen(), seen);
    EXPECT_EQ(log, Log{}) << "not within the call";
    ui.settle();
    EXPECT_EQ(log, Log{"first-"});
    ui.advance(496ms);
    EXPECT_NEAR(value.seen(), seen / 2, 20);
    value.setValue(7);
    EXPECT_EQ(value.seen(), 7) << "outside of animate() it is seen at once";
    ui.advance(16ms);
    EXPECT_EQ(value.seen(), 7);
    EXPECT_EQ(log.size(), 1u) << "the other value still moves";
    ui.advance(600ms);
    EXPECT_EQ(log, (Log{"first-", "second+"}));
}

TEST_F(AnimatorTest, EveryCompletionRunsOnceWhateverDies) {
    auto value = std::make_unique<AnimatedValue>(0.0);
    ease("value", 1.0, [&] { value->setValue(9); });
    ui.advance(100ms);
    value.reset();
    EXPECT_EQ(log, Log{});
    ease("in its body", 1.0, [] { AnimatedValue(0).setValue(3); });
    ui.settle();
    EXPECT_EQ(log, (Log{"value-", "in its body-"}));

    value = std::make_unique<AnimatedValue>(0.0, [&] { value.reset(); });
    ease("by a frame", 1.0, [&] { value->setValue(3); });
    ui.advance(2000ms);
    EXPECT_EQ(log, (Log{"value-", "in its body-", "by a frame-"}));
}

TEST_F(AnimatorTest, TransactionReportsWhenAllHaveEnded) {
    AnimatedValue value(0);
    Transaction::begin();
    Transaction::setCompletionBlock([this] { log.push_back("group"); });
    ease("a", 0.5, [&] { value.setValue(1); });
    keyframes("b", 1.0, [] {});
    Transaction::commit();
    ease("outside", 1.5, [] {});
    ui.advance(600ms);
    EXPECT_EQ(log, Log{"a+"});
    ui.advance(2000ms);
    EXPECT_EQ(log, (Log{"a+", "b+", "group", "outside+"}));

    log.clear();
    Transaction::begin();
    Transaction::setCompletionBlock([this] { log.push_back("empty"); });
    Transaction::commit();
    EXPECT_EQ(log, Log{});
    ui.settle();
    EXPECT_EQ(log, Log{"empty"});
    Transaction::commit();
    Transaction::setCompletionBlock([] { FAIL(); });
    ui.settle();
}

using Phase = ScrollPhysics::Phase;

constexpr ScrollBounds strip{0, 10'000, 800};
constexpr double frameTime = 16;

ScrollPhysics at(double offset, ScrollBounds bounds = strip) {
    ScrollPhysics physics;
    physics.setBounds(bounds);
    physics.setOffset(offset);
    return physics;
}

void settle(ScrollPhysics& physics, double from = 0) {
    for (int frame = 1; physics.phase() == Phase::Decelerating && frame < 1000; ++frame) {
        physics.advance(from + frame * frameTime);
    }
}

TEST(ScrollPhysics, FlickIsAsFastAsTheFingerWasAtLast) {
    auto physics = at(2000);
    double x = 400;
    physics.press({x, 60}, 0, false);
    for (double t = frameTime; t <= 432; t += frameTime) physics.move({x -= t <= 320 ? 48 : 3.2, 60}, t);
    const double lifted = physics.offset();
    physics.release(432);
    physics.advance(10);
    EXPECT_NEAR(physics.offset() - lifted, 2, 0.3);
}

// Inputs in any order: what moves does not jump, each drag that has begun ends, and what is left alone rests in bounds.
TEST(ScrollPhysics, NeverJumpsAndRestsWithinItsBounds) {
    for (unsigned seed = 1; seed <= 500; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto draw = [&](double from, double to) {
            return std::uniform_real_distribution<double>(from, to)(random);
        };
        auto physics = at(draw(0, 10'000));
        Point finger{400, 60};
        double flight = 0;
        int drags = 0;  // that are under way
        for (double time = 0; time < 60 * frameTime; time += frameTime) {
            const double before = physics.offset();
            const bool isMoving = physics.phase() == Phase::Dragging || physics.phase() == Phase::Decelerating;
            double reach = 0;  // how far it may go in this step
            ScrollPhysics::Change change;
            const double by = draw(-60, 60);
            switch (random() % 9) {
                case 0:
                    change = physics.press(finger, time, false);
                    break;
                case 1:
                    change = physics.release(time);
                    break;
                case 2:
                    change = physics.cancel();
                    break;
                case 3:
                    change = physics.endWheel();
                    break;
                case 4:
                    change = physics.wheel(reach = by);
                    break;
                case 5:
                    reach = isMoving && drags == 0 ? 1e9 : 0;
                    physics.advance(flight += draw(0, 50));
                    break;
                case 6:
                    reach = isMoving && physics.isHeld() ? 0 : 1e9;
                    physics.setBounds({0, draw(0, 12'000), draw(200, 900)});
                    break;
                case 7:
                    reach = 1e9;
                    physics.setOffset(draw(0, physics.bounds().maximum));
                    if (physics.phase() == Phase::Resting) drags = 0;  // a burst of the wheel ends there unheard
                    break;
                default:
                    change = physics.move({finger.x += (reach = by), 60}, time);
            }
            ASSERT_LE(std::abs(physics.offset() - before), std::abs(reach) + 1e-6);
            if (change.willDecelerate) flight = 0;
            drags += static_cast<int>(change.began) - static_cast<int>(change.ended);
            ASSERT_EQ(drags, physics.phase() == Phase::Dragging ? 1 : 0);
        }
        physics.endWheel();
        physics.release(2000);
        settle(physics, flight);
        EXPECT_EQ(physics.phase(), Phase::Resting);
        EXPECT_GE(physics.offset(), -1e-6);
        EXPECT_LE(physics.offset(), physics.bounds().maximum + 1e-6);
    }
}

}  // namespace
}  // namespace korvane::test
