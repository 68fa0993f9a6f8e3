#pragma once

#include <curl/curl.h>

#include <cstdint>

namespace korvane {

/// Ends a transfer whose body is next to nothing beside what stands around it: heads and the trailers of chunks, of
/// which libcurl keeps each line, and the extensions of chunks, which it throws away without telling how many came.
class FramingGuard {
  public:
    FramingGuard() = default;
    FramingGuard(const FramingGuard&) = delete;
    FramingGuard& operator=(const FramingGuard&) = delete;

    /// Guards `easy`, which this object outlives, from its next transfer on. Before each transfer, on its thread.
    void watch(CURL* easy);

    /// Whether it has ended the transfer.
    bool hasEndedIt() const { return hasEndedIt_; }

  private:
    static std::size_t takeHead(char*, std::size_t size, std::size_t count, void* context) noexcept;
    static int count(CURL*, curl_infotype type, char*, std::size_t size, void* context) noexcept;
    static int check(void* context, curl_off_t, curl_off_t body, curl_off_t, curl_off_t) noexcept;

    std::int64_t heads_ = 0;
    std::int64_t received_ = 0;
    bool hasEndedIt_ = false;
};

}  // namespace korvane
