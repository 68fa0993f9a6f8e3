#include "korvane/tests/support/service/ScriptedFootage.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "korvane/base/UtcTime.h"

namespace korvane::test {

namespace {

constexpr TimeMs dayMs = 86'400'000;

TimeMs openEnd(TimeMs end) {
    return end == -1 ? std::numeric_limits<TimeMs>::max() : end;
}

/// The page of a range that ascends in time, as {"meta", "objects"}.
template <typename Iterator, typename Describe>
Reply pageOf(Iterator first, Iterator last, const ScriptedPage& page, Describe describe) {
    Reply objects = Reply::array();
    const std::int64_t total = last - first;
    const std::int64_t begin = std::clamp<std::int64_t>(page.offset, 0, total);
    const std::int64_t length = std::min(page.limit > 0 ? page.limit : 100, total - begin);
    for (std::int64_t i = begin; i < begin + length; ++i) {
        objects.push_back(describe(first[page.order == 1 ? i : total - 1 - i]));
    }
    return {{"meta", {{"total_count", total}, {"limit", page.limit}, {"offset", page.offset}}}, {"objects", objects}};
}

}  // namespace

void ScriptedFootage::addEvent(ScriptedEvent event) {
    const auto place = std::ranges::upper_bound(events_, event.time, {}, &ScriptedEvent::time);
    events_.insert(place, std::move(event));
}

void ScriptedFootage::addRecord(ScriptedRecord record) {
    const auto place = std::ranges::upper_bound(records_, record.start, {}, &ScriptedRecord::start);
    records_.insert(place, std::move(record));
}

bool ScriptedFootage::removeEvent(std::int64_t id) {
    return std::erase_if(events_, [id](const ScriptedEvent& e) { return e.id == id; }) > 0;
}

void ScriptedFootage::clear() {
    events_.clear();
    records_.clear();
}

Reply ScriptedFootage::events(const ScriptedPage& page, const std::optional<std::string>& filter) const {
    const auto begin = std::ranges::lower_bound(events_, page.start, {}, &ScriptedEvent::time);
    const auto end = std::ranges::upper_bound(begin, events_.end(), openEnd(page.end), {}, &ScriptedEvent::time);
    const auto describe = [this](const ScriptedEvent& e) {
        Reply object = {{"id", e.id}, {"camid", camid}, {"name", e.name}, {"time", formatUtc(e.time)}};
        if (!e.thumbUrl.empty()) object["thumb"] = {{"url", e.thumbUrl}};
        return object;
    };
    if (!filter || filter->empty()) return pageOf(begin, end, page, describe);
    std::vector<ScriptedEvent> found(begin, end);
    std::erase_if(found, [&](const ScriptedEvent& e) { return !equalKeys(e.name, *filter); });
    return pageOf(found.begin(), found.end(), page, describe);
}

Reply ScriptedFootage::records(const ScriptedPage& page) const {
    const auto found = recordsIn(page.start, page.end);
    const auto describe = [this](const ScriptedRecord& r) -> Reply {
        return {
            {"id", r.id}, {"camid", camid}, {"start", formatUtc(r.start)}, {"end", formatUtc(r.end)}, {"url", r.url}};
    };
    return pageOf(found.begin(), found.end(), page, describe);
}

Reply ScriptedFootage::thumbnails(const ScriptedPage& page, const std::vector<std::string>& originIds) const {
    auto found = recordsIn(page.start, page.end);
    std::erase_if(found, [&](const ScriptedRecord& r) {
        const bool isAsked = originIds.empty() || std::ranges::count(originIds, std::to_string(r.id)) > 0;
        return !isAsked || r.thumbUrl.empty();
    });
    ScriptedPage asked = page;
    if (!originIds.empty()) asked.offset = 0;
    const auto describe = [](const ScriptedRecord& r) -> Reply {
        return {{"url", r.thumbUrl}, {"time", formatUtc(r.start)}};
    };
    return pageOf(found.begin(), found.end(), asked, describe);
}

Timeline ScriptedFootage::timeline(TimeMs start, TimeMs end) const {
    std::vector<TimelinePair> periods;
    for (const ScriptedRecord& r : records_) {
        if (r.end <= start || r.start >= end) continue;
        const TimelinePair period(std::max(r.start, start), std::min(r.end, end));
        constexpr TimeMs smallestGap = 1000;
        if (!periods.empty() && period.start() - periods.back().end() <= smallestGap) {
            periods.back().setEnd(std::max(periods.back().end(), period.end()));
        } else {
            periods.push_back(period);
        }
    }
    Timeline result(start, end);
    result.setPeriods(std::move(periods));
    return result;
}

Reply ScriptedFootage::activity(TimeMs start, TimeMs end, const std::optional<std::string>& filter) const {
    auto days = recordedDays(start, end);
    for (const ScriptedEvent& e : events_) {
        const bool isAsked = !filter || filter->empty() || equalKeys(e.name, *filter);
        if (isAsked && e.time >= start && e.time <= openEnd(end)) days.insert(formatUtc(e.time).substr(0, 10));
    }
    return Reply(days);
}

std::vector<ScriptedRecord> ScriptedFootage::recordsIn(TimeMs start, TimeMs end) const {
    auto found = records_;
    std::erase_if(found, [&](const ScriptedRecord& r) { return r.end < start || r.start > openEnd(end); });
    return found;
}

std::set<std::string> ScriptedFootage::recordedDays(TimeMs start, TimeMs end) const {
    std::set<std::string> days;
    for (const ScriptedRecord& r : recordsIn(start, end)) {
        for (TimeMs day = r.start / dayMs * dayMs; day <= r.end; day += dayMs)
            days.insert(formatUtc(day).substr(0, 10));
    }
    return days;
}

}  // namespace korvane::test
