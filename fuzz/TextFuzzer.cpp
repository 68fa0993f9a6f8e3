#include <nlohmann/json.hpp>

#include "korvane/base/Base64Url.h"
#include "korvane/base/Printable.h"
#include "korvane/fuzz/Law.h"

using namespace korvane;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    require(decodeBase64Url(encodeBase64Url(text)) == text, "bytes come back");
    if (const auto bytes = decodeBase64Url(text))
        require(encodeBase64Url(*bytes).size() == text.size(), "a text has the length of its bytes");

    const std::string shown = printable(text);
    require(printable(shown) == shown, "what can be shown is shown as it is");
    for (const char c : shown) require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7f, "no terminal obeys it");
    // Throws where it is no UTF-8.
    static_cast<void>(nlohmann::json(shown).dump());
    return 0;
}
