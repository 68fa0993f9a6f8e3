// The calendar as its host and its user meet it, on virtual time.
#include "korvane/calendar/CalendarView.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTest>
#include <thread>

#include "korvane/base/Log.h"
#include "korvane/calendar/CalendarMonthModel.h"
#include "korvane/tests/support/qt/VirtualUi.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr TimeMs hour = 3'600'000;
constexpr TimeMs dayLength = 24 * hour;

/// The clock says 2023-11-14, 22:13:20 UTC.
class CalendarViewTest : public ::testing::Test {
  protected:
    CalendarViewTest() {
        host_->calendarSelectedDateDidTap = [this](TimeMs date) { heard_ << "selected " << date << "; "; };
        host_->calendarDateDidTap = [this](TimeMs date) { heard_ << "date " << date << "; "; };
        host_->calendarCloseDidTap = [this] { heard_ << "close; "; };
        before_ = setLogSink([this](std::string_view line) { lines_.emplace_back(line); });
        view_->setLocale(QLocale(QLocale::English, QLocale::UnitedKingdom));
        view_->setTimeZone("UTC");
        view_->setDelegate(host_);
        ui_.settle();
    }
    ~CalendarViewTest() override {
        view_.reset();
        ui_.settle();
        setLogSink(before_);
    }

    void mark(std::initializer_list<const char*> days) {
        for (const char* day : days) view_->addSelectedDateAsString(std::string_view(day));
        view_->updateView();
    }
    std::string take() { return std::exchange(heard_, {}).str(); }
    void key(int key, Qt::KeyboardModifiers with = Qt::NoModifier) {
        QKeyEvent event(QEvent::KeyPress, key, with);
        QCoreApplication::sendEvent(&ui_.window(), &event);
        QKeyEvent end(QEvent::KeyRelease, key, with);
        QCoreApplication::sendEvent(&ui_.window(), &end);
        ui_.settle();
    }
    /// The visible item that is spoken of by that name.
    QQuickItem* spoken(const QString& name, QQuickItem* in = nullptr) {
        for (QQuickItem* const item : (in ? in : view_.get())->childItems()) {
            QAccessibleInterface* const heard = QAccessible::queryAccessibleInterface(item);
            if (heard && item->isVisible() && heard->text(QAccessible::Name) == name) return item;
            if (QQuickItem* const found = spoken(name, item)) return found;
        }
        return nullptr;
    }
    void tap(const QString& name) {
        QQuickItem* const item = spoken(name);
        ASSERT_TRUE(item) << name.toStdString();
        ui_.grab();
        const QPointF at = item->mapToScene({item->width() / 2, item->height() / 2});
        ui_.tap({at.x(), at.y()});
        ui_.settle();
    }
    std::string cursor() const {
        const CalendarMonth& month = view_->model().month();
        const CalendarMonth::Cell cell = month.cellAt(month.cursorIndex());
        return view_->model().spokenName(cell).toStdString();
    }

    VirtualUi ui_{320, 240};
    std::unique_ptr<CalendarView> view_ = std::make_unique<CalendarView>(nullptr, Rect{}, ui_.root());
    std::shared_ptr<CalendarViewDelegate> host_ = std::make_shared<CalendarViewDelegate>();
    std::ostringstream heard_;
    std::vector<std::string> lines_;
    LogSink before_;
};

TEST_F(CalendarViewTest, ATappedDayIsItsFirstMomentInTheZone) {
    constexpr TimeMs third = 1'698'969'600'000;  // 2023-11-03 UTC
    mark({"2023-11-03", "2023-10-29", "2018-11-04", "2023-10-29"});
    const std::pair<const char*, TimeMs> zones[] = {
        {"UTC", third}, {"Asia/Tokyo", third - 9 * hour}, {"America/New_York", third + 4 * hour}, {"No/Where", third}};
    for (const auto& [zone, date] : zones) {
        view_->setTimeZone(zone);
        tap("Friday, 3 November 2023, recorded");
        EXPECT_EQ(take(), "selected " + std::to_string(date) + "; ") << zone;
        view_->showDate(third + 20 * dayLength);
    }
    view_->setTimeZone("UTC");
    tap("Thursday, 2 November 2023");
    EXPECT_EQ(take(), "date " + std::to_string(third - dayLength) + "; ");
    tap("Previous month");
    tap("Sunday, 29 October 2023, recorded");
    EXPECT_EQ(take(), "selected " + std::to_string(third - 5 * dayLength) + "; ");
    EXPECT_TRUE(spoken("Sunday, 29 October 2023, recorded, selected"));
    tap("Next month");
    EXPECT_TRUE(spoken("Tuesday, 14 November 2023, today"));
    tap("Next month");
    EXPECT_TRUE(spoken("November 2023")) << "nothing is to be seen there";
    // Where midnight is skipped a day begins at one.
    view_->setTimeZone("America/Sao_Paulo");
    view_->showDate(1'541'340'000'000);
    tap("Sunday, 4 November 2018, recorded, selected");
    EXPECT_EQ(take(), "selected 1541300400000; ");
    tap("Close");
    EXPECT_EQ(take(), "close; ");
}

TEST_F(CalendarViewTest, IsLedByTheKeyboard) {
    mark({"2022-02-28", "2023-10-31", "2023-11-13"});
    view_->forceActiveFocus();
    const std::tuple<int, Qt::KeyboardModifiers, const char*, const char*> steps[] = {
        {Qt::Key_Left, {}, "Monday, 13 November 2023, recorded", ""},
        {Qt::Key_Return, {}, "Monday, 13 November 2023, recorded, selected", "selected 1699833600000; "},
        {Qt::Key_Down, {}, "Monday, 20 November 2023", ""},
        {Qt::Key_End, {}, "Thursday, 30 November 2023", ""},
        {Qt::Key_Right, {}, "Thursday, 30 November 2023", ""},
        {Qt::Key_Home, {}, "Wednesday, 1 November 2023", ""},
        {Qt::Key_Up, {}, "Wednesday, 25 October 2023", ""},
        {Qt::Key_PageUp, Qt::ShiftModifier, "Tuesday, 25 October 2022", ""},
        {Qt::Key_PageUp, Qt::ShiftModifier, "Friday, 25 February 2022", ""},
        {Qt::Key_PageDown, {}, "Friday, 25 March 2022", ""},
        {Qt::Key_Escape, {}, "Friday, 25 March 2022", "close; "},
    };
    for (const auto& [pressed, with, at, told] : steps) {
        key(pressed, with);
        EXPECT_EQ(cursor(), at);
        EXPECT_EQ(take(), told) << at;
        const QQuickItem* const focus = ui_.window().activeFocusItem();
        EXPECT_EQ(QAccessible::queryAccessibleInterface(const_cast<QQuickItem*>(focus))->text(QAccessible::Name), at);
    }
    // By Tab to the buttons, and with an arrow back.
    key(Qt::Key_Backtab);
    key(Qt::Key_Backtab);
    key(Qt::Key_Return);
    EXPECT_EQ(cursor(), "Monday, 25 April 2022") << "the month's button";
    // Right to left, and a week that begins on Saturday.
    view_->setLocale(QLocale(QLocale::Arabic, QLocale::Egypt));
    key(Qt::Key_Left);
    EXPECT_EQ(view_->model().month().cursor(), std::chrono::year(2022) / 4 / 26);
    EXPECT_EQ(std::chrono::weekday(view_->model().month().dayAt(0)), std::chrono::Saturday);
}

TEST_F(CalendarViewTest, AShortcutOfTheHostLeavesItItsKeys) {
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(
        "import QtQuick\nItem { property int count: 0\n"
        "Shortcut { sequences: ['Left', 'Space', 'Esc', 'T']; onActivated: count++ } }",
        {});
    const std::unique_ptr<QObject> shortcut(component.create());
    auto* const item = qobject_cast<QQuickItem*>(shortcut.get());
    ASSERT_TRUE(item) << component.errorString().toStdString();
    item->setParentItem(ui_.root());
    const auto typeAll = [&] {
        for (const Qt::Key each : {Qt::Key_Left, Qt::Key_Space, Qt::Key_T, Qt::Key_Escape}) {
            QTest::keyClick(&ui_.window(), each);
        }
        ui_.settle();
        return std::exchange(heard_, {}).str() + shortcut->property("count").toString().toStdString();
    };
    ui_.window().requestActivate();
    ui_.settle();
    EXPECT_EQ(typeAll(), "4") << "without the focus";
    view_->forceActiveFocus();
    EXPECT_EQ(typeAll(), "date 1699833600000; close; 5");
}

TEST_F(CalendarViewTest, DatesComeOnAnyThreadAndNonsenseIsLeftOut) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, i] {
            for (int day = 10; day < 30; ++day) {
                view_->addSelectedDateAsString(
                    std::string_view("2023-1" + std::to_string(i) + '-' + std::to_string(day)));
            }
        });
    }
    view_->updateView();
    for (auto& thread : threads) thread.join();
    view_->updateView();
    EXPECT_EQ(view_->model().month().marks().size(), 60U);
    EXPECT_LE(lines_.size(), 2U) << "of 20 dates in a 13th month";
    view_->removeAllSelectedDates();
    EXPECT_EQ(view_->model().month().marks().size(), 60U) << "not before the update";
    lines_.clear();
    mark({"", "2023-02-29", "today"});
    EXPECT_THAT(view_->model().month().marks(), IsEmpty());
    EXPECT_THAT(lines_, ElementsAre("CalendarView: 3 dates are no dates and are left out"));
}

TEST_F(CalendarViewTest, AHostMayDoAnythingWhileItIsTold) {
    mark({"2023-11-03"});
    host_->calendarSelectedDateDidTap = [](TimeMs) { throw 1; };
    tap("Friday, 3 November 2023, recorded");
    host_->calendarSelectedDateDidTap = [this](TimeMs) { view_->clean(); };
    tap("Friday, 3 November 2023, recorded, selected");
    EXPECT_FALSE(spoken("Close")) << "a clean view shows nothing";
    mark({"2023-11-04"});
    view_->showDate(0);
    EXPECT_EQ(take(), "");

    view_ = std::make_unique<CalendarView>(nullptr, Rect{}, ui_.root());
    view_->setDelegate(host_);
    host_->calendarCloseDidTap = [this] { view_.reset(); };
    ui_.settle();
    tap("Close");
    EXPECT_FALSE(view_);
}

TEST_F(CalendarViewTest, IsMadeWhenItShowsAndFillsItsParent) {
    QQuickItem place(ui_.root());
    place.setSize({300, 200});
    place.setVisible(false);
    CalendarView calendar(nullptr, Rect{}, &place);
    calendar.setTimeZone("UTC");
    ui_.settle();
    EXPECT_FALSE(calendar.contentView());
    place.setVisible(true);
    ui_.settle();
    ASSERT_TRUE(calendar.contentView());
    place.setWidth(260);
    EXPECT_EQ(calendar.contentView()->size(), QSizeF(260, 200));
    // Midnight passes while nobody looks.
    calendar.setVisible(false);
    ui_.scheduler().advance(3h);
    calendar.setVisible(true);
    ui_.settle();
    EXPECT_EQ(calendar.model().month().today(), std::chrono::year(2023) / 11 / 15);
    ui_.scheduler().advance(24h);
    EXPECT_EQ(calendar.model().month().today(), std::chrono::year(2023) / 11 / 16) << "and while somebody does";
}

TEST_F(CalendarViewTest, ShowsTheControlsOfItsConfig) {
    for (const int controls : {0, 1, 16, 17}) {
        view_->getConfig()->setControls(controls);
        view_->applyConfig();
        ui_.settle();
        EXPECT_EQ(!!spoken("Next month"), (controls & CalendarControlMonths) != 0) << controls;
        EXPECT_EQ(!!spoken("Close"), (controls & CalendarControlClose) != 0) << controls;
    }
}

TEST_F(CalendarViewTest, IsLedByAScreenReader) {
    mark({"2023-11-03"});
    for (const char* name : {"Friday, 3 November 2023, recorded", "Previous month", "Close"}) {
        QQuickItem* const item = spoken(name);
        ASSERT_TRUE(item) << name;
        QAccessibleInterface* const heard = QAccessible::queryAccessibleInterface(item);
        heard->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    }
    EXPECT_EQ(take(), "selected 1698969600000; close; ");
}

}  // namespace
}  // namespace korvane::test
