#pragma once

#include <QString>
#include <cstdint>

#include "korvane/views/timeline/ScrubberCommon/ScrubberEvent.h"

namespace korvane {

/// A status of the client library or the service in a few words for a person, without the number.
QString statusText(std::int32_t status);

/// Why an event could not be deleted.
QString deletionFault(std::int32_t status);

/// With a capital.
QString sentence(QString text);

/// "1 event", "312 events".
QString countText(std::int64_t count, const QString& noun);

/// The name of an event in words: "Motion", "Line crossing"; of a group, the different names of its events. Empty for
/// none.
QString eventText(const ScrubberEvent::Fields& event);

/// "40 s", "12 min", "3 h 5 min", "2 days": ms, rounded down to the unit.
QString durationText(std::int64_t duration);

}  // namespace korvane
