#include "korvane/server/ApiRequest.h"

#include <algorithm>
#include <charconv>

#include "korvane/server/Api.h"

namespace korvane {
namespace {

constexpr std::string_view bearerPrefix = "Bearer ";
constexpr std::size_t mostIds = 1000;

bool isHost(const std::string& text) {
    constexpr std::string_view extra = ".-_:[]";
    return !text.empty() && text.size() < 256 && std::all_of(text.begin(), text.end(), [&](unsigned char c) {
        return std::isalnum(c) != 0 || extra.find(static_cast<char>(c)) != std::string_view::npos;
    });
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    while (true) {
        const std::size_t at = text.find(separator);
        pieces.emplace_back(text.substr(0, at));
        if (at == std::string_view::npos) return pieces;
        text.remove_prefix(at + 1);
    }
}

}  // namespace

std::vector<std::string> ApiRequest::pathPieces() const {
    if (!request_.path.starts_with('/')) throw ApiFailure(400, "bad path");
    return split(std::string_view(request_.path).substr(1), '/');
}

std::string ApiRequest::bearer() const {
    const std::string header = request_.get_header_value("Authorization");
    if (header.starts_with(bearerPrefix)) return header.substr(bearerPrefix.size());
    return text("access");
}

std::int64_t ApiRequest::parseInteger(std::string_view text, const std::string& what) {
    std::int64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, code] = std::from_chars(text.data(), end, value);
    if (code != std::errc() || stop != end) throw ApiFailure(400, what + " must be a whole number of 64 bits");
    return value;
}

std::int64_t ApiRequest::integer(const char* name, std::int64_t fallback) const {
    const std::string value = text(name);
    return value.empty() ? fallback : parseInteger(value, name);
}

std::vector<std::int64_t> ApiRequest::integers(const char* name) const {
    const std::string value = text(name);
    if (value.empty()) return {};
    std::vector<std::int64_t> numbers;
    for (const std::string& piece : split(value, ',')) numbers.push_back(parseInteger(piece, name));
    if (numbers.size() > mostIds) throw ApiFailure(400, std::string("too many ") + name);
    return numbers;
}

TimeRange ApiRequest::range() const {
    return {integer("start", -1), integer("end", -1)};
}

PageQuery ApiRequest::page() const {
    const std::int64_t limit = integer("limit", -1);
    PageQuery query;
    query.range = range();
    query.type = text("type");
    query.oldestFirst = flag("order");
    query.limit = limit < 0 ? Api::defaultLimit : std::min(limit, Api::mostRows);
    query.offset = std::max<std::int64_t>(integer("offset", 0), 0);
    return query;
}

std::string ApiRequest::root() const {
    const std::string host = request_.get_header_value("Host");
    if (isHost(host)) return "http://" + host;
    return "http://" + request_.local_addr + ":" + std::to_string(request_.local_port);
}

}  // namespace korvane
