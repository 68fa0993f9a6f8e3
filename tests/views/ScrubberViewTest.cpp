#include "views/timeline/ScrubberView.h"

#include <gmock/gmock.h>

#include "client/Status.h"
#include "tests/views/StripFixture.h"
#include "toolkit/ImageCache.h"
#include "views/timeline/Version.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class ScrubberViewTest : public StripTest {
  protected:
    std::int32_t bind() { return view_->setSource(QString::fromStdString(service_.makeToken())); }
};

TEST_F(ScrubberViewTest, FirstPageBringsTheStripToTheLiveEnd) {
    service_.addEvents(250, ui_.scheduler().utcNow());
    host_.take();
    ASSERT_EQ(bind(), 0);
    EXPECT_THAT(host_.take(), ElementsAre("state 0>1 0"));
    settle();
    ui_.advance(50ms);
    EXPECT_THAT(host_.take(), ElementsAre("state 1>0 0"));
    EXPECT_EQ(view_->getEventsCount(), 252);
    EXPECT_EQ(service_.count("getEvents"), 1U);
    EXPECT_EQ(underMark(), 251);
    EXPECT_NEAR(view_->getOffsetBetweenPointerAndItemBegin(251), 0, 1e-6);
    EXPECT_FALSE(view_->getCurrentEvent());
    EXPECT_NE(dateOf(250), "loading...");
}

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

TEST_F(ScrubberViewTest, SourcesOfEveryTypeLoadAndTheOldOneIsDetached) {
    service_.addEvents(3, ui_.scheduler().utcNow());
    for (const int type : {0, 2, 9}) {
        view_->getConfig().setDataSourceType(type);
        service_.scriptNext("getEvents", Script::held());
        ASSERT_EQ(bind(), 0);
        settle();
        ASSERT_EQ(bind(), 0);
        settle();
        EXPECT_EQ(view_->getEventsCount(), 5) << type;
        host_.take();
        service_.releaseAll();
        settle();
        EXPECT_THAT(host_.take(), IsEmpty()) << "a late reply of the first source, type " << type;
    }
}

TEST_F(ScrubberViewTest, CleanKeepsHostAndSettingsAndTheViewCanBeBoundAgain) {
    load(10);
    ui_.tap({250, 60});
    ui_.advance(1100ms);
    ASSERT_TRUE(view_->getCurrentEvent());
    const auto& cache = ToolkitContext::shared()->imageCache;
    cache->storeImageToMemory(QImage(8, 8, QImage::Format_ARGB32), "key");
    view_->clean();
    EXPECT_FALSE(view_->getCurrentEvent());
    EXPECT_EQ(view_->getEventsCount(), 0);
    EXPECT_EQ(cache->memoryCost(), 0);
    EXPECT_DOUBLE_EQ(view_->getConfig().cellWidth(), 100);
    EXPECT_EQ(bind(), 0);
    settle();
    EXPECT_EQ(view_->getEventsCount(), 12);
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

TEST_F(ScrubberViewTest, AMillionEntriesNeedAScreenfulOfCells) {
    const auto source = show(1'000'002);
    const auto cells = [this] { return strip().findChildren<ScrubberCell*>().size(); };
    moveTo(400'000);
    drag(-300);
    const auto warm = cells();
    for (const std::int64_t index : {500'000, 999'990, 3, 250'000}) {
        moveTo(index);
        dragToRest(-300);
    }
    EXPECT_EQ(cells(), warm);
    EXPECT_LE(warm, 24);
    EXPECT_LE(source->made.size(), 300U) << "entries off the screen were asked for";
}

TEST_F(ScrubberViewTest, TheHostsOwnListComesBeforeTheProviders) {
    load(10);
    const auto source = show(4);
    EXPECT_EQ(view_->getEventsCount(), 4);
    EXPECT_EQ(view_->getEvents().size(), 3U) << "all but the head";
    EXPECT_EQ(view_->getEvent(1), source->OnScrubberGetEventByIndex(1));
    EXPECT_EQ(view_->getEvent(4), nullptr);
    EXPECT_EQ(view_->getEvent(-1), nullptr);
    view_->setDataSourceDelegate(nullptr);
    EXPECT_EQ(view_->getEvents().size(), 12U);
}

TEST_F(ScrubberViewTest, PlaybackQuestionsGoToTheHost) {
    const auto event = ScrubberEvent::build(100'000);
    event->setStart(95'000);
    event->setEnd(145'000);
    TimeMs start = 0;
    view_->OnScrubberGetRangeForPlayingEvent(event, &start, nullptr);
    EXPECT_EQ(start, 95'000);
    EXPECT_EQ(view_->OnScrubberGetCurrentPositionForPlayingEvent(event), 0);
    EXPECT_EQ(view_->OnScrubberEventPlayStarted(event), 0);

    host_.delegate->OnScrubberGetRangeForPlayingEvent = [](const auto&, TimeMs* from, TimeMs* to) {
        *from += 1'000;
        *to -= 1'000;
    };
    host_.delegate->OnScrubberGetCurrentPositionForPlayingEvent = [](const auto&) { return TimeMs{42}; };
    host_.delegate->OnScrubberEventPlayFinished = [](const auto&) -> std::int32_t { throw std::runtime_error("host"); };
    TimeMs end = 0;
    view_->OnScrubberGetRangeForPlayingEvent(event, &start, &end);
    EXPECT_EQ(start, 96'000);
    EXPECT_EQ(end, 144'000);
    EXPECT_EQ(view_->OnScrubberGetCurrentPositionForPlayingEvent(event), 42);
    EXPECT_EQ(view_->OnScrubberEventPlayFinished(event), 0);
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

TEST_F(ScrubberViewTest, MayDieAtAnyStage) {
    for (const char* const stage : {"state 0>1", "state 1>0", "select", "start", "continue", "end", "seek"}) {
        service_.withFootage([](ScriptedFootage& footage) { footage.clear(); });
        bool died = false;
        host_.on = {{stage, [&] {
                         if (died) return;
                         died = true;
                         view_.reset();
                     }}};
        service_.addEvents(20, ui_.scheduler().utcNow());
        bind();
        for (int step = 0; view_ && step < 4; ++step) {
            settle();
            ui_.advance(50ms);
            if (!view_) break;
            if (step == 1) ui_.tap({250, 60});
            ui_.advance(1100ms);
            if (view_ && step > 1) drag(-20);
        }
        EXPECT_TRUE(died) << stage;
        ui_.advance(2s);
        host_.on.clear();
        makeView();
    }
}

TEST_F(ScrubberViewTest, SurvivesAStormOfSourcesAndItsEndDuringAFill) {
    service_.addEvents(120, ui_.scheduler().utcNow());
    for (int turn = 0; turn < 30; ++turn) {
        if (turn % 3 == 0) service_.scriptNext("getEvents", turn % 2 == 0 ? Script::held() : Script::late(40ms));
        bind();
        if (turn % 4 == 0) settle();
        if (turn % 7 == 0) view_->clean();
        if (turn % 10 == 9) {
            makeView();
            service_.releaseAllReversed();
        }
    }
    service_.releaseAll();
    ui_.advance(1s);
    bind();
    settle();
    EXPECT_EQ(view_->getEventsCount(), 122);
    EXPECT_LE(service_.openConnections(), 1);
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

TEST(VersionTest, IsExported) {
    const std::string exported(reinterpret_cast<const char*>(korvanesdktimelineviewVersionString));
    EXPECT_NE(exported.find(ScrubberView::getVersion().toStdString()), std::string::npos);
}

}  // namespace
}  // namespace korvane::test
