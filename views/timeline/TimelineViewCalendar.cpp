// What a time ruler offers of its calendar.
#include "korvane/views/timeline/Binding/RulerCalendar.h"
#include "korvane/views/timeline/TimelineView.h"

namespace korvane {

void TimelineView::setCalendarContainer(QQuickItem* container) {
    if (container == calendar_->container()) return;
    calendar_->setContainer(container);
    emit settingsChanged();
}

QQuickItem* TimelineView::getCalendarContainer() const {
    return calendar_->container();
}

void TimelineView::toggleCalendarControl() {
    calendar_->toggle();
}

void TimelineView::toggleCalendarControl(bool isShown) {
    isShown ? calendar_->showInExternalView() : calendar_->hideInExternalView();
}

void TimelineView::showCalenadarAsController() {
    calendar_->showAsController();
}

void TimelineView::showCalenadarInExternalView() {
    calendar_->showInExternalView();
}

void TimelineView::hideCalenadarInExternalView() {
    calendar_->hideInExternalView();
}

void TimelineView::toggleCalenadarInExternalView() {
    calendar_->toggleInExternalView();
}

/// As the ruler: its text that stands on the background, its recorded time, its knob.
void TimelineView::showCalendarColors() {
    const QColor& text = look_.scaleColor.isValid() ? look_.scaleColor : look_.textColor;
    calendar_->setColors(background_, text, look_.trackColor, look_.knobColor);
}

}  // namespace korvane
