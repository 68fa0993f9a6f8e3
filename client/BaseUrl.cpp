#include "korvane/client/BaseUrl.h"

#include <curl/curl.h>

#include <memory>

namespace korvane {
namespace {

using UrlHandle = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

std::optional<std::string> partOf(CURLU* url, CURLUPart part) {
    char* text = nullptr;
    if (curl_url_get(url, part, &text, 0) != CURLUE_OK) return std::nullopt;
    std::string result = text;
    curl_free(text);
    return result;
}

std::optional<BaseUrl> parseOnce(std::string_view url) {
    constexpr std::size_t longestUrl = 2048;
    if (url.size() > longestUrl || url.find('\0') != std::string_view::npos) return std::nullopt;

    const UrlHandle handle(curl_url(), curl_url_cleanup);
    if (!handle || curl_url_set(handle.get(), CURLUPART_URL, std::string(url).c_str(), 0) != CURLUE_OK) {
        return std::nullopt;
    }
    const auto scheme = partOf(handle.get(), CURLUPART_SCHEME);
    const auto host = partOf(handle.get(), CURLUPART_HOST);
    if (!scheme || (*scheme != "http" && *scheme != "https") || !host || host->empty()) return std::nullopt;
    for (const CURLUPart part : {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_QUERY, CURLUPART_FRAGMENT}) {
        if (partOf(handle.get(), part)) return std::nullopt;
    }

    BaseUrl result;
    result.text = partOf(handle.get(), CURLUPART_URL).value_or("");
    while (result.text.ends_with('/')) result.text.pop_back();
    result.hasPath = partOf(handle.get(), CURLUPART_PATH).value_or("/").find_first_not_of('/') != std::string::npos;
    return result;
}

}  // namespace

std::optional<BaseUrl> BaseUrl::parse(std::string_view url) {
    auto base = parseOnce(url);
    // A host that is written in escapes, "%31", is another one once it is read.
    const auto again = base ? parseOnce(base->text) : std::nullopt;
    if (!again || again->text != base->text || again->hasPath != base->hasPath) return std::nullopt;
    return base;
}

}  // namespace korvane
