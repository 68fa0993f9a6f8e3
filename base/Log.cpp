#include "korvane/base/Log.h"

#include <cstdio>
#include <memory>
#include <mutex>
#include <utility>

#include "korvane/base/Printable.h"

namespace korvane {

std::atomic<int> KSDK_LogLevel{0};

namespace {

struct SinkHolder {
    // Recursive, so that a sink may change the sink or log by way of what it calls.
    std::recursive_mutex mutex;
    std::shared_ptr<const LogSink> sink = std::make_shared<LogSink>();
};

// Never destroyed: threads may log while the process ends.
SinkHolder& sinkHolder() {
    static auto& holder = *new SinkHolder;
    return holder;
}

void writeToStandardError(std::string_view line) {
    std::string ended(line);
    ended += '\n';
    std::fwrite(ended.data(), 1, ended.size(), stderr);
}

}  // namespace

LogSink setLogSink(LogSink sink) {
    auto next = std::make_shared<const LogSink>(std::move(sink));
    auto& holder = sinkHolder();
    const std::lock_guard lock(holder.mutex);
    std::swap(holder.sink, next);
    return *next;
}

void logError(std::string_view classPath, std::string_view text) {
    std::string line(classPath);
    line += ": ";
    line += text;
    detail::writeLogLine(line);
}

namespace detail {

void writeLogLine(std::string_view line) {
    // What came from outside must not be able to forge a second line, nor to steer a terminal.
    std::string single(line);
    for (char& c : single) {
        if (c == '\n' || c == '\r') c = ' ';
    }
    single = printable(single);
    auto& holder = sinkHolder();
    const std::lock_guard lock(holder.mutex);
    const auto sink = holder.sink;
    try {
        if (*sink) {
            (*sink)(single);
        } else {
            writeToStandardError(single);
        }
    } catch (...) {
        writeToStandardError("Log: the sink threw");
    }
}

}  // namespace detail
}  // namespace korvane
