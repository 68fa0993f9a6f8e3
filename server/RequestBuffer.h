#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace korvane {

/// What has come on a connection and was not answered yet. Used by one thread at a time.
class RequestBuffer {
  public:
    /// Far above what the client library sends, far below what hurts.
    static constexpr std::size_t longestHead = 64 * 1024;

    enum class Head { Missing, Clear, Ambiguous, TooLong };

    void append(std::string_view bytes) { bytes_.append(bytes); }

    /// Looks at the head of the first request. Bytes that were looked at before are not looked at again.
    Head look();

    /// Takes the request out that look() has told of: all of its head, or as much as is allowed.
    std::string take();

    bool isEmpty() const { return bytes_.empty(); }
    std::size_t size() const { return bytes_.size(); }

  private:
    std::string bytes_;
    std::size_t seen_ = 0;
    std::size_t end_ = 0;
};

}  // namespace korvane
