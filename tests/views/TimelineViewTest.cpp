// The time ruler as its host sees it, on virtual time, with a scripted camera and a player.
#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QKeyEvent>
#include <QQmlComponent>
#include <QQmlEngine>

#include "korvane/base/Semaphore.h"
#include "korvane/tests/views/RulerFixture.h"
#include "korvane/views/timeline/TimelineTypes.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

using TimelineViewTest = RulerFixture;

void press(QQuickItem& item, Qt::Key key) {
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(&item, &event);
}

TEST_F(TimelineViewTest, ControlsAndScales) {
    const std::tuple<int, int, float, const char*> rows[] = {
        {1, 1, 20, "HR"}, {2, 2, 120, "12H"}, {4, 2, 120, "12H"}, {-1, 2, 120, "12H"}, {0, 0, 1, "MIN"}};
    for (const auto& [row, expected, scale, title] : rows) {
        view_->setScale(row);
        EXPECT_EQ(view_->getScale(), expected) << row;
        EXPECT_EQ(slider().timeScale(), scale);
        EXPECT_EQ(outlet("scaleControl").property("title").toString(), title);
    }
    for (const int expected : {1, 2, 0}) {
        view_->scaleControlPressed();
        EXPECT_EQ(view_->getScale(), expected);
    }
    view_->getConfig()->setControls(TimelineControlLeftButton);
    view_->applyConfig();
    EXPECT_EQ(slider().width(), 640) << "not before the next turn";
    ui_.settle();
    EXPECT_EQ(slider().width(), 770);
    const TimeSec center = view_->centerTime();
    view_->rightBtn_click();
    EXPECT_EQ(view_->centerTime(), center + 760);
    ui_.tap({15, 40});
    EXPECT_EQ(view_->centerTime(), center) << "by its button";
}

TEST_F(TimelineViewTest, ARangeTakesTheWholeRulerAndGoesAgain) {
    view_->setScale(1);
    view_->setRange(1'000, 9'000);
    EXPECT_EQ(view_->getScale(), 1);
    ui_.settle();
    EXPECT_EQ(view_->getScale(), 3);
    EXPECT_EQ(slider().width(), 800);
    EXPECT_EQ(slider().timeScale(), 10);
    EXPECT_EQ(view_->centerTime(), 4'950) << "a margin is missing, so its begin lies at the left edge";
    ui_.root()->setWidth(400);
    ui_.settle();
    EXPECT_EQ(slider().timeScale(), 20);
    view_->rightBtn_click();
    EXPECT_EQ(view_->centerTime(), 5'100) << "its end lies at the right one";
    view_->leftBtn_click();
    EXPECT_EQ(view_->centerTime(), 4'900);
    view_->unsetRange();
    ui_.settle();
    EXPECT_EQ(view_->getScale(), 1);
    EXPECT_EQ(slider().width(), 240);
    // Set twice, the row before the first one is forgotten.
    view_->setRange(1'000, 9'000);
    view_->setRange(1'000, 9'000);
    view_->unsetRange();
    ui_.settle();
    EXPECT_EQ(view_->getScale(), 3);
}

TEST_F(TimelineViewTest, FollowsAPlayerUntilItIsStopped) {
    const TimeMs start = ui_.scheduler().utcNow() - 5 * hour;
    record(start, start + hour);
    player_->position = start + 10'500;
    std::vector<TimeMs> heard;
    const auto host = std::make_shared<TimelineViewDelegate>();
    host->OnTimelinePositionChanged = [&](TimeMs position, auto...) { heard.push_back(position); };
    view_->setPlayer(player_);
    view_->setDelegate(host);
    view_->setPosition(start / 1000);
    watch(4);
    EXPECT_EQ(view_->currentPosition(), start / 1000 + 10);
    EXPECT_GE(heard.size(), 3U);
    const TimeSec center = view_->centerTime();
    press(*view_, Qt::Key_PageDown);
    EXPECT_GT(view_->centerTime(), center + 600);
    press(*view_, Qt::Key_Minus);
    EXPECT_EQ(view_->getScale(), 1);

    view_->stopUpdates();
    heard.clear();
    ui_.advance(3s);
    EXPECT_THAT(heard, IsEmpty());
    view_->setPlayer(nullptr);
    ui_.advance(3s);
    EXPECT_EQ(view_->getCamera(), nullptr);
    EXPECT_EQ(ui_.scheduler().liveThreads(), threadsBefore_);
}

TEST_F(TimelineViewTest, WhatIsRecordedMeanwhileAppears) {
    record(ui_.scheduler().utcNow() - 2 * hour, ui_.scheduler().utcNow() - 1 * hour);
    player_->position = ui_.scheduler().utcNow() - 9 * hour;
    view_->setPlayer(player_);
    view_->setScale(2);
    watch(6);
    const TimeMs begin = ui_.scheduler().utcNow() - 1'000;
    record(begin, begin + 60'000);
    watch(6);
    view_->setPlayer(nullptr);
    const TimeMs present = begin / (3 * hour) * 3 * hour;
    const auto asked = service_.requests("getTimelineSync");
    EXPECT_GE(std::ranges::count_if(asked, [&](const auto& request) { return request.start == present; }), 3);
}

TEST_F(TimelineViewTest, AHostsAnswerReplacesTheCameras) {
    const TimeMs start = ui_.scheduler().utcNow() - 5 * hour;
    std::vector<TimeMs> asked;
    const auto host = std::make_shared<TimelineViewDelegate>();
    host->OnTimelineDataRequest = [&](TimeMs from, TimeMs to) -> std::shared_ptr<Timeline> {
        EXPECT_EQ(to - from, 3 * hour);
        asked.push_back(from);
        if (asked.size() == 2) throw 1;
        Semaphore(ui_.scheduler()).waitFor(10s);
        return nullptr;
    };
    view_->setDelegate(host);
    view_->setCamera(player_->source);
    view_->setScale(2);
    view_->setPosition(start / 1000);
    watch(30);
    EXPECT_EQ(service_.count("getTimelineSync"), 0U);
    EXPECT_GE(asked.size(), 3U) << "what failed is asked for again";
}

TEST_F(TimelineViewTest, AQmlHostNeedsNoCpp) {
    registerTimelineTypes();
    TimelineEnvironment::setShared(environment_);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import Korvane.Timeline\nTimelineView { width: 500; height: 60; scaleRow: 2; trackWidth: 6 }",
                      {});
    const std::unique_ptr<QObject> made(component.create());
    auto* const ruler = qobject_cast<TimelineView*>(made.get());
    ASSERT_TRUE(ruler) << component.errorString().toStdString();
    ruler->setParentItem(ui_.root());
    ui_.settle();
    EXPECT_EQ(ruler->getScale(), 2);
    EXPECT_EQ(ruler->findChild<TimelineSlider*>()->trackWidth(), 6);

    // Its source is a token, its player something that has a position.
    const TimeMs start = ui_.scheduler().utcNow() - 5 * hour;
    record(start, start + hour);
    ruler->setSource("x");
    ui_.advance(1s);
    EXPECT_NE(ruler->sourceStatus(), 0);
    ruler->setPlayerPosition(start + 5'000);
    ruler->setSource(QString::fromStdString(service_.makeToken()));
    watch(6);
    EXPECT_EQ(ruler->sourceStatus(), 0);
    EXPECT_EQ(ruler->currentPosition(), start / 1000 + 5);
    EXPECT_EQ(ruler->contentView()->property("spokenDetails").toString(), "recorded");
    std::vector<qint64> sought;
    QObject::connect(ruler, &TimelineView::positionSet, [&](qint64 time) { sought.push_back(time); });
    press(*ruler, Qt::Key_Left);
    EXPECT_THAT(sought, ElementsAre(ruler->playerPosition() / 1000));
    TimelineEnvironment::setShared({});
}

}  // namespace
}  // namespace korvane::test
