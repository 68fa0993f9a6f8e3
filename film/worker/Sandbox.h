#pragma once

#include "korvane/film/HelperOrder.h"

// A sanitizer's own memory, files and handling of signals do not go together with the walls.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KORVANE_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KORVANE_SANITIZED
#endif
#endif

namespace korvane {

/// The exit code of a film's process that has come to the end of its memory.
inline constexpr int exitForMemory = 12;
/// That of one which the system has refused its walls.
inline constexpr int exitWithoutSandbox = 13;

/// Takes from this process, for good, what reading a film does not need: new files, connections and programs, memory
/// and time beyond `order`, other shared memory than `room`. False when the system refuses. Before any further thread
/// is started.
bool enterSandbox(const HelperOrder& order, int room);

/// Ends this process where libav's `code` is want of memory: what it would do without is not known. Gives the code.
int mindMemory(int code);

/// Grants `seconds` of processor time from now on.
void grantTime(std::int64_t seconds);

}  // namespace korvane
