// The time ruler as its host sees it, on virtual time, with a scripted camera and a player.
#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QKeyEvent>
#include <QQmlComponent>
#include <QQmlEngine>
#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "korvane/base/Semaphore.h"
#include "korvane/client/KorvaneCameraList.h"
#include "korvane/client/KorvanePlayer.h"
#include "korvane/client/KorvaneShareConnection.h"
#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSlider.h"
#include "korvane/views/timeline/TimelineTypes.h"
#include "korvane/views/timeline/TimelineView.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr TimeMs hour = 3'600'000;

class FakePlayer final : public KorvanePlayer {
  public:
    TimeMs getPosition() const override { return position; }
    void setPosition(TimeMs to) override {
        position = to;
        seeks.push_back(to);
    }
    std::shared_ptr<KorvaneCamera> getSource() const override { return source; }

    std::atomic<TimeMs> position = -1;
    std::vector<TimeMs> seeks;
    std::shared_ptr<KorvaneCamera> source;
};

class TimelineViewTest : public ::testing::Test {
  protected:
    TimelineViewTest() : service_(ui_.scheduler()) {
        player_->source = camera();
        service_.clearRequests();
        view_ = std::make_unique<TimelineView>(environment_, Rect{}, ui_.root());
        ui_.settle();
    }
    ~TimelineViewTest() override {
        view_.reset();
        service_.releaseAll();
        ui_.settle();
        EXPECT_EQ(ui_.scheduler().liveThreads(), threadsBefore_);
    }

    std::shared_ptr<KorvaneCamera> camera() {
        connection_ = service_.makeConnection();
        EXPECT_EQ(connection_->openSync(service_.makeToken()), 0);
        std::shared_ptr<KorvaneCamera> found;
        service_.makeCameraList(connection_)->getCamera(7, [&](auto camera, const auto&, auto) { found = camera; });
        ui_.advance(100ms);
        threadsBefore_ = ui_.scheduler().liveThreads();
        return found;
    }
    void record(TimeMs start, TimeMs end) {
        service_.withFootage([&](ScriptedFootage& footage) { footage.addRecord({++id_, start, end, "", ""}); });
    }
    TimelineSlider& slider() const { return *view_->findChild<TimelineSlider*>(); }
    QObject& outlet(const char* name) const { return *qvariant_cast<QObject*>(view_->contentView()->property(name)); }
    TimeSec presentTime() { return ui_.scheduler().utcNow() / 1000; }
    /// As so many frames that are drawn, a second apart.
    void watch(int seconds) {
        for (int i = 0; i < seconds; ++i) {
            ui_.grab();
            ui_.advance(1s, 100ms);
        }
    }
    void press(Qt::Key key, Qt::KeyboardModifiers with = Qt::NoModifier) {
        QKeyEvent event(QEvent::KeyPress, key, with);
        QCoreApplication::sendEvent(view_.get(), &event);
        ui_.settle();
    }

    VirtualUi ui_{800, 80};
    ScriptedService service_;
    const TimelineEnvironment environment_{nullptr, std::shared_ptr<KorvaneService>(&service_, [](auto*) {})};
    std::shared_ptr<KorvaneShareConnection> connection_;
    std::shared_ptr<FakePlayer> player_ = std::make_shared<FakePlayer>();
    std::unique_ptr<TimelineView> view_;
    std::int64_t id_ = 0;
    int threadsBefore_ = 0;
};

TEST_F(TimelineViewTest, ControlsAndScales) {
    EXPECT_EQ(slider().width(), 800 - 30 - 30 - 40 - 60);
    EXPECT_EQ(outlet("scaleControl").property("title").toString(), "MIN");
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
    view_->toggleScaleControl(2);
    view_->toggleScaleControl(3);
    EXPECT_EQ(view_->getScale(), 0);
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
    view_->setPosition(5);
    EXPECT_EQ(view_->centerTime(), 5);
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
    view_->setPosition(7);
    EXPECT_EQ(view_->centerTime(), 5'000);
    view_->rightBtn_click();
    EXPECT_EQ(view_->centerTime(), 5'100) << "its end lies at the right one";
    view_->unsetRange();
    ui_.settle();
    EXPECT_EQ(view_->getScale(), 1);
    EXPECT_EQ(slider().timeScale(), 20);
    EXPECT_EQ(slider().width(), 240);
    // Set twice, the row before the first one is forgotten.
    view_->setRange(1'000, 9'000);
    view_->setRange(1'000, 9'000);
    view_->unsetRange();
    ui_.settle();
    EXPECT_EQ(view_->getScale(), 3);
}

TEST_F(TimelineViewTest, FollowsAPlayerAndShowsWhatIsRecorded) {
    const TimeMs start = ui_.scheduler().utcNow() - 5 * hour;
    record(start, start + hour);
    player_->position = start + 10'500;
    std::vector<TimeMs> heard;
    const auto host = std::make_shared<TimelineViewDelegate>();
    host->OnTimelinePositionChanged = [&](TimeMs position, TimeMs duration, TimeMs, TimeMs) {
        heard.push_back(position);
        EXPECT_EQ(duration, -1);
    };
    view_->setPlayer(player_);
    view_->setDelegate(host);
    EXPECT_EQ(view_->getCamera(), player_->source);
    view_->setPosition(start / 1000);
    watch(4);
    EXPECT_EQ(view_->currentPosition(), start / 1000 + 10);
    EXPECT_GE(heard.size(), 3U);
    EXPECT_GE(service_.count("getTimelineSync"), 1U);
    view_->setPosition(start / 1000);
    ui_.advance(1s);
    EXPECT_EQ(view_->contentView()->property("spokenDetails").toString(), "recorded");

    // A tap seeks, and while a hand holds the knob the player does not move it.
    ui_.tap({view_->width() / 2, 40});
    ui_.settle();
    ASSERT_EQ(player_->seeks.size(), 1U);
    EXPECT_NEAR(static_cast<double>(player_->seeks[0]), static_cast<double>(start), 100'000);
    press(Qt::Key_Right);
    EXPECT_EQ(player_->seeks.back() - player_->seeks[0], 60'000);
    const TimeSec center = view_->centerTime();
    press(Qt::Key_PageDown);
    EXPECT_GT(view_->centerTime(), center + 600);
    press(Qt::Key_Minus);
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

// A source that is slow, fails and hangs by turns; a host that does everything at any time.
TEST_F(TimelineViewTest, NothingThatAHostDoesHangsOrCrashes) {
    for (unsigned seed = 1; seed <= 12; ++seed) {
        std::mt19937 random(seed);
        const auto draw = [&](int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); };
        if (!view_) view_ = std::make_unique<TimelineView>(environment_, Rect{}, ui_.root());
        record(ui_.scheduler().utcNow() - 9 * hour, ui_.scheduler().utcNow() - 8 * hour);
        const auto host = std::make_shared<TimelineViewDelegate>();
        host->OnTimelinePositionChanged = [&](auto...) {
            if (draw(5) == 0) view_->stopUpdates();
        };
        const double odd[] = {0, 1, 400, 1e9, -1e9, 3};
        const TimeSec times[] = {0,
                                 -1,
                                 presentTime(),
                                 presentTime() - 30'000,
                                 std::numeric_limits<TimeSec>::max(),
                                 std::numeric_limits<TimeSec>::min()};
        for (int step = 0; step < 150; ++step) {
            switch (draw(16)) {
                case 0:
                    view_->setPlayer(draw(3) ? player_ : nullptr);
                    break;
                case 1:
                    view_->setDelegate(draw(2) ? host : nullptr);
                    break;
                case 2:
                    view_->setScale(draw(6) - 1);
                    break;
                case 3:
                    view_->setRange(times[draw(6)], times[draw(6)]);
                    break;
                case 4:
                    view_->unsetRange();
                    break;
                case 5:
                    view_->setPosition(times[draw(6)]);
                    break;
                case 6:
                    ui_.root()->setWidth(odd[draw(3)]);
                    break;
                case 7:
                    player_->position = times[draw(4)] * 1000;
                    break;
                case 8:
                    service_.scriptNext("getTimelineSync", draw(2) ? Script::held() : Script::failed(503));
                    break;
                case 9:
                    service_.releaseAll();
                    break;
                case 10:
                    ui_.drag({300, 40}, {300 + draw(300) - 150.0, 40}, 64ms);
                    break;
                case 11:
                    ui_.tap({static_cast<double>(draw(800)), 40});
                    break;
                case 12:
                    draw(2) ? view_->stopUpdates() : view_->startUpdates();
                    break;
                case 13:
                    view_->setZoomEnabled(true);
                    ui_.wheel({300, 40}, {0, draw(600) - 300});
                    break;
                case 14:
                    if (draw(6) == 0) {
                        view_->clean();
                        view_->clean();
                        view_.reset();
                    }
                    break;
                default:
                    ui_.grab();
                    ui_.advance(std::chrono::milliseconds(draw(2'000)), 100ms);
                    break;
            }
            if (!view_) break;
            ui_.settle();
        }
        if (view_) view_->setTrackingMode(true);
    }
}

TEST_F(TimelineViewTest, AQmlHostNeedsNoCpp) {
    registerTimelineTypes();
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(
        "import Korvane.Timeline\n"
        "TimelineView { width: 500; height: 60; scaleRow: 2; trackWidth: 6; textColor: 'red'; controls: 3 }",
        {});
    const std::unique_ptr<QObject> made(component.create());
    auto* const ruler = qobject_cast<TimelineView*>(made.get());
    ASSERT_TRUE(ruler) << component.errorString().toStdString();
    ruler->setParentItem(ui_.root());
    ui_.settle();
    EXPECT_EQ(ruler->getScale(), 2);
    EXPECT_EQ(ruler->findChild<TimelineSlider*>()->trackWidth(), 6);
    EXPECT_EQ(ruler->findChild<TimelineSlider*>()->width(), 500 - 60);
}

}  // namespace
}  // namespace korvane::test
