#pragma once

#include <QString>

namespace korvane {

/// How times of day are written: Unicode TS 35 patterns of a clock of 24 hours, or of 12.
class ClockStyle {
  public:
    explicit ClockStyle(bool hasTwelveHours = false) : hasTwelveHours_(hasTwelveHours) {}

    bool hasTwelveHours() const { return hasTwelveHours_; }
    QString minutes() const { return hasTwelveHours_ ? QStringLiteral("h:mm a") : QStringLiteral("HH:mm"); }
    QString seconds() const { return hasTwelveHours_ ? QStringLiteral("h:mm:ss a") : QStringLiteral("HH:mm:ss"); }
    QString dayAndMinutes() const { return QStringLiteral("EEE ") + minutes(); }
    QString dayAndSeconds() const { return QStringLiteral("EEE ") + seconds(); }

    bool operator==(const ClockStyle&) const = default;

  private:
    bool hasTwelveHours_ = false;
};

}  // namespace korvane
