// The ruler's calendar in its panel and in a host's container, on virtual time with a scripted camera.
#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QKeyEvent>

#include "korvane/calendar/CalendarMonthModel.h"
#include "korvane/calendar/CalendarView.h"
#include "korvane/tests/views/RulerFixture.h"
#include "korvane/views/timeline/Utils/CalendarContainer.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;
using testing::SizeIs;

constexpr TimeMs dayLength = 24 * hour;
constexpr TimeMs ninth = 1'699'488'000'000;  // 2023-11-09 UTC; the clock says the 14th

class RulerCalendarTest : public RulerFixture {
  protected:
    RulerCalendarTest() {
        place_.setVisible(false);
        record(ninth + hour, ninth + 2 * hour);
        record(ninth + 2 * dayLength, ninth + 2 * dayLength + hour);
        view_->setPlayer(player_);
        ui_.settle();
        service_.clearRequests();
    }

    CalendarContainer& controller() { return *qobject_cast<CalendarContainer*>(&outlet("calendarController")); }
    CalendarView& panel() { return *qobject_cast<CalendarView*>(&outlet("calendarView")); }
    /// Null while the calendar is not in the container.
    CalendarView* external() {
        return place_.childItems().isEmpty() ? nullptr : qobject_cast<CalendarView*>(place_.childItems().constFirst());
    }
    static std::size_t marks(CalendarView& calendar) { return calendar.model().month().marks().size(); }
    std::size_t asked() const { return service_.count("getCalendar"); }
    void script(Script script) { service_.scriptNext("getCalendar", std::move(script)); }
    void answer() {
        service_.releaseAll();
        ui_.settle();
    }
    void press(Qt::Key key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(&ui_.window(), &event);
        ui_.settle();
    }

    QQuickItem place_{ui_.root()};
};

TEST_F(RulerCalendarTest, ThePanelStandsByItsOwnersPlaceCountedTwice) {
    QQuickItem parent(ui_.root());
    QQuickItem owner(&parent);
    CalendarContainer container;
    const std::tuple<QPointF, QPointF, QPointF> places[] = {{{0, 500}, {0, 0}, {3, 250}},
                                                            {{100, 400}, {20, 30}, {143, 210}},
                                                            {{7, 240}, {0, 5}, {10, 0}},
                                                            {{-50, 0}, {10, 130}, {-27, 10}}};
    for (const auto& [parentAt, ownerAt, expected] : places) {
        parent.setPosition(parentAt);
        owner.setPosition(ownerAt);
        // The first time its view loads, which drops the owner.
        for (int time = 0; time < 2; ++time) {
            container.bindToView(&owner);
            container.show();
            ui_.settle();
        }
        ASSERT_TRUE(container.calendarContainer());
        EXPECT_EQ(container.calendarContainer()->position(), expected);
    }
}

TEST_F(RulerCalendarTest, TheButtonShowsThePanelWithTheCamerasDays) {
    view_->forceActiveFocus();
    ui_.tap({20, 40});
    ui_.settle();
    ASSERT_EQ(asked(), 1U);
    EXPECT_TRUE(panel().isVisible());
    EXPECT_EQ(marks(panel()), 2U);
    // Again: the marks go and come, the panel stays.
    script(Script::held());
    view_->toggleCalendarControl();
    EXPECT_EQ(marks(panel()), 0U);
    ui_.settle();
    EXPECT_TRUE(controller().isPresented());
    answer();
    EXPECT_EQ(marks(panel()), 2U);
    press(Qt::Key_Escape);
    EXPECT_FALSE(controller().isPresented());
    EXPECT_TRUE(view_->hasActiveFocus());
    // It does not outlast the ruler that it belongs to.
    view_->showCalenadarAsController();
    ui_.settle();
    view_->setVisible(false);
    EXPECT_FALSE(controller().isPresented());
    view_->setVisible(true);
    view_->showCalenadarAsController();
    view_.reset();
    ui_.settle();
    EXPECT_THAT(ui_.root()->childItems(), SizeIs(1)) << "the host's container alone";
}

TEST_F(RulerCalendarTest, AHostsContainerShowsItAndIsHiddenWithIt) {
    view_->toggleCalendarControl(true);
    ui_.settle();
    EXPECT_EQ(asked(), 0U) << "without a container";
    place_.setSize({300, 220});
    view_->setCalendarContainer(&place_);
    script(Script::held());
    view_->showCalenadarInExternalView();
    view_->showCalenadarInExternalView();
    ui_.settle();
    ASSERT_TRUE(external());
    EXPECT_EQ(external()->controls(), 17);
    EXPECT_EQ(external()->size(), place_.size());
    EXPECT_EQ(asked(), 1U) << "the second one stops at the superview";
    answer();
    EXPECT_EQ(marks(*external()), 2U);

    CalendarView& calendar = *external();
    view_->toggleCalendarControl();
    EXPECT_FALSE(external());
    EXPECT_TRUE(calendar.isLoading()) << "for the next showing";
    const std::pair<Script, bool> answers[] = {
        {Script::failed(503), false}, {Script::answered({{"no list", "2023-11-01"}}), false}, {Script::held(), true}};
    for (const auto& [answer, isLoading] : answers) {
        script(answer);
        view_->toggleCalendarControl(true);
        ui_.settle();
        EXPECT_EQ(calendar.isLoading(), isLoading);
        EXPECT_EQ(marks(calendar), 0U);
        calendar.getDelegate()->calendarCloseDidTap();
        EXPECT_FALSE(external());
        EXPECT_FALSE(place_.isVisible());
    }
    view_->toggleCalendarControl(true);
    view_->setCalendarContainer(nullptr);
    EXPECT_FALSE(place_.isVisible()) << "the calendar leaves with its container";
    view_->setCalendarContainer(&place_);
}

TEST_F(RulerCalendarTest, AChosenDayTakesRulerKnobAndPlayerAlong) {
    const TimeMs chosen = ninth + 2 * dayLength + 999;
    for (const auto& [isExternal, isRange] : {std::pair(false, false), {false, true}, {true, false}}) {
        SCOPED_TRACE(std::to_string(isExternal) + std::to_string(isRange));
        if (isRange) view_->setRange(ninth / 1000, ninth / 1000 + 8'000);
        view_->setCalendarContainer(isExternal ? &place_ : nullptr);
        view_->toggleCalendarControl();
        ui_.settle();
        view_->setPosition(ninth / 1000 - 90'000);
        view_->setTrackingMode(true);
        const TimeSec center = view_->centerTime();
        player_->seeks.clear();
        service_.clearRequests();
        (isExternal ? *external() : panel()).getDelegate()->calendarSelectedDateDidTap(chosen);
        ui_.settle();
        EXPECT_EQ(view_->centerTime(), isRange ? center : chosen / 1000);
        EXPECT_EQ(view_->currentPosition(), chosen / 1000);
        EXPECT_THAT(player_->seeks, testing::ElementsAre(chosen / 1000 * 1000));
        EXPECT_EQ(asked(), isExternal ? 0U : 1U);
        EXPECT_FALSE(external());
        EXPECT_TRUE(controller().isPresented()) << "it stays open";
        view_->unsetRange();
        ui_.settle();
    }
    // The ruler follows again.
    player_->position = chosen + 5'000'000;
    watch(3);
    EXPECT_NEAR(static_cast<double>(view_->centerTime()), static_cast<double>(player_->position / 1000), 5);
}

TEST_F(RulerCalendarTest, TheDayBeginsInTheCamerasZoneAndTheTokensEndIsPassedOn) {
    service_.withFootage([](ScriptedFootage& footage) { footage.timezone = "Asia/Tokyo"; });
    player_->position = ninth + 2 * dayLength;  // nine in the morning there
    view_->setTimeZone("America/New_York");
    watch(2);
    view_->toggleCalendarControl();
    ui_.settle();
    press(Qt::Key_Return);
    ASSERT_FALSE(player_->seeks.empty());
    EXPECT_EQ(player_->seeks.back(), ninth + 2 * dayLength - 9 * hour) << "where the position is, the calendar opens";
    const auto host = std::make_shared<TimelineViewDelegate>();
    view_->setDelegate(host);
    EXPECT_EQ(panel().getDelegate()->onSharedTokenWillExpireIn(5), 0);
    host->onSharedTokenWillExpireIn = [](std::int64_t timeLeft) { return static_cast<std::int32_t>(timeLeft + 1); };
    EXPECT_EQ(panel().getDelegate()->onSharedTokenWillExpireIn(5), 6);
}

TEST_F(RulerCalendarTest, AnswersThatCameTooLateChangeNothing) {
    script(Script::held());
    script(Script::answered({"2023-11-01", "nonsense", 7, nullptr, "2023-11-02", "2023-11-03"}));
    for (int i = 0; i < 2; ++i) view_->showCalenadarAsController();
    ui_.settle();
    EXPECT_EQ(marks(panel()), 3U);
    answer();
    EXPECT_EQ(marks(panel()), 3U) << "an older answer after a newer one";
    script(Script::held());
    view_->setCamera(player_->source);
    EXPECT_EQ(marks(panel()), 0U) << "of a camera that has been left";
    view_->setCamera(nullptr);
    answer();
    EXPECT_EQ(marks(panel()), 0U);
}

}  // namespace
}  // namespace korvane::test
