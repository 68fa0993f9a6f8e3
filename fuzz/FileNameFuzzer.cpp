#include <algorithm>

#include "korvane/base/UtcTime.h"
#include "korvane/fuzz/Law.h"
#include "korvane/server/FileTime.h"

using namespace korvane;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto time = timeFromFileName({reinterpret_cast<const char*>(data), size});
    if (!time) return 0;
    std::string name = formatUtc(*time);
    require(name >= "1990" && name < "2100", "a camera's time");
    std::replace(name.begin(), name.end(), ':', '-');
    require(timeFromFileName("cam1 " + name + ".mp4") == time, "a name with that time tells it");
    return 0;
}
