#include <gmock/gmock.h>

#include "korvane/base/Semaphore.h"
#include "korvane/client/Status.h"
#include "korvane/tests/views/StripFixture.h"
#include "korvane/toolkit/ImageCache.h"
#include "korvane/views/timeline/Version.h"

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

TEST_F(ScrubberViewTest, SettingsTakeEffectWhenTheyAreApplied) {
    show(10);
    const auto color = [this](const char* outlet) {
        return qvariant_cast<QQuickItem*>(view_->contentView()->property(outlet))->property("color").value<QColor>();
    };
    auto& config = view_->getConfig();
    config.setCellSeparatorWidth(11);
    config.setBackgroundColor(Qt::darkBlue);
    config.setScrubberCenterMarkColor(Qt::green);
    settle();
    EXPECT_DOUBLE_EQ(frame(2).x - frame(1).right(), 1);
    EXPECT_NE(color("conatinerForScrubberEvents"), QColor(Qt::darkBlue));
    view_->applyConfig();
    settle();
    EXPECT_DOUBLE_EQ(frame(2).x - frame(1).right(), 11);
    EXPECT_EQ(color("conatinerForScrubberEvents"), QColor(Qt::darkBlue));
    EXPECT_EQ(color("scrubberCenterMarkView"), QColor(Qt::green));
}

TEST_F(ScrubberViewTest, SpacersLetTheOutermostEntriesRestOnTheMark) {
    struct Case {
        double width;
        double markWidth;
        double head;
        double tail;
    };
    const Case cases[] = {
        {800, 3, 390.5, 390.5}, {801, 2, 391.5, 391.5}, {18, 3, 0, 0}, {20, 3, 0.5, 0.5}, {0, 3, 0, 0}};
    const auto source = show(5);
    for (const Case& c : cases) {
        view_->getConfig().setScrubberCenterMarkWidth(c.markWidth);
        view_->applyConfig();
        ui_.root()->setWidth(c.width);
        settle();
        strip().layoutIfNeeded();
        EXPECT_DOUBLE_EQ(frame(0).width, c.head) << c.width;
        EXPECT_DOUBLE_EQ(frame(4).width, c.tail) << c.width;
        EXPECT_DOUBLE_EQ(frame(1).width, 100) << c.width;
    }
    ui_.root()->setWidth(800);
    settle();
    for (const std::int64_t count : {0, 1, 2}) {
        source->count = count;
        source->made.clear();
        view_->reload();
        settle();
        strip().layoutIfNeeded();
        EXPECT_EQ(strip().numberOfItems(), count);
        EXPECT_DOUBLE_EQ(frame(0).width, count > 0 ? 390.5 : 0);
        EXPECT_DOUBLE_EQ(frame(1).width, count > 1 ? 390.5 : 0);
    }
    strip().setContentInset({10, 0, 20, 0});
    settle();
    strip().layoutIfNeeded();
    EXPECT_DOUBLE_EQ(frame(0).height, 90);
}

TEST_F(ScrubberViewTest, TokenWarningReachesTheHostAndQml) {
    int signalled = 0;
    QObject::connect(view_.get(), &ScrubberView::sharedTokenWillExpireIn, [&](qint64) { ++signalled; });
    const TimeMs soon = ui_.scheduler().utcNow() + 4 * 60'000;
    const auto expires = service_.helpers()->formatTimeWithSSS(soon);
    ASSERT_EQ(view_->setSource(QString::fromStdString(service_.makeToken(7, expires))), 0);
    ui_.advance(6s);
    EXPECT_GE(host_.count("expires"), 1U);
    EXPECT_EQ(static_cast<std::size_t>(signalled), host_.count("expires"));
}

TEST(VersionTest, IsExported) {
    const std::string exported(reinterpret_cast<const char*>(korvanesdktimelineviewVersionString));
    EXPECT_NE(exported.find(ScrubberView::getVersion().toStdString()), std::string::npos);
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

}  // namespace
}  // namespace korvane::test
