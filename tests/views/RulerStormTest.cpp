// A source that is slow, fails and hangs by turns, and a host that does everything at any time. Whatever has happened,
// the ruler tells only of places where its player has been, asks for one sector at a time, and once all is well again
// shows what is recorded and follows.
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "korvane/base/SaturatingTime.h"
#include "korvane/base/Semaphore.h"
#include "korvane/calendar/CalendarMonthModel.h"
#include "korvane/calendar/CalendarView.h"
#include "korvane/tests/support/service/Seeds.h"
#include "korvane/tests/views/RulerFixture.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

class RulerStormTest : public RulerFixture, public testing::WithParamInterface<unsigned> {
  protected:
    RulerStormTest() : random_(GetParam()) {
        service_.scriptAll("getTimelineSync", Script::late(20ms));
        record(now_ - 9 * hour, now_ - 8 * hour);
        record(now_ - 40 * hour, now_ - 30 * hour);
        host_->OnTimelinePositionChanged = [this](TimeMs position, auto...) {
            heard_.insert(position);
            if (draw(9) == 0) view_->stopUpdates();
        };
        QObject::connect(view_.get(), &TimelineView::positionSet,
                         [this](qint64 time) { been_.insert(saturatingMultiply(time, 1000)); });
        slow_->OnTimelineDataRequest = [this](TimeMs, TimeMs) {
            if (draw(3) == 0) Semaphore(ui_.scheduler()).waitFor(10s);
            return std::make_shared<Timeline>();
        };
    }
    ~RulerStormTest() override { view_->clean(); }

    int draw(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }
    template <typename T>
    T one(const std::vector<T>& of) {
        return of[static_cast<std::size_t>(draw(static_cast<int>(of.size())))];
    }
    TimeSec anyTime() {
        using Limit = std::numeric_limits<TimeSec>;
        return one<TimeSec>({0, -1, presentTime(), presentTime() - 30'000, presentTime() - 130'000, 1'700'000'000,
                             Limit::max(), Limit::min()});
    }
    Point anywhere() { return {static_cast<double>(draw(800)), static_cast<double>(draw(80))}; }
    void goTo(TimeMs position) {
        been_.insert(position);
        player_->position = position;
    }
    void expectOnlyPlacesOfThePlayer() {
        been_.insert(view_->playerPosition());
        for (const TimeMs position : heard_) EXPECT_TRUE(been_.contains(position)) << position;
        heard_.clear();
    }
    void step();
    void callHost();
    void useHand();
    void disturbService();

    QQuickItem place_{ui_.root()};
    std::mt19937 random_;
    const TimeMs now_ = ui_.scheduler().utcNow();
    // The scheduler lets one thread run at a time.
    std::set<TimeMs> been_{-1};
    std::set<TimeMs> heard_;
    std::shared_ptr<TimelineViewDelegate> host_ = std::make_shared<TimelineViewDelegate>();
    std::shared_ptr<TimelineViewDelegate> slow_ = std::make_shared<TimelineViewDelegate>();
};

void RulerStormTest::callHost() {
    const std::vector<std::function<void()>> calls{
        [this] {
            view_->setPlayer(one<std::shared_ptr<KorvanePlayer>>({player_, player_, nullptr}));
        },
        [this] { view_->setCamera(draw(2) ? player_->source : nullptr); },
        [this] {
            view_->setSource(draw(2) ? QString::fromStdString(service_.makeToken()) : one<QString>({"", "x"}));
        },
        [this] {
            view_->setPlayerPosition(one<TimeMs>({-1, now_ - 9 * hour}));
        },
        [this] {
            view_->setDelegate(one<std::shared_ptr<TimelineViewDelegate>>({host_, slow_, nullptr}));
        },
        [this] { view_->setScale(draw(6) - 1); },
        [this] { view_->setRange(anyTime(), anyTime()); },
        [this] { view_->unsetRange(); },
        [this] { view_->setPosition(anyTime()); },
        [this] {
            view_->setTimeZone(one<QString>({"", "America/New_York", "Nowhere/Land", "Asia/Kolkata"}));
        },
        [this] {
            view_->setStrokeStepWidth(one<float>({60, 0, -4, 1e-9F, std::numeric_limits<float>::quiet_NaN()}));
        },
        [this] { view_->setControls(draw(32)); },
        [this] {
            view_->setCalendarContainer(one<QQuickItem*>({&place_, nullptr}));
        },
        [this] { view_->toggleCalendarControl(draw(2)); },
        [this] { view_->hideCalenadarInExternalView(); },
        [this] { view_->setShowsSectorStates(draw(2)); },
        [this] { view_->setTrackingMode(draw(2)); },
        [this] { draw(2) ? view_->stopUpdates() : view_->startUpdates(); },
        [this] {
            ui_.root()->setWidth(one<double>({0, 1, 30, 400, 800, 2'560}));
        },
        [this] {
            goTo(one<TimeMs>({-1, 0, now_, now_ - 9 * hour, now_ - 35 * hour, 86'400'000}));
        },
    };
    one(calls)();
}

void RulerStormTest::useHand() {
    const Point from = anywhere();
    const Point to = anywhere();
    switch (draw(5)) {
        case 0:
            ui_.drag(from, to, 64ms, draw(2));
            break;
        case 1:
            ui_.tap(from);
            break;
        case 2:
            view_->setZoomEnabled(draw(4));
            ui_.wheel(from, {0, draw(600) - 300});
            break;
        case 3:  // two fingers, of which one may come back
            ui_.press(from, 0);
            ui_.press(to, 1);
            ui_.move(anywhere(), 0);
            ui_.move(anywhere(), 1);
            ui_.release(to, 1);
            if (draw(2)) ui_.move(anywhere(), 0);
            ui_.release(from, 0);
            break;
        default: {
            QKeyEvent event(QEvent::KeyPress,
                            one<int>({Qt::Key_Left, Qt::Key_Right, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Plus,
                                      Qt::Key_Minus, Qt::Key_Home, Qt::Key_End}),
                            draw(2) ? Qt::ShiftModifier : Qt::NoModifier);
            QCoreApplication::sendEvent(view_.get(), &event);
            break;
        }
    }
}

void RulerStormTest::disturbService() {
    switch (draw(6)) {
        case 0:
            return service_.scriptNext("getTimelineSync", Script::held());
        case 4:
            return service_.scriptNext("getCalendar", Script::late(500ms));
        case 5:
            return service_.scriptNext("getCalendar", Script::failed(503));
        case 1:
            return service_.scriptNext("getTimelineSync", Script::failed(503));
        case 2:
            return service_.scriptNext("getTimelineSync", Script::late(3s));
        default:
            return service_.releaseAll();
    }
}

void RulerStormTest::step() {
    const int kind = draw(8);
    if (kind < 3) {
        callHost();
    } else if (kind < 5) {
        useHand();
    } else if (kind < 6) {
        disturbService();
    } else {
        ui_.grab();
        ui_.advance(std::chrono::milliseconds(draw(2'000)), 100ms);
    }
    ui_.settle();
}

TEST_P(RulerStormTest, ShowsWhatIsRecordedAfterAll) {
    for (int i = 0; i < 400; ++i) {
        step();
        EXPECT_LE(service_.held().size(), 1U) << i;
        ASSERT_TRUE(std::isfinite(view_->timeScale()) && view_->timeScale() >= 0) << i;
        expectOnlyPlacesOfThePlayer();
        if (HasFailure()) FAIL() << i;
    }
    service_.clearScripts();
    service_.releaseAll();
    ui_.root()->setWidth(800);
    view_->unsetRange();
    view_->setScale(2);
    view_->setPlayer(player_);
    view_->setDelegate(host_);
    host_->OnTimelinePositionChanged = {};
    ui_.settle();
    view_->setTrackingMode(false);
    view_->setCalendarContainer(nullptr);
    view_->showCalenadarAsController();
    ui_.settle();
    EXPECT_EQ(qobject_cast<CalendarView*>(&outlet("calendarView"))->model().month().marks().size(), 2U);
    const std::pair<TimeMs, const char*> moments[] = {{now_ - 9 * hour + 600'000, "recorded"},
                                                      {now_ - 30 * hour + 600'000, "not recorded"}};
    for (const auto& [moment, details] : moments) {
        goTo(moment);
        watch(3);  // it follows a knob that is in view, so that has to be there first
        view_->setPosition(moment / 1000);
        watch(17);
        EXPECT_EQ(view_->currentPosition(), moment / 1000);
        const auto away = static_cast<double>(std::abs(view_->centerTime() - moment / 1000));
        EXPECT_LE(away * 2, static_cast<double>(view_->timeScale()) * 800);
        EXPECT_EQ(view_->contentView()->property("spokenDetails").toString().toStdString(), details);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RulerStormTest, stormSeeds(12));

}  // namespace
}  // namespace korvane::test
