#include "korvane/client/TokenReader.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <utility>

#include "korvane/base/Base64Url.h"
#include "korvane/base/UtcTime.h"
#include "korvane/client/BaseUrl.h"
#include "korvane/client/Bearer.h"
#include "korvane/client/JsonReader.h"
#include "korvane/client/Status.h"

namespace korvane {
namespace {

constexpr std::size_t longestToken = 64 * 1024;

struct Fault {
    std::int32_t code = StatusSuccess;
    std::string message;
};

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n\f\v";
    const auto begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

std::optional<std::string> decodeBase64(std::string_view text) {
    for (int pads = 0; pads < 2 && text.ends_with('='); ++pads) text.remove_suffix(1);
    std::string input(text);
    std::replace(input.begin(), input.end(), '+', '-');
    std::replace(input.begin(), input.end(), '/', '_');
    return decodeBase64Url(input);
}

std::optional<std::int32_t> toPort(const std::string& text) {
    std::int32_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || port < 0 || port > 65535) return std::nullopt;
    return port;
}

bool isCameraId(const Reply& value) {
    if (!value.is_number_integer()) return false;
    return !value.is_number_unsigned() ||
           value.get<std::uint64_t>() <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
}

/// Checks the keys that a token must have, and turns those that it may have into strings.
std::optional<Fault> takeKeys(const Reply& content, Reply& token) {
    for (const char* key : {"token", "expires", "camid"}) {
        const Reply* value = findMember(content, key);
        if (!value) return Fault{StatusTokenKeys, std::string("The token lacks the key \"") + key + "\"."};
        const bool isRight = std::string_view(key) == "camid" ? isCameraId(*value) : value->is_string();
        if (!isRight) return Fault{StatusTokenKeys, std::string("The token's \"") + key + "\" is of a wrong type."};
        token[key] = *value;
    }
    if (!isBearer(token["token"].get_ref<const std::string&>())) {
        return Fault{StatusTokenKeys, "The token's \"token\" is empty, or has characters that no header takes."};
    }
    for (const char* key : {"svcp", "api", "api_p", "api_sp", "path"}) {
        const Reply* value = findMember(content, key);
        if (!value || value->is_null()) continue;
        const bool isPort = std::string_view(key).starts_with("api_");
        if (!value->is_string() && !(isPort && value->is_number_integer())) {
            return Fault{StatusTokenKeys, std::string("The token's \"") + key + "\" is of a wrong type."};
        }
        const std::string text = value->is_string() ? value->get<std::string>() : value->dump();
        if (isPort && !text.empty() && !toPort(text)) {
            return Fault{StatusTokenKeys, std::string("The token's \"") + key + "\" is no port."};
        }
        token[key] = text;
    }
    return std::nullopt;
}

std::string textOf(const Reply& token, std::string_view key) {
    const Reply* value = findMember(token, key);
    return value ? value->get<std::string>() : std::string();
}

struct Endpoint {
    std::string protocol;
    std::int32_t port = 0;
};

/// A token names a plain and a secure port, 0 or nothing for what it does not offer.
Endpoint chooseEndpoint(const Reply& token, const std::string& defaultProtocol, std::int32_t defaultPort) {
    const std::int32_t plain = toPort(textOf(token, "api_p")).value_or(0);
    const std::int32_t secure = toPort(textOf(token, "api_sp")).value_or(0);
    if (secure > 0 && (defaultProtocol == "https" || plain == 0)) return {"https", secure};
    if (plain > 0) return {"http", plain};
    return {defaultProtocol, defaultPort};
}

std::optional<Fault> findBaseUrl(std::string protocol, std::int32_t port, TokenReading& reading) {
    std::string url = textOf(reading.token, "svcp");
    if (url.empty()) {
        std::string host = textOf(reading.token, "api");
        if (host.empty()) return std::nullopt;
        std::transform(protocol.begin(), protocol.end(), protocol.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
        if (protocol != "http" && protocol != "https") {
            return Fault{StatusBadCall, "The default protocol is neither http nor https."};
        }
        const Endpoint endpoint = chooseEndpoint(reading.token, protocol, port);
        if (endpoint.port < 1 || endpoint.port > 65535) {
            return Fault{StatusBadCall, "The default port is no port."};
        }
        if (host.find_first_of("/?#@\\ ") != std::string::npos) {
            return Fault{StatusTokenKeys, "The token's \"api\" is no host."};
        }
        const bool isIp6 = host.find(':') != std::string::npos && !host.starts_with('[');
        if (isIp6) host = "[" + host + "]";
        const std::string path = textOf(reading.token, "path");
        url = endpoint.protocol + "://" + host + ":" + std::to_string(endpoint.port) +
              (path.empty() || path.starts_with('/') ? "" : "/") + path;
    }
    const auto base = BaseUrl::parse(url);
    if (!base) return Fault{StatusTokenKeys, "The token's address of the service is no http or https URL."};
    reading.baseUrl = base->text;
    reading.isPathIncluded = base->hasPath;
    return std::nullopt;
}

std::optional<Fault> read(std::string_view text, const std::string& defaultProtocol, std::int32_t defaultPort,
                          TimeMs now, TokenReading& reading) {
    text = trimmed(text);
    if (text.empty()) return Fault{StatusTokenSize, "The token is empty."};
    if (text.size() > longestToken) return Fault{StatusTokenSize, "The token is longer than any token is."};
    const auto decoded = decodeBase64(text);
    if (!decoded) return Fault{StatusTokenEncoding, "The token is no base64url text."};
    const auto content = readJson(*decoded);
    if (!content) return Fault{StatusTokenFormat, "The token holds no JSON."};
    if (!content->is_object()) return Fault{StatusTokenFormat, "The token holds JSON that is no object."};

    if (auto fault = takeKeys(*content, reading.token)) return fault;
    const auto expiry = parseUtc(textOf(reading.token, "expires"));
    if (expiry && *expiry <= now) return Fault{StatusTokenExpired, "The token expired at " + formatUtc(*expiry) + "."};
    return findBaseUrl(defaultProtocol, defaultPort, reading);
}

}  // namespace

TokenReading readToken(std::string_view text, const std::string& defaultProtocol, std::int32_t defaultPort,
                       TimeMs now) {
    TokenReading reading;
    if (auto fault = read(text, defaultProtocol, defaultPort, now, reading)) {
        reading = TokenReading{};
        reading.code = fault->code;
        reading.message = std::move(fault->message);
    }
    return reading;
}

}  // namespace korvane
