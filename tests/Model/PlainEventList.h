#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/UtcTime.h"
#include "client/Reply.h"

namespace korvane::test {

/// The paged and grouped list done the plain way, on a vector and step by step, to compare the provider with. The head
/// entry stays.
struct PlainEventList {
    struct Event {
        int type = -1;
        std::int64_t id = 0;
        std::int64_t time = -1;
        std::int64_t start = 0;
        std::int64_t end = 0;
        std::string name;
        std::vector<std::shared_ptr<Event>> childs;
    };
    using Entry = std::shared_ptr<Event>;

    std::vector<Entry> list;
    std::int64_t size = -1;
    bool isAscending = false;
    bool isGrouping = true;

    void create(std::int64_t count) {
        list.clear();
        for (std::int64_t i = 0; i < count + 2; ++i) list.push_back(std::make_shared<Event>());
        list.front()->type = 0;
        list.back()->type = 2;
        size = count + 2;
    }

    std::size_t endOfRun(std::size_t index) const {
        std::size_t last = index;
        while (last < index + 50 && last + 1 < list.size() && list[last + 1]->type == -1) ++last;
        return last;
    }

    std::int64_t serviceOffset(std::size_t last) const {
        auto off = static_cast<std::int64_t>(last);
        for (std::size_t i = 0; i <= last; ++i) {
            if (list[i]->type == 3) off += static_cast<std::int64_t>(list[i]->childs.size()) - 1;
        }
        return size - 2 - off;
    }

    static void read(Event& event, const Reply& element) {
        event.type = 1;
        event.id = element["id"].get<std::int64_t>();
        event.name = element["name"].get<std::string>();
        event.time = parseUtc(element["time"].get<std::string>()).value();
        event.start = event.time - 5000;
        event.end = event.time + 45000;
    }

    void fill(const Reply& objects, std::size_t i) {
        if (i >= list.size()) return;
        isGrouping ? fillGrouped(objects, i) : fillPlain(objects, i);
    }

    void fillPlain(const Reply& objects, std::size_t i) {
        for (const Reply& element : objects) {
            if (i == list.size()) return;
            read(*list[i], element);
            if (isAscending) {
                if (i + 1 < list.size()) ++i;
            } else {
                i = i == 1 ? list.size() : i - 1;
            }
        }
    }

    void fillGrouped(const Reply& objects, std::size_t i) {
        Entry prev;
        Entry group;
        std::size_t prevIndex = 0;
        const auto advance = [&] {
            if (isAscending ? i >= list.size() - 1 : i == 1) return false;
            prevIndex = i;
            i = isAscending ? i + 1 : i - 1;
            return true;
        };
        for (const Reply& element : objects) {
            const Entry slot = list[i];
            const auto cur = std::make_shared<Event>();
            read(*cur, element);
            if (!prev || prev->time - cur->time > 10000) {
                list[i] = cur;
                group = nullptr;
                if (!advance()) return;
            } else {
                if (!group) {
                    group = std::make_shared<Event>(*prev);
                    group->type = 3;
                    group->childs = {prev};
                    list[prevIndex] = group;
                }
                group->id = cur->id;
                group->time = cur->time;
                group->start = cur->start;
                if (!equalKeys(group->name, "doorbell")) group->name = cur->name;
                group->childs.insert(group->childs.begin(), cur);
                if (slot->type == 3 && slot->childs.size() > 1) {
                    if (slot != group) slot->childs.erase(slot->childs.begin());
                } else {
                    list.erase(list.begin() + static_cast<std::ptrdiff_t>(i));
                    if (!advance()) return;
                }
            }
            prev = cur;
        }
    }
};

}  // namespace korvane::test
