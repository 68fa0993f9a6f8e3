#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "korvane/net/MediaFault.h"

namespace korvane {

/// One request at a time for a part of a file, over a connection that is kept for the next. Follows no redirection,
/// speaks http and https only, verifies TLS, and reads nothing from the environment. Used by one thread, except for
/// wake().
class RangeTransfer {
  public:
    struct Outcome {
        MediaFault fault = MediaFault::None;
        /// Where the service sends the reader instead; empty for nowhere.
        std::string redirection;
    };
    /// Runs within step(). `position` is the place of the bytes in the file.
    using Sink = std::function<void(std::int64_t position, std::span<const std::uint8_t> bytes)>;

    RangeTransfer(const MediaOptions& options, Sink sink);
    ~RangeTransfer();

    RangeTransfer(const RangeTransfer&) = delete;
    RangeTransfer& operator=(const RangeTransfer&) = delete;

    /// Breaks off what runs, and asks for `count` bytes from `from` on. A service that knows no ranges sends the whole
    /// file instead.
    void start(const std::string& url, std::int64_t from, std::int64_t count);

    /// Moves what is there to move, and waits for more for `longest` at most. The outcome once the transfer has ended.
    std::optional<Outcome> step(std::chrono::milliseconds longest);

    bool isRunning() const;
    /// Place of the byte that comes next.
    std::int64_t next() const;
    /// Of the file, once the service has told.
    std::optional<std::int64_t> fileSize() const;

    /// Ends a step() that waits. Any thread.
    void wake();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace korvane
