#pragma once

#include <atomic>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>

namespace korvane {

/// How much the library tells: 0 errors only, above 0 lifecycle and scroll steps, 3 and above per-draw detail,
/// 7 and above each animation body of a tick. Read on every trace, from any thread.
extern std::atomic<int> KSDK_LogLevel;

/// Receives finished lines without a line end, one call at a time, on the thread that logs. It must not wait for
/// another thread, which may be about to log.
using LogSink = std::function<void(std::string_view line)>;

/// Replaces the sink; an empty one brings back the default, which writes to standard error. Returns the one before.
LogSink setLogSink(LogSink sink);

/// Writes "CLASS PATH: TEXT" whatever the level: for the one line that tells of an operation that was ended.
/// Never give it a token, nor a URL that holds one.
void logError(std::string_view classPath, std::string_view text);

namespace detail {
void writeLogLine(std::string_view line);
}

/// Writes "CLASS PATH: PARTS..." when KSDK_LogLevel is at least `level` (1 and up). The parts are streamed one after
/// the other and cost nothing below that level.
template <typename... Parts>
void trace(int level, std::string_view classPath, const Parts&... parts) {
    if (KSDK_LogLevel.load(std::memory_order_relaxed) < level) return;
    std::ostringstream line;
    line << classPath << ": ";
    (line << ... << parts);
    detail::writeLogLine(line.view());
}

}  // namespace korvane
