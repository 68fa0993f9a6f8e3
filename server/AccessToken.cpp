#include "korvane/server/AccessToken.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <nlohmann/json.hpp>

#include "korvane/base/Base64Url.h"
#include "korvane/base/UtcTime.h"
#include "korvane/server/DataPlace.h"

namespace korvane {
namespace {

constexpr std::size_t secretBytes = 32;
constexpr std::size_t longestBearer = 1024;
// The last second of the year 9999: the calendar of "expires" ends there.
constexpr TimeSec latest = 253'402'300'799;

Result<std::string> readSecret(const Descriptor& file) {
    struct stat info {};
    if (::fstat(file.get(), &info) != 0) return Error{std::strerror(errno)};
    if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0) return Error{"others may read or write it; chmod 600 mends that"};
    std::array<char, secretBytes> bytes{};
    const ssize_t size = ::read(file.get(), bytes.data(), bytes.size());
    if (size != static_cast<ssize_t>(bytes.size())) return Error{"it is damaged"};
    return std::string(bytes.data(), bytes.size());
}

Failure makeSecret(const std::filesystem::path& file) {
    std::array<char, secretBytes> bytes{};
    if (RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(bytes.size())) != 1)
        return Error{"no source of randomness"};
    const Failure failure = writeOnce(file, {bytes.data(), bytes.size()});
    return failure ? Error{"cannot keep the secret in " + file.string() + ": " + failure->message} : failure;
}

bool isHostLetter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '-' || c == '_';
}

/// A name, an address of numbers, or an IPv6 address in brackets, with or without a zone.
bool isHost(std::string_view text) {
    if (text.starts_with('[') && text.ends_with(']')) {
        text = text.substr(1, text.size() - 2);
        constexpr std::string_view zoneSign = "%25";
        const std::string number(text.substr(0, text.find(zoneSign)));
        in6_addr address{};
        const bool isWhole = number.find('\0') == std::string::npos;
        if (!isWhole || ::inet_pton(AF_INET6, number.c_str(), &address) != 1) return false;
        if (number.size() == text.size()) return true;
        text.remove_prefix(number.size() + zoneSign.size());
        if (text.size() >= IF_NAMESIZE) return false;
    }
    return !text.empty() && text.size() < 256 && std::all_of(text.begin(), text.end(), isHostLetter);
}

bool isPathLetter(char c) {
    constexpr std::string_view signs = "/-._~!$&'()*+,;=:@%";
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || signs.find(c) != std::string_view::npos;
}

}  // namespace

AccessToken::AccessToken(std::string secret) : secret_(std::move(secret)) {}

Result<AccessToken> AccessToken::forDatabase(const std::filesystem::path& database) {
    const auto place = DataPlace::of(database);
    if (!place) return place.error();
    const std::filesystem::path file = place->file.string() + ".key";
    auto opened = openOwnFile(file);
    if (opened && !*opened) {
        if (const Failure failure = makeSecret(file)) return *failure;
        opened = openOwnFile(file);
    }
    const auto secret = opened ? readSecret(*opened) : Result<std::string>(opened.error());
    if (!secret) return Error{"the secret in " + file.string() + " cannot be used: " + secret.error().message};
    return AccessToken(*secret);
}

std::string AccessToken::signature(std::string_view payload) const {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    HMAC(EVP_sha256(), secret_.data(), static_cast<int>(secret_.size()),
         reinterpret_cast<const unsigned char*>(payload.data()), payload.size(), digest.data(), &size);
    return {reinterpret_cast<const char*>(digest.data()), size};
}

std::string AccessToken::issueBearer(std::int64_t cameraId, TimeSec expires) const {
    const std::string payload = nlohmann::ordered_json{{"camid", cameraId}, {"exp", expires}}.dump();
    return encodeBase64Url(payload) + "." + encodeBase64Url(signature(payload));
}

std::optional<std::int64_t> AccessToken::verify(std::string_view bearer, TimeSec now) const {
    const std::size_t dot = bearer.find('.');
    if (bearer.size() > longestBearer || dot == std::string_view::npos) return std::nullopt;
    const auto payload = decodeBase64Url(bearer.substr(0, dot));
    const auto claimed = decodeBase64Url(bearer.substr(dot + 1));
    if (!payload || !claimed) return std::nullopt;
    const std::string expected = signature(*payload);
    if (claimed->size() != expected.size() || CRYPTO_memcmp(claimed->data(), expected.data(), expected.size()) != 0)
        return std::nullopt;
    const auto json = nlohmann::json::parse(*payload, nullptr, false);
    if (!json.is_object()) return std::nullopt;
    const auto camera = json.find("camid");
    const auto expires = json.find("exp");
    if (camera == json.end() || expires == json.end()) return std::nullopt;
    if (!camera->is_number_integer() || !expires->is_number_integer()) return std::nullopt;
    if (expires->get<TimeSec>() <= now) return std::nullopt;
    return camera->get<std::int64_t>();
}

Result<std::string> AccessToken::issue(std::int64_t cameraId, TimeSec expires, const std::string& baseUrl) const {
    const bool secure = baseUrl.starts_with("https://");
    if (!secure && !baseUrl.starts_with("http://")) return Error{"the address must begin with http:// or https://"};
    std::string rest = baseUrl.substr(secure ? 8 : 7);
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    std::string path = rest.substr(slash);
    rest.resize(slash);
    while (path.ends_with('/')) path.pop_back();
    const std::size_t colon = rest.rfind(':');
    const bool named = colon != std::string::npos && rest.find(']', colon) == std::string::npos;
    int port = secure ? 443 : 80;
    if (named) {
        const char* end = rest.data() + rest.size();
        const auto [stop, code] = std::from_chars(rest.data() + colon + 1, end, port);
        if (code != std::errc() || stop != end || port < 1 || port > 65535) return Error{"the address has a bad port"};
        rest.resize(colon);
    }
    const auto isForeign = [](char c) { return static_cast<unsigned char>(c) > 127; };
    if (std::any_of(rest.begin(), rest.end(), isForeign))
        return Error{"the address has a host name that is not in ASCII; write it in ASCII, as xn--..."};
    if (!isHost(rest)) return Error{"the address has no proper host"};
    if (!std::all_of(path.begin(), path.end(), isPathLetter)) return Error{"the address has a bad path"};
    const std::string root = (secure ? "https://" : "http://") + rest + ":" + std::to_string(port) + path;
    const nlohmann::ordered_json token = {{"token", issueBearer(cameraId, expires)},
                                          {"expires", formatUtc(std::clamp<TimeSec>(expires, 0, latest) * 1000)},
                                          {"camid", cameraId},
                                          {"svcp", root},
                                          {"api", rest},
                                          {"api_p", secure ? 0 : port},
                                          {"api_sp", secure ? port : 0},
                                          {"path", path}};
    return encodeBase64Url(token.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

}  // namespace korvane
