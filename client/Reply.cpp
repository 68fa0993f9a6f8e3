#include "korvane/client/Reply.h"

#include <algorithm>

namespace korvane {
namespace {

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

void release(Reply& value) noexcept {
    if (auto* const elements = value.get_ptr<Reply::array_t*>()) {
        for (Reply& element : *elements) release(element);
        elements->clear();
    } else if (auto* const members = value.get_ptr<Reply::object_t*>()) {
        for (auto& member : *members) release(member.second);
        members->clear();
    }
}

bool equalKeys(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) == lower(y); });
}

void forEachMember(const Reply& object, const std::function<void(std::string_view key, const Reply& value)>& visit) {
    if (!object.is_object()) return;
    for (const auto& [key, value] : object.items()) visit(key, value);
}

const Reply* findMember(const Reply& object, std::string_view key) {
    if (!object.is_object()) return nullptr;
    const auto& members = object.get_ref<const Reply::object_t&>();
    const auto found = std::find_if(members.begin(), members.end(), [key](const auto& m) { return m.first == key; });
    return found == members.end() ? nullptr : &found->second;
}

const Reply* findMemberAnyCase(const Reply& object, std::string_view key) {
    if (!object.is_object()) return nullptr;
    const auto& members = object.get_ref<const Reply::object_t&>();
    const auto found =
        std::find_if(members.begin(), members.end(), [key](const auto& m) { return equalKeys(m.first, key); });
    return found == members.end() ? nullptr : &found->second;
}

}  // namespace korvane
