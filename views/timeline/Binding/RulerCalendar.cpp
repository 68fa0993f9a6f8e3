#include "korvane/views/timeline/Binding/RulerCalendar.h"

#include <QGuiApplication>
#include <QScreen>
#include <chrono>
#include <string>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/SaturatingTime.h"
#include "korvane/base/Scheduler.h"
#include "korvane/base/TaskGuard.h"
#include "korvane/client/KorvaneCamera.h"
#include "korvane/client/Status.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/Binding/RulerBinding.h"
#include "korvane/views/timeline/TimelineView.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

constexpr const char* classPath = "TimelineView";
constexpr TimeMs second = 1000;
constexpr std::int32_t externalControls = CalendarControlMonths | CalendarControlClose;

}  // namespace

RulerCalendar::RulerCalendar(TimelineView& view, RulerBinding& binding)
    : view_(view), binding_(binding), delegate_(std::make_shared<CalendarViewDelegate>()) {
    delegate_->calendarSelectedDateDidTap = [this](TimeMs date) { calendarSelectedDateDidTap(date); };
    delegate_->calendarSelectedDateComponentsDidTap = [](CalendarDay day) {
        trace(1, classPath, "calendarSelectedDateComponentsDidTap ", static_cast<int>(day.year()), '-',
              static_cast<unsigned>(day.month()), '-', static_cast<unsigned>(day.day()));
    };
    delegate_->calendarCloseDidTap = [this] { calendarCloseDidTap(); };
    delegate_->onSharedTokenWillExpireIn = [this](std::int64_t timeLeft) {
        return binding_.host().call(&TimelineViewDelegate::onSharedTokenWillExpireIn, timeLeft);
    };
}

RulerCalendar::~RulerCalendar() {
    clean();
}

void RulerCalendar::setup(CalendarContainer* controller, CalendarView* calendarView, QQuickItem* calendarBtn) {
    externalCalendarView_.reset(new CalendarView(view_.toolkit(), Rect{}, nullptr));
    externalCalendarView_->getConfig()->setControls(externalControls);
    externalCalendarView_->getConfig()->setShowLoadingOnStart(true);
    externalCalendarView_->applyConfig();
    calendarController_ = controller;
    calendarBtn_ = calendarBtn;
    panel_.view = calendarView;
    external_.view = externalCalendarView_.get();
    for (const Shown* each : {&panel_, &external_}) {
        if (each->view) each->view->setDelegate(delegate_);
    }
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        QObject::connect(screen, &QScreen::orientationChanged, &view_, [this] { orientationChanged(); });
    }
    if (!controller) return;
    // A ruler that is not seen leaves no panel behind.
    QObject::connect(&view_, &QQuickItem::visibleChanged, controller, [this] {
        if (view_.isVisible()) return;
        calendarController_->bindToView(nullptr);  // a show that is on its way finds no window
        calendarController_->dismiss();
    });
}

void RulerCalendar::setColors(const QColor& background, const QColor& text, const QColor& mark, const QColor& accent) {
    for (const Shown* each : {&panel_, &external_}) {
        if (!each->view) continue;
        if (background.isValid()) each->view->setBackgroundColor(background);
        if (text.isValid()) each->view->setTextColor(text);
        if (mark.isValid()) each->view->setMarkColor(mark);
        if (accent.isValid()) each->view->setAccentColor(accent);
    }
}

void RulerCalendar::clean() {
    if (calendarController_) {
        QObject::disconnect(&view_, nullptr, calendarController_, nullptr);
        calendarController_->bindToView(nullptr);
        calendarController_->dismiss();
    }
    calendarController_ = nullptr;
    for (Shown* each : {&panel_, &external_}) {
        if (each->view) each->view->clean();
        each->view = nullptr;
        each->answered = each->asked;
    }
    if (isExternalShown()) removeExternal();
    calendar_dates.clear();
    externalCalendarView_.reset();
}

// Days of the camera

std::int32_t RulerCalendar::getCalendar(Shown& calendar) {
    const auto camera = binding_.camera();
    if (!camera) return StatusBadCall;
    const std::uint64_t request = ++calendar.asked;
    // The answer comes on some thread, when the ruler may be gone: nothing of it is touched before the main thread.
    auto take = life_.guard([this, &calendar, request](const Reply& reply, std::int32_t status) {
        answered(calendar, request, reply, status);
    });
    const auto complete = [scheduler = view_.toolkit()->scheduler, take](Reply reply, std::int32_t status) {
        scheduler->post([take, reply = std::move(reply), status]() mutable {
            take(reply, status);
            release(reply);
        });
    };
    std::int32_t status = StatusBadCall;
    const auto ask = [&] {
        const QString zone = QString::fromStdString(camera->getTimezone());
        if (calendar.view) calendar.view->setTimeZone(zone.isEmpty() ? view_.timeZone() : zone);
        constexpr std::int32_t whole = -1;
        status = camera->getCalendar(0, 0, whole, whole, complete);
    };
    detail::runGuarded(ask, "KorvaneCamera");
    return status;
}

void RulerCalendar::answered(Shown& calendar, std::uint64_t request, const Reply& reply, std::int32_t status) {
    if (!calendar.view || request <= calendar.answered) return;
    if (&calendar == &external_ && request == calendar.asked) calendar.view->showLoading(false);
    if (status != StatusSuccess || !reply.is_array()) {
        logError("TimelineView", "the camera's days have not come, status " + std::to_string(status));
        return;
    }
    calendar.answered = request;
    calendar_dates.clear();
    calendar.view->removeAllSelectedDates();
    for (const Reply& date : reply) {
        calendar_dates.push_back(date.is_string() ? date.get<std::string>() : std::string());
        calendar.view->addSelectedDateAsString(std::string_view(calendar_dates.back()));
    }
    calendar.view->updateView();
}

void RulerCalendar::empty(Shown& calendar) {
    calendar.view->removeAllSelectedDates();
    calendar.view->updateView();
}

void RulerCalendar::cameraChanged() {
    for (Shown* each : {&panel_, &external_}) {
        each->answered = each->asked;
        if (each->view) empty(*each);
    }
    calendar_dates.clear();
    if (calendarController_ && calendarController_->isPresented() && panel_.view) {
        getCalendar(panel_);
        showMoment(*panel_.view);
    }
    if (!isExternalShown()) return;
    externalCalendarView_->showLoading(getCalendar(external_) >= 0);
    showMoment(*externalCalendarView_);
}

void RulerCalendar::showMoment(CalendarView& calendar) {
    const TimeSec at = view_.currentPosition() > 0 ? view_.currentPosition() : view_.centerTime();
    calendar.showDate(saturatingMultiply(at, second));
}

// Showing

void RulerCalendar::setContainer(QQuickItem* container) {
    if (isExternalShown()) removeExternal();
    externalCalendarContainerView_ = container;
}

void RulerCalendar::toggle() {
    externalCalendarContainerView_ ? toggleInExternalView() : showAsController();
}

void RulerCalendar::showAsController() {
    if (!calendarController_ || !panel_.view) return;
    empty(panel_);
    getCalendar(panel_);
    if (!calendarController_->isPresented()) showMoment(*panel_.view);
    calendarController_->bindToView(calendarBtn_);
    calendarController_->show();
}

void RulerCalendar::showInExternalView() {
    if (!externalCalendarContainerView_ || !externalCalendarView_) return;
    externalCalendarView_->showLoading(true);
    empty(external_);
    if (isExternalShown()) return;
    externalCalendarView_->setParentItem(externalCalendarContainerView_);
    externalCalendarContainerView_->setVisible(true);
    if (getCalendar(external_) < 0) externalCalendarView_->showLoading(false);
    showMoment(*externalCalendarView_);
}

void RulerCalendar::hideInExternalView() {
    if (!externalCalendarContainerView_ || !externalCalendarView_) return;
    externalCalendarView_->showLoading(true);
    empty(external_);
    if (isExternalShown()) removeExternal();
}

void RulerCalendar::toggleInExternalView() {
    if (!externalCalendarContainerView_) return;
    isExternalShown() ? hideInExternalView() : showInExternalView();
}

void RulerCalendar::removeExternal() {
    const bool hadFocus = externalCalendarView_->hasActiveFocus();
    externalCalendarView_->setParentItem(nullptr);
    if (hadFocus && external_.view && view_.isVisible()) view_.forceActiveFocus();
    if (externalCalendarContainerView_) externalCalendarContainerView_->setVisible(false);
}

void RulerCalendar::update() {
    if (calendarController_) calendarController_->update();
}

void RulerCalendar::orientationChanged() {
    view_.scheduler().after(500ms, life_.guard([this] { update(); }));
}

// What both calendars tell

void RulerCalendar::calendarSelectedDateDidTap(TimeMs date) {
    const TimeSec t = date / second;
    const auto x = static_cast<float>(view_.width() / 2);
    const QPointer<TimelineView> self(&view_);
    binding_.startPositionChanging(t, x);
    view_.setTrackingMode(false);
    view_.setPosition(t);
    if (!self) return;
    // Knob and player go there, and the position thread may move the knob again.
    binding_.endPositionChanging(t, x);
    if (self) toggle();
}

void RulerCalendar::calendarCloseDidTap() {
    if (isExternalShown()) removeExternal();
}

}  // namespace korvane
