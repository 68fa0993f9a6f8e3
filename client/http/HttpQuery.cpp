#include "korvane/client/http/HttpQuery.h"

#include <utility>

namespace korvane {
namespace {

void appendEncoded(std::string& out, std::string_view text) {
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
        "0123456789-._~";
    constexpr std::string_view digits = "0123456789ABCDEF";
    for (const char c : text) {
        if (plain.find(c) != std::string_view::npos) {
            out += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            out += {'%', digits[byte >> 4], digits[byte & 15]};
        }
    }
}

}  // namespace

HttpQuery::HttpQuery(std::string path) : text_(std::move(path)) {}

HttpQuery& HttpQuery::add(std::string_view name, std::int64_t value) {
    begin(name);
    text_ += std::to_string(value);
    return *this;
}

HttpQuery& HttpQuery::add(std::string_view name, const std::string& value) {
    begin(name);
    appendEncoded(text_, value);
    return *this;
}

HttpQuery& HttpQuery::add(std::string_view name, const std::vector<std::string>& values) {
    begin(name);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i > 0) text_ += ',';
        appendEncoded(text_, values[i]);
    }
    return *this;
}

void HttpQuery::begin(std::string_view name) {
    text_ += std::exchange(hasQuery_, true) ? '&' : '?';
    text_ += name;
    text_ += '=';
}

}  // namespace korvane
