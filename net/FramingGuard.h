#pragma once

#include <curl/curl.h>

#include <cstdint>

namespace korvane {

/// Ends a transfer, with CURLE_ABORTED_BY_CALLBACK, whose chunks have far more around them than in them: libcurl throws
/// their extensions and what follows the last of them away without telling how many came, and without an end.
class FramingGuard {
  public:
    FramingGuard() = default;
    FramingGuard(const FramingGuard&) = delete;
    FramingGuard& operator=(const FramingGuard&) = delete;

    /// Guards `easy`, which this object outlives, from its next transfer on. Before each transfer, on its thread.
    void watch(CURL* easy);

  private:
    static int count(CURL*, curl_infotype type, char*, std::size_t size, void* context) noexcept;
    static int check(void* context, curl_off_t, curl_off_t body, curl_off_t, curl_off_t) noexcept;

    std::int64_t received_ = 0;
};

}  // namespace korvane
