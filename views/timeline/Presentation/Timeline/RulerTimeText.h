#pragma once

#include <QString>
#include <string>

#include "korvane/base/Time.h"

namespace korvane {

class KorvaneHelpers;

/// `time`, in seconds, by a Unicode TS 35 pattern in `zone`, or in `otherZone` where that is empty or not known. Empty
/// for a bad pattern.
QString rulerTimeText(const KorvaneHelpers& helpers, TimeSec time, const QString& format, const QString& zone,
                      const std::string& otherZone);

}  // namespace korvane
