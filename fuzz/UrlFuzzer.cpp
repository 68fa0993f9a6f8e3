#include "korvane/client/BaseUrl.h"
#include "korvane/fuzz/Law.h"

using namespace korvane;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto url = BaseUrl::parse({reinterpret_cast<const char*>(data), size});
    if (!url) return 0;
    require(url->text.starts_with("http://") || url->text.starts_with("https://"), "the protocol is one of two");
    require(!url->text.ends_with('/'), "no slash at the end");
    require(url->text.find_first_of("\r\n ") == std::string::npos, "an address fits into a line");
    const auto again = BaseUrl::parse(url->text);
    require(again && again->text == url->text && again->hasPath == url->hasPath, "an address reads the same");
    return 0;
}
