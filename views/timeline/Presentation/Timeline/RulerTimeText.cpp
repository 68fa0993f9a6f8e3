#include "korvane/views/timeline/Presentation/Timeline/RulerTimeText.h"

#include <algorithm>
#include <limits>

#include "korvane/base/TaskGuard.h"
#include "korvane/client/KorvaneHelpers.h"

namespace korvane {

QString rulerTimeText(const KorvaneHelpers& helpers, TimeSec time, const QString& format, const QString& zone,
                      const std::string& otherZone) {
    constexpr TimeSec most = std::numeric_limits<TimeMs>::max() / 1000;
    const TimeMs ms = std::clamp(time, -most, most) * 1000;
    const std::string name = zone.toStdString();
    QString text;
    const auto write = [&] {
        const bool isKnown = !name.empty() && helpers.isKnownTimezone(name);
        text = QString::fromStdString(helpers.formatTime(ms, format.toStdString(), isKnown ? name : otherZone));
    };
    detail::runGuarded(write, "KorvaneHelpers");
    return text;
}

}  // namespace korvane
