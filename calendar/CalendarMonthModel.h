#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QLocale>
#include <QString>

#include "korvane/calendar/CalendarMonth.h"

namespace korvane {

/// A CalendarMonth as the look of a calendar reads it: a row for each of the days shown, with texts in one locale, from
/// which the week's first day comes too. Main thread only.
class CalendarMonthModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by a CalendarView")
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(bool hasPrevious READ hasPrevious NOTIFY changed)
    Q_PROPERTY(bool hasNext READ hasNext NOTIFY changed)
    Q_PROPERTY(QLocale locale READ locale NOTIFY changed)
    Q_PROPERTY(bool isMirrored READ isMirrored NOTIFY changed)
    /// Row of the day that the keyboard is at.
    Q_PROPERTY(int cursor READ cursor NOTIFY changed)

  public:
    enum Role { Number = Qt::UserRole, OfMonth, Marked, Today, Selected, SpokenName };

    explicit CalendarMonthModel(QObject* parent);

    const CalendarMonth& month() const { return month_; }
    /// Runs change(month), and tells the look.
    template <typename Change>
    auto change(const Change& change) {
        const Telling telling(*this);
        return change(month_);
    }

    QString title() const;
    bool hasPrevious() const { return month_.canGo(-1); }
    bool hasNext() const { return month_.canGo(1); }
    QLocale locale() const { return locale_; }
    void setLocale(const QLocale& locale);
    /// Days run from right to left.
    bool isMirrored() const { return locale_.textDirection() == Qt::RightToLeft; }
    int cursor() const { return month_.cursorIndex(); }
    /// "Wednesday, 18 November 2026, recorded".
    QString spokenName(const CalendarMonth::Cell& cell) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

  signals:
    void changed();
    // What the user does with the look.
    void tapped(int row);
    void monthAsked(int by);
    void closeAsked();

  private:
    struct Telling {
        explicit Telling(CalendarMonthModel& ofModel) : model(ofModel) {}
        ~Telling() { model.tell(); }
        CalendarMonthModel& model;
    };
    void tell();

    CalendarMonth month_;
    QLocale locale_;
};

}  // namespace korvane
