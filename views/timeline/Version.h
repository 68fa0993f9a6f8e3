#pragma once

#if defined(__GNUC__)
#define KORVANE_EXPORT __attribute__((visibility("default")))
#else
#define KORVANE_EXPORT
#endif

/// The library's version as a number, major and minor, and as a text line. C linkage, so that a loader finds them by
/// name.
extern "C" {
KORVANE_EXPORT extern const double korvanesdktimelineviewVersionNumber;
KORVANE_EXPORT extern const unsigned char korvanesdktimelineviewVersionString[];
}

namespace korvane {

/// What getVersion() of each widget gives.
inline constexpr const char* timelineVersion = "2.0.87_20220310";

}  // namespace korvane
