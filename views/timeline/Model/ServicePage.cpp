#include "korvane/views/timeline/Model/ServicePage.h"

#include <algorithm>
#include <cstddef>

#include "korvane/base/Log.h"
#include "korvane/views/timeline/Model/PagedEventList.h"
#include "korvane/views/timeline/Model/ReplyValues.h"

namespace korvane {
namespace {

// A larger total is rejected: a list of that many entries could not be shown.
constexpr std::uint64_t largestTotal = PagedEventList::maxSlots;

constexpr std::int64_t largestPage = 1000;

}  // namespace

std::optional<ServicePage> ServicePage::read(const Reply& reply, std::int64_t limit, std::string_view classPath) {
    if (!reply.is_object()) return std::nullopt;
    ServicePage page;
    const Reply* const meta = findMember(reply, "meta");
    const Reply* const told = meta ? findMember(*meta, "total_count") : nullptr;
    page.tellsTotal = told && !told->is_null();
    const std::int64_t total = totalCount(reply).value_or(-1);
    if (total >= 0 && static_cast<std::uint64_t>(total) <= largestTotal) page.total = static_cast<std::uint64_t>(total);
    const Reply* objects = findMember(reply, "objects");
    if (!objects || !objects->is_array()) return page;
    const auto count = static_cast<std::int64_t>(objects->size());
    const std::int64_t taken = std::min(count, std::max(limit, largestPage));
    if (taken < count) logError(classPath, "reply: far more elements than asked for");
    page.objects = Reply(objects->cbegin(), objects->cbegin() + static_cast<std::ptrdiff_t>(taken));
    return page;
}

std::optional<std::uint64_t> ServicePage::count(std::int64_t offset, std::uint64_t known) const {
    const auto begin = static_cast<std::uint64_t>(std::max<std::int64_t>(offset, 0));
    if (tellsTotal && total && (objects.empty() || *total >= begin + objects.size())) return total;
    // Where a page is empty the list has come to its end.
    if (objects.empty()) return std::min(begin, known);
    return std::nullopt;
}

}  // namespace korvane
