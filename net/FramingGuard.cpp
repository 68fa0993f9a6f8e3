#include "korvane/net/FramingGuard.h"

namespace korvane {
namespace {

// A byte a chunk, which no service means, is six bytes for one.
constexpr std::int64_t mostForAByte = 16;
constexpr std::int64_t mostAtFirst = 65'536;
// Of all heads with the trailers.
constexpr std::int64_t mostOfHeads = 131'072;

}  // namespace

void FramingGuard::watch(CURL* easy) {
    heads_ = 0;
    received_ = 0;
    hasEndedIt_ = false;
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, takeHead);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    // What came is told before its chunks are taken apart, and to this callback alone.
    curl_easy_setopt(easy, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(easy, CURLOPT_DEBUGFUNCTION, count);
    curl_easy_setopt(easy, CURLOPT_DEBUGDATA, this);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, check);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
}

std::size_t FramingGuard::takeHead(char*, std::size_t size, std::size_t count, void* context) noexcept {
    auto& guard = *static_cast<FramingGuard*>(context);
    guard.heads_ += static_cast<std::int64_t>(size * count);
    guard.hasEndedIt_ = guard.heads_ > mostOfHeads;
    return guard.hasEndedIt_ ? 0 : size * count;
}

int FramingGuard::count(CURL*, curl_infotype type, char*, std::size_t size, void* context) noexcept {
    if (type == CURLINFO_DATA_IN) static_cast<FramingGuard*>(context)->received_ += static_cast<std::int64_t>(size);
    return 0;
}

int FramingGuard::check(void* context, curl_off_t, curl_off_t body, curl_off_t, curl_off_t) noexcept {
    auto& guard = *static_cast<FramingGuard*>(context);
    guard.hasEndedIt_ = guard.hasEndedIt_ || guard.received_ - mostAtFirst > body * mostForAByte;
    return guard.hasEndedIt_ ? 1 : 0;
}

}  // namespace korvane
