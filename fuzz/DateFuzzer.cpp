#include <algorithm>
#include <cstring>

#include "korvane/base/UtcTime.h"
#include "korvane/fuzz/Law.h"

using namespace korvane;
using fuzz::require;

namespace {

constexpr TimeMs earliest = -62'167'219'200'000;
constexpr TimeMs latest = 253'402'300'799'999;

void writeAndRead(TimeMs time) {
    const auto read = parseUtc(formatUtc(time));
    require(read == std::clamp(time, earliest, latest), "a date that was written reads the same");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto time = parseUtc(text)) writeAndRead(*time);
    TimeMs time = 0;
    std::memcpy(&time, data, std::min(size, sizeof time));
    writeAndRead(time);
    return 0;
}
