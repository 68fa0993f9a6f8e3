#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <array>

#include "korvane/base/Base64Url.h"
#include "korvane/client/TokenReader.h"
#include "korvane/fuzz/Law.h"
#include "korvane/server/AccessToken.h"

using namespace korvane;
using fuzz::require;

namespace {

constexpr std::string_view secret = "0123456789abcdef0123456789abcdef";
constexpr TimeSec now = 1'700'000'000;

std::string sign(std::string_view payload) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    HMAC(EVP_sha256(), secret.data(), static_cast<int>(secret.size()),
         reinterpret_cast<const unsigned char*>(payload.data()), payload.size(), digest.data(), &length);
    return encodeBase64Url(payload) + "." + encodeBase64Url({reinterpret_cast<const char*>(digest.data()), length});
}

void readIssued(const AccessToken& tokens, const std::string& address) {
    constexpr std::int64_t camera = 7;
    const auto token = tokens.issue(camera, now + 60, address);
    if (!token) return;
    const TokenReading reading = readToken(*token, "https", 443, now * 1000);
    require(reading.code == 0, "the client reads what the service issues");
    require(tokens.verify(reading.token.at("token").get<std::string>(), now) == camera,
            "what is issued opens its camera");
    require(reading.baseUrl.starts_with(address.starts_with("https") ? "https://" : "http://"), "the protocol stays");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const AccessToken tokens{std::string(secret)};
    const fuzz::Input input(data, size);
    // 's': a payload that the service has signed; 'a': an address to issue a token for; all else: a bearer.
    if (input.choice == 's')
        tokens.verify(sign(input.text), now);
    else if (input.choice == 'a')
        readIssued(tokens, std::string(input.text));
    else
        require(!tokens.verify(input.text, now), "a forged bearer opens nothing");
    return 0;
}
