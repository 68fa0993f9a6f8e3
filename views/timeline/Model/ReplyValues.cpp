#include "korvane/views/timeline/Model/ReplyValues.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace korvane {

std::optional<std::string> textValue(const Reply* value) {
    if (!value || !value->is_string()) return std::nullopt;
    return value->get_ref<const std::string&>();
}

std::optional<std::int64_t> integerValue(const Reply* value) {
    if (!value) return std::nullopt;
    if (value->is_number_unsigned()) {
        const auto number = value->get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return std::nullopt;
        return static_cast<std::int64_t>(number);
    }
    if (value->is_number_integer()) return value->get<std::int64_t>();
    if (value->is_number_float()) {
        constexpr double limit = 0x1p63;
        const auto number = value->get<double>();
        if (!(number >= -limit && number < limit) || std::trunc(number) != number) return std::nullopt;
        return static_cast<std::int64_t>(number);
    }
    if (value->is_string()) {
        const auto& text = value->get_ref<const std::string&>();
        std::int64_t number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error == std::errc() && end == text.data() + text.size()) return number;
    }
    return std::nullopt;
}

std::optional<std::int64_t> totalCount(const Reply& reply) {
    const Reply* const meta = findMember(reply, "meta");
    const Reply* const total = meta ? findMember(*meta, "total_count") : nullptr;
    if (!total || total->is_null()) return 0;
    return integerValue(total);
}

}  // namespace korvane
