#include "toolkit/Animator.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/qt/VirtualUi.h"
#include "toolkit/LayoutConstraint.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

struct AnimatorTest : testing::Test {
    VirtualUi ui;
    std::vector<std::string> log;

    Completion note(const std::string& name) {
        return [this, name](bool finished) { log.push_back(name + (finished ? "+" : "-")); };
    }
};

TEST_F(AnimatorTest, ValueIsNewAtOnceAndSeenToMove) {
    AnimatedValue eased(0);
    AnimatedValue linear(100);
    animate(
        1.0, [&] { eased.setValue(200); }, note("eased"));
    animateKeyframes(
        1.0, [&] { linear.setValue(200); }, note("linear"));
    EXPECT_EQ(eased.value(), 200);
    EXPECT_EQ(eased.seen(), 0);
    ui.advance(256ms);
    EXPECT_NEAR(linear.seen(), 125.6, 2);
    EXPECT_LT(eased.seen(), 40) << "slow at the start";
    ui.advance(256ms);
    EXPECT_NEAR(eased.seen(), 100, 10);
    EXPECT_TRUE(log.empty());
    ui.advance(512ms);
    EXPECT_EQ(eased.seen(), 200);
    EXPECT_EQ(linear.seen(), 200);
    EXPECT_FALSE(eased.isMoving());
    EXPECT_EQ(log, (std::vector<std::string>{"eased+", "linear+"}));
}

TEST_F(AnimatorTest, NoDurationAppliesAtOnceAndCompletesOnTheNextTurn) {
    for (const double duration : {0.0, -0.7, std::numeric_limits<double>::quiet_NaN()}) {
        log.clear();
        AnimatedValue value(1);
        animate(
            duration, [&] { value.setValue(5); }, note("done"));
        EXPECT_EQ(value.seen(), 5);
        EXPECT_TRUE(log.empty()) << duration;
        ui.settle();
        EXPECT_EQ(log, std::vector<std::string>{"done+"}) << duration;
    }
    animate(0.0, {}, {});
    animate(0.5, {}, {});
    animate(
        0.5, [] { throw 1; }, note("thrown"));
    ui.advance(600ms);
    EXPECT_EQ(log.back(), "thrown+");
}

TEST_F(AnimatorTest, NewerValueTakesOverFromWhatIsSeen) {
    AnimatedValue value(0);
    AnimatedValue other(0);
    animateKeyframes(
        1.0, [&] { value.setValue(1000); }, note("first"));
    ui.advance(496ms);
    const double seen = value.seen();
    ASSERT_NEAR(seen, 496, 20);
    animateKeyframes(
        1.0,
        [&] {
            value.setValue(0);
            other.setValue(10);
        },
        note("second"));
    EXPECT_EQ(value.value(), 0);
    EXPECT_EQ(value.seen(), seen);
    EXPECT_TRUE(log.empty()) << "not within the call";
    ui.settle();
    EXPECT_EQ(log, std::vector<std::string>{"first-"});
    ui.advance(496ms);
    EXPECT_NEAR(value.seen(), seen / 2, 20);
    value.setValue(7);
    EXPECT_EQ(value.seen(), 7) << "outside of animate() it is seen at once";
    ui.advance(16ms);
    EXPECT_EQ(value.seen(), 7);
    EXPECT_EQ(log.size(), 1u) << "the other value still moves";
    ui.advance(600ms);
    EXPECT_EQ(log, (std::vector<std::string>{"first-", "second+"}));
}

TEST_F(AnimatorTest, EveryCompletionRunsOnceWhateverDies) {
    auto value = std::make_unique<AnimatedValue>(0.0);
    animate(
        1.0, [&] { value->setValue(9); }, note("value died"));
    ui.advance(100ms);
    value.reset();
    EXPECT_TRUE(log.empty());
    ui.settle();
    EXPECT_EQ(log, std::vector<std::string>{"value died-"});

    animate(
        1.0,
        [] {
            AnimatedValue brief(0);
            brief.setValue(3);
        },
        note("died in its body"));
    ui.settle();
    EXPECT_EQ(log.back(), "died in its body-");

    std::unique_ptr<AnimatedValue> dying;
    dying = std::make_unique<AnimatedValue>(0.0, [&] { dying.reset(); });
    animate(
        1.0, [&] { dying->setValue(3); }, note("died by a frame"));
    ui.advance(100ms);
    EXPECT_EQ(log.back(), "died by a frame-");
    ui.advance(2000ms);
    EXPECT_EQ(log.size(), 3u);
}

TEST_F(AnimatorTest, StoppingGivesTheCompletionToTheCaller) {
    AnimatedValue value(0);
    animateKeyframes(
        1.0, [&] { value.setValue(1000); }, note("stopped"));
    ui.advance(304ms);
    const double seen = value.seen();
    const auto completion = value.stopWhereSeen();
    EXPECT_EQ(value.value(), seen);
    ui.advance(100ms);
    EXPECT_TRUE(log.empty());
    ASSERT_TRUE(completion);
    completion();
    EXPECT_EQ(log, std::vector<std::string>{"stopped-"});
    EXPECT_FALSE(value.stopWhereSeen());
}

TEST_F(AnimatorTest, AnimationWithNothingToMoveLastsItsTime) {
    animate(
        1.0, [] {}, note("empty"));
    AnimatedValue same(4);
    animate(
        1.0, [&] { same.setValue(4); }, note("same"));
    ui.advance(900ms);
    EXPECT_TRUE(log.empty());
    ui.advance(200ms);
    EXPECT_EQ(log, (std::vector<std::string>{"empty+", "same+"}));
}

TEST_F(AnimatorTest, ScopesNestEachWithItsOwnDuration) {
    AnimatedValue outer(0);
    AnimatedValue inner(0);
    AnimatedValue direct(0);
    animateKeyframes(
        1.0,
        [&] {
            animateKeyframes(
                0.2, [&] { inner.setValue(10); }, note("inner"));
            animateKeyframes(0, [&] { direct.setValue(10); });
            outer.setValue(10);
        },
        note("outer"));
    EXPECT_EQ(direct.seen(), 10);
    ui.advance(240ms);
    EXPECT_EQ(inner.seen(), 10);
    EXPECT_LT(outer.seen(), 4);
    ui.advance(800ms);
    EXPECT_EQ(log, (std::vector<std::string>{"inner+", "outer+"}));
}

TEST_F(AnimatorTest, TransactionReportsWhenAllHaveEnded) {
    AnimatedValue value(0);
    Transaction::begin();
    Transaction::setCompletionBlock([this] { log.push_back("group"); });
    animate(
        0.5, [&] { value.setValue(1); }, note("a"));
    animateKeyframes(
        1.0, [] {}, note("b"));
    Transaction::commit();
    animate(
        1.5, [] {}, note("outside"));
    ui.advance(600ms);
    EXPECT_EQ(log, std::vector<std::string>{"a+"});
    ui.advance(2000ms);
    EXPECT_EQ(log, (std::vector<std::string>{"a+", "b+", "group", "outside+"}));

    log.clear();
    Transaction::begin();
    Transaction::setCompletionBlock([this] { log.push_back("empty"); });
    Transaction::commit();
    EXPECT_TRUE(log.empty());
    ui.settle();
    EXPECT_EQ(log, std::vector<std::string>{"empty"});
    Transaction::commit();
    Transaction::setCompletionBlock([] { FAIL(); });
    ui.settle();
}

TEST_F(AnimatorTest, ConstraintShowsWhatIsSeen) {
    LayoutConstraint constraint;
    int seen = 0;
    QObject::connect(&constraint, &LayoutConstraint::seenChanged, [&] { ++seen; });
    animateKeyframes(1.0, [&] { constraint.setConstant(100); });
    EXPECT_EQ(constraint.constant(), 100);
    ui.advance(512ms);
    EXPECT_NEAR(constraint.seen(), 51.2, 2);
    EXPECT_GT(seen, 20);
    constraint.setConstant(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(constraint.constant(), 100);
}

}  // namespace
}  // namespace korvane
