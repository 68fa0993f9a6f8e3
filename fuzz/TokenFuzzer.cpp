#include "korvane/base/Base64Url.h"
#include "korvane/client/BaseUrl.h"
#include "korvane/client/Bearer.h"
#include "korvane/client/TokenReader.h"
#include "korvane/fuzz/Law.h"

using namespace korvane;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::Input input(data, size);
    // 'j': the JSON of a token; all else: a token.
    const std::string token = input.choice == 'j' ? encodeBase64Url(input.text) : std::string(input.text);
    const TokenReading reading = readToken(token, "https", 443, 0);
    require((reading.code == 0) == !reading.token.is_null(), "a token is read, or told to be bad");
    require((reading.code == 0) == reading.message.empty(), "a bad token has a sentence");
    if (reading.code != 0) return 0;

    const std::string& bearer = reading.token.at("token").get_ref<const std::string&>();
    require(isBearer(bearer), "a bearer fits into a header");
    require(reading.token.at("camid").is_number_integer(), "a camera has a number");
    if (!reading.baseUrl.empty()) {
        const auto url = BaseUrl::parse(reading.baseUrl);
        require(url && url->text == reading.baseUrl && url->hasPath == reading.isPathIncluded,
                "an address reads the same");
    }
    const TokenReading again = readToken(encodeBase64Url(reading.token.dump()), "https", 443, 0);
    require(again.token == reading.token && again.baseUrl == reading.baseUrl, "a token written again reads the same");
    return 0;
}
