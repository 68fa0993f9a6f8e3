#include "korvane/fuzz/Law.h"
#include "korvane/toolkit/PictureHeader.h"

using namespace korvane;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto header = PictureHeader::read({reinterpret_cast<const char*>(data), size});
    if (!header) return 0;
    require(header->width > 0 && header->height > 0, "a picture has a size");
    require(header->scans > 0 && header->scans <= size, "each scan takes bytes");
    return 0;
}
