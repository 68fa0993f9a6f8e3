#include "korvane/calendar/CalendarMonthModel.h"

#include <QDate>

namespace korvane {
namespace {

QDate qDate(CalendarDay day) {
    return {static_cast<int>(day.year()), static_cast<int>(static_cast<unsigned>(day.month())),
            static_cast<int>(static_cast<unsigned>(day.day()))};
}

}  // namespace

CalendarMonthModel::CalendarMonthModel(QObject* parent) : QAbstractListModel(parent) {
    setLocale(QLocale());
}

void CalendarMonthModel::setLocale(const QLocale& locale) {
    locale_ = locale;
    change([&](CalendarMonth& month) {
        month.setWeekStart(std::chrono::weekday(static_cast<unsigned>(locale.firstDayOfWeek())));
    });
}

QString CalendarMonthModel::title() const {
    const QDate first = qDate(month_.month() / std::chrono::day(1));
    return locale_.standaloneMonthName(first.month()) + u' ' + locale_.toString(first, QStringLiteral("yyyy"));
}

QString CalendarMonthModel::spokenName(const CalendarMonth::Cell& cell) const {
    QString name = locale_.toString(qDate(cell.day), QLocale::LongFormat);
    if (cell.isToday) name += QStringLiteral(", today");
    if (cell.isMarked) name += QStringLiteral(", recorded");
    if (cell.isSelected) name += QStringLiteral(", selected");
    return name;
}

int CalendarMonthModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : CalendarMonth::daysShown;
}

QVariant CalendarMonthModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= CalendarMonth::daysShown) return {};
    const CalendarMonth::Cell cell = month_.cellAt(index.row());
    switch (role) {
        case Number:
            return locale_.toString(static_cast<unsigned>(cell.day.day()));
        case OfMonth:
            return cell.isOfMonth;
        case Marked:
            return cell.isMarked;
        case Today:
            return cell.isToday;
        case Selected:
            return cell.isSelected;
        case SpokenName:
            return spokenName(cell);
        default:
            return {};
    }
}

QHash<int, QByteArray> CalendarMonthModel::roleNames() const {
    return {{Number, "number"}, {OfMonth, "isOfMonth"},   {Marked, "isMarked"},
            {Today, "isToday"}, {Selected, "isSelected"}, {SpokenName, "spokenName"}};
}

void CalendarMonthModel::tell() {
    emit dataChanged(index(0), index(CalendarMonth::daysShown - 1));
    emit changed();
}

}  // namespace korvane
