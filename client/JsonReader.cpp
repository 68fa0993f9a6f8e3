#include "korvane/client/JsonReader.h"

#include <array>

namespace korvane {
namespace {

// Looks only outside of strings; whether the brackets match is left to the parser.
bool isExcessive(std::string_view text) {
    std::array<int, maxJsonDepth + 1> members{};  // of the open objects, by depth
    std::size_t depth = 0;
    int parts = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            inString = !inString;
        } else if (inString) {
            if (c == '\\') ++i;
        } else if (c == '{' || c == '[') {
            if (depth == maxJsonDepth || ++parts > maxJsonParts) return true;
            members[++depth] = 0;
        } else if (c == '}' || c == ']') {
            if (depth > 0) --depth;
        } else if (c == ':') {
            if (++members[depth] > maxJsonMembers) return true;
        } else if (c == ',') {
            if (++parts > maxJsonParts) return true;
        }
    }
    return false;
}

}  // namespace

std::optional<Reply> readJson(std::string_view text) {
    if (isExcessive(text)) return std::nullopt;
    Reply value = Reply::parse(text.begin(), text.end(), nullptr, /*allow_exceptions=*/false);
    if (value.is_discarded()) return std::nullopt;
    return value;
}

}  // namespace korvane
