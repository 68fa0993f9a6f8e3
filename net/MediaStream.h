#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "korvane/base/ByteSource.h"
#include "korvane/base/Scheduler.h"
#include "korvane/net/ByteCache.h"
#include "korvane/net/MediaFault.h"
#include "korvane/net/RangeTransfer.h"

namespace korvane {

/// The bytes of a film at an http or https address, read as those of a file are: in parts, and what was read last is
/// kept. TLS is verified, no proxy is used, and a redirection may lead to http or https, from https to https alone.
/// Used by one thread, except for cancel(). Blocks; never longer than the time-outs say.
class MediaStream : public ByteSource {
  public:
    /// `scheduler` outlives the stream.
    MediaStream(Scheduler& scheduler, std::string url, const MediaOptions& options);

    MediaStream(const MediaStream&) = delete;
    MediaStream& operator=(const MediaStream&) = delete;

    /// Gives how many bytes came, at least one; 0 at the end of the film and after a fault.
    std::size_t read(std::span<std::uint8_t> into) override;

    /// From the film's beginning. Asks the service for nothing.
    void seek(std::int64_t position) override { position_ = position; }
    std::int64_t position() const override { return position_; }

    /// Bytes of the whole film. Absent when the service does not tell, and after a fault.
    std::optional<std::int64_t> size() override;

    /// Stays for good: nothing is read any more.
    MediaFault fault() const { return fault_; }
    bool hasFailed() const override { return fault_ != MediaFault::None; }

    /// Ends a read that is under way, and all further ones, with MediaFault::Cancelled. Any thread.
    void cancel();

  private:
    bool fetch();
    void begin();
    bool comesToPosition() const;
    void onEnd(const RangeTransfer::Outcome& outcome);
    void redirect(const std::string& address);
    bool waitOnce();
    bool fail(MediaFault fault);

    Scheduler& scheduler_;
    const MediaOptions options_;
    std::string url_;
    ByteCache cache_;
    RangeTransfer transfer_;
    std::atomic<bool> isCancelled_ = false;
    MediaFault fault_ = MediaFault::None;
    std::int64_t position_ = 0;
    std::int64_t rangeEnd_ = 0;
    std::int64_t rangeSize_ = 0;
    int redirections_ = 0;
    int fruitless_ = 0;  // transfers in a row that have not brought what they were for
    // Since the last few kilobytes have come.
    std::chrono::microseconds waited_{0};
    std::int64_t received_ = 0;
};

}  // namespace korvane
