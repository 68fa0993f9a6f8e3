#include "korvane/client/http/ReplyAddresses.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace korvane {
namespace {

/// Stricter than any of the parsers that read it later, so that none of them sees another scheme or host in it.
bool isWebAddress(std::string_view text) {
    constexpr std::string_view afterScheme = "://";
    const auto end = text.find(afterScheme);
    if (end == std::string_view::npos) return false;
    const std::string_view scheme = text.substr(0, end);
    if (!equalKeys(scheme, "http") && !equalKeys(scheme, "https")) return false;
    const std::string_view rest = text.substr(end + afterScheme.size());
    const std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f' || c == '\\'; };
    return !authority.empty() && authority.find(' ') == std::string_view::npos &&
           std::none_of(text.begin(), text.end(), isControl);
}

bool namesAddress(std::string_view key) {
    constexpr std::string_view name = "url";
    return key.size() >= name.size() && equalKeys(key.substr(key.size() - name.size()), name);
}

}  // namespace

std::size_t dropForeignAddresses(Reply& reply) {
    std::size_t dropped = 0;
    if (reply.is_array()) {
        for (Reply& element : reply) dropped += dropForeignAddresses(element);
    } else if (reply.is_object()) {
        for (auto& [key, value] : reply.get_ref<Reply::object_t&>()) {
            if (!namesAddress(key)) {
                dropped += dropForeignAddresses(value);
            } else if (!value.is_null() && !(value.is_string() && isWebAddress(value.get_ref<const std::string&>()))) {
                // Services write an empty text for an address that they do not have.
                if (value != "") ++dropped;
                value = nullptr;
            }
        }
    }
    return dropped;
}

}  // namespace korvane
