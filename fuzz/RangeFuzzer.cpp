#include <cstring>

#include "korvane/fuzz/Law.h"
#include "korvane/server/VideoReply.h"

using namespace korvane;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::uint64_t length = 0;
    if (size < sizeof length) return 0;
    std::memcpy(&length, data, sizeof length);
    const std::string_view header(reinterpret_cast<const char*>(data) + sizeof length, size - sizeof length);
    const ByteRange range = parseRange(header, length);
    if (range.kind != ByteRange::Kind::Part) return 0;
    require(range.first <= range.last && range.last < length, "a range lies within the file");
    const std::string written = "bytes=" + std::to_string(range.first) + "-" + std::to_string(range.last);
    const ByteRange again = parseRange(written, length);
    require(again.kind == range.kind && again.first == range.first && again.last == range.last,
            "a range reads the same");
    return 0;
}
