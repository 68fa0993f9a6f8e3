#include "korvane/server/RequestHead.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>
#include <utility>

namespace korvane {
namespace {

bool isControl(char c) {
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f;
}

bool isToken(char c) {
    constexpr std::string_view extra = "!#$%&'*+-.^_`|~";
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || extra.find(c) != std::string_view::npos;
}

bool isNamed(std::string_view name, std::string_view lower) {
    return std::equal(name.begin(), name.end(), lower.begin(), lower.end(),
                      [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; });
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

// The library reads this field by a recursion as deep as it is long, which can take all of a thread's stack.
constexpr std::size_t longestRange = 200;

/// What of a head's fields may be there once, or not together.
struct Framing {
    std::optional<std::string> length;
    bool hasHost = false;
    bool hasCoding = false;

    bool take(std::string_view name, std::string_view value) {
        if (isNamed(name, "host")) return !std::exchange(hasHost, true);
        if (isNamed(name, "range") && value.size() > longestRange) return false;
        if (isNamed(name, "transfer-encoding")) hasCoding = true;
        if (isNamed(name, "content-length")) {
            const bool isNumber = !value.empty() && value.find_first_not_of("0123456789") == std::string_view::npos;
            if (!isNumber || (length && *length != value)) return false;
            length = value;
        }
        return !hasCoding || !length;
    }
};

}  // namespace

bool hasBareLineEnd(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n' && i > 0 && text[i - 1] != '\r') return true;
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] != '\n') return true;
    }
    return false;
}

bool isUnambiguousHead(std::string_view head) {
    if (hasBareLineEnd(head)) return false;
    Framing framing;
    bool isFirst = true;
    while (!head.empty()) {
        const std::size_t end = head.find("\r\n");
        if (end == std::string_view::npos) return false;
        const std::string_view line = head.substr(0, end);
        head.remove_prefix(end + 2);
        if (std::any_of(line.begin(), line.end(), isControl)) return false;
        if (std::exchange(isFirst, false)) {
            if (line.empty() || line.find('\t') != std::string_view::npos) return false;
            continue;
        }
        if (line.empty()) return head.empty();
        const std::size_t colon = line.find(':');
        if (colon == 0 || colon == std::string_view::npos) return false;
        const std::string_view name = line.substr(0, colon);
        if (!std::all_of(name.begin(), name.end(), isToken)) return false;
        if (!framing.take(name, trimmed(line.substr(colon + 1)))) return false;
    }
    return false;
}

}  // namespace korvane
