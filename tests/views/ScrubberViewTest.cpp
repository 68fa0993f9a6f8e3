#include <gmock/gmock.h>

#include "korvane/base/Semaphore.h"
#include "korvane/client/Status.h"
#include "korvane/tests/views/StripFixture.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class ScrubberViewTest : public StripTest {
  protected:
    std::int32_t bind() { return view_->setSource(QString::fromStdString(service_.makeToken())); }
};

TEST_F(ScrubberViewTest, StateFollowsEachTriggerAndNothingIsRefused) {
    view_->setState(ScrubberStateReady, 7);
    EXPECT_THAT(host_.take(), testing::Contains("state 0>0 7"));

    EXPECT_EQ(bind(), 0);
    EXPECT_EQ(bind(), 0);
    EXPECT_THAT(host_.take(), ElementsAre("state 0>1 0", "state 1>1 0"));
    settle();
    EXPECT_THAT(host_.take(), ElementsAre("state 1>0 0"));

    service_.scriptNext("getEvents", Script::failed(503));
    EXPECT_EQ(view_->refresh(), 0);
    settle();
    EXPECT_THAT(host_.take(), ElementsAre("state 0>3 0", "state 3>0 503"));

    EXPECT_LT(view_->setSource(QStringLiteral("no token")), 0);
    settle();
    EXPECT_THAT(host_.take(), ElementsAre("state 0>1 0"));
    view_->clean();
    EXPECT_THAT(host_.take(), ElementsAre("state 1>0 0"));
}

TEST_F(ScrubberViewTest, ASourceThatIsOvertakenIsClosedAndNotHeardOf) {
    service_.addEvents(5, ui_.scheduler().utcNow());
    bind();
    Semaphore(ui_.scheduler()).waitFor(1s);  // it has loaded, and its report waits for the main thread
    EXPECT_EQ(view_->getEventsCount(), 7);
    service_.scriptNext("getEvents", Script::held());
    bind();
    settle();
    EXPECT_THAT(host_.take(), ElementsAre("state 0>1 0", "state 1>1 0"));
    service_.releaseAll();
    settle();
    EXPECT_THAT(host_.take(), ElementsAre("state 1>0 0"));
}

TEST_F(ScrubberViewTest, StaysEmptyAndSafeWithoutAService) {
    ScrubberView view(TimelineEnvironment{}, Rect{0, 0, 800, 120}, ui_.root());
    view.setDelegate(host_.delegate);
    host_.take();
    EXPECT_EQ(view.setSource(QStringLiteral("token")), StatusBadCall);
    EXPECT_EQ(view.refresh(), StatusBadCall);
    view.toEvent(nullptr);
    view.updateScrubberData();
    settle();
    EXPECT_THAT(host_.take(), IsEmpty());
    EXPECT_EQ(view.getEventsCount(), 0);
    EXPECT_THAT(view.getEvents(), IsEmpty());
}

TEST_F(ScrubberViewTest, SpacersLetTheOutermostEntriesRestOnTheMark) {
    show(5);
    const std::tuple<double, double, double> cases[] = {{800, 3, 390.5}, {801, 2, 391.5}, {18, 3, 0}, {20, 3, 0.5}};
    for (const auto& [width, markWidth, spacer] : cases) {
        view_->getConfig().setScrubberCenterMarkWidth(markWidth);
        view_->applyConfig();
        ui_.root()->setWidth(width);
        settle();
        strip().layoutIfNeeded();
        EXPECT_DOUBLE_EQ(frame(0).width, spacer) << width;
        EXPECT_DOUBLE_EQ(frame(4).width, spacer) << width;
    }
}

TEST_F(ScrubberViewTest, IsSpokenAsASliderOverItsEntries) {
    load(250);
    EXPECT_EQ(spoken(*view_), "251 of 1..251 | Live view | ");
    view_->toLastEvent();
    settle();
    ui_.advance(100ms);
    const std::string last = "250 of 1..251 | Tue 14 Nov 2023, 22:13:20 | recorded, nearest event: motion at 22:13:20";
    EXPECT_EQ(spoken(*view_), last);
    drag(300);
    EXPECT_EQ(spoken(*view_), last) << "not on the way";
    settle();
    ui_.advance(1s);
    EXPECT_EQ(spoken(*view_),
              "247 of 1..251 | Tue 14 Nov 2023, 22:11:50 | recorded, nearest event: motion at 22:11:50");
}

TEST_F(ScrubberViewTest, HostMayBindAnewWhileItHearsOfTheState) {
    service_.addEvents(5, ui_.scheduler().utcNow());
    bool again = true;
    host_.on["state 0>1"] = [&] {
        if (std::exchange(again, false)) bind();
    };
    EXPECT_EQ(bind(), StatusBadCall) << "the later source has taken over";
    settle();
    EXPECT_EQ(view_->getEventsCount(), 7);
    EXPECT_EQ(service_.count("getEvents"), 1U);
}

TEST_F(ScrubberViewTest, SettingsTakeEffectWhenTheyAreApplied) {
    const auto color = [this] {
        return qvariant_cast<QQuickItem*>(view_->contentView()->property("scrubberCenterMarkView"))->property("color");
    };
    view_->getConfig().setScrubberCenterMarkColor(Qt::green);
    EXPECT_NE(color().value<QColor>(), QColor(Qt::green));
    view_->applyConfig();
    settle();
    EXPECT_EQ(color().value<QColor>(), QColor(Qt::green));
}

TEST_F(ScrubberViewTest, TokenWarningReachesQml) {
    int signalled = 0;
    QObject::connect(view_.get(), &ScrubberView::sharedTokenWillExpireIn, [&](qint64) { ++signalled; });
    const auto expires = service_.helpers()->formatTimeWithSSS(ui_.scheduler().utcNow() + 4 * 60'000);
    ASSERT_EQ(view_->setSource(QString::fromStdString(service_.makeToken(7, expires))), 0);
    ui_.advance(6s);
    EXPECT_EQ(signalled, 1);
}

}  // namespace
}  // namespace korvane::test
