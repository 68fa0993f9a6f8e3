#include "client/JsonReader.h"

#include <utility>

namespace korvane {

namespace {

// Looks at the brackets outside of strings only; whether they match is left to the parser.
bool isTooDeep(std::string_view text) {
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\') {
                ++i;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '{' || c == '[') {
            if (++depth > maxJsonDepth) return true;
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
    return false;
}

}  // namespace

std::optional<Reply> readJson(std::string_view text) {
    if (isTooDeep(text)) return std::nullopt;
    Reply value = Reply::parse(text.begin(), text.end(), nullptr, /*allow_exceptions=*/false);
    if (value.is_discarded()) return std::nullopt;
    return value;
}

}  // namespace korvane
