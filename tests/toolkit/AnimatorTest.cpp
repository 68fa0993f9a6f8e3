#include "korvane/toolkit/AnimatedValue.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/toolkit/LayoutConstraint.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

struct AnimatorTest : testing::Test {
    using Log = std::vector<std::string>;

    VirtualUi ui;
    Log log;

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

TEST_F(AnimatorTest, ValueIsNewAtOnceAndSeenToMove) {
    AnimatedValue eased(0);
    AnimatedValue linear(100);
    AnimatedValue same(4);
    ease("eased", 1.0, [&] { eased.setValue(200); });
    keyframes("linear", 1.0, [&] { linear.setValue(200); });
    ease("nothing moves", 1.0, [&] { same.setValue(4); });
    ease("empty", 1.0, [] {});
    EXPECT_EQ(eased.value(), 200);
    EXPECT_EQ(eased.seen(), 0);
    ui.advance(256ms);
    EXPECT_NEAR(linear.seen(), 125.6, 2);
    EXPECT_LT(eased.seen(), 40) << "slow at the start";
    ui.advance(256ms);
    EXPECT_NEAR(eased.seen(), 100, 10);
    ui.advance(400ms);
    EXPECT_EQ(log, Log{});
    ui.advance(112ms);
    EXPECT_EQ(eased.seen(), 200);
    EXPECT_EQ(linear.seen(), 200);
    EXPECT_FALSE(eased.isMoving());
    EXPECT_EQ(log, (Log{"eased+", "linear+", "nothing moves+", "empty+"}));
}

TEST_F(AnimatorTest, NoDurationAppliesAtOnceAndCompletesOnTheNextTurn) {
    for (const double duration : {0.0, -0.7, std::numeric_limits<double>::quiet_NaN()}) {
        log.clear();
        AnimatedValue value(1);
        ease("done", duration, [&] { value.setValue(5); });
        EXPECT_EQ(value.seen(), 5);
        EXPECT_EQ(log, Log{}) << duration;
        ui.settle();
        EXPECT_EQ(log, Log{"done+"}) << duration;
    }
    animate(0.0, {}, {});
    animate(0.5, {}, {});
    ease("thrown", 0.5, [] { throw 1; });
    ui.advance(600ms);
    EXPECT_EQ(log.back(), "thrown+");
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

}  // namespace
}  // namespace korvane
