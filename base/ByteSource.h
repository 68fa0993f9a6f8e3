#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace korvane {

/// Bytes that are read as those of a file are. Used by one thread.
class ByteSource {
  public:
    virtual ~ByteSource() = default;

    /// Gives how many bytes came, at least one; 0 at the end and after a failure. May block.
    virtual std::size_t read(std::span<std::uint8_t> into) = 0;

    /// From the beginning.
    virtual void seek(std::int64_t position) = 0;
    virtual std::int64_t position() const = 0;

    /// Absent when it is not known. May block.
    virtual std::optional<std::int64_t> size() = 0;

    /// Stays for good: nothing is read any more.
    virtual bool hasFailed() const = 0;
};

}  // namespace korvane
