#include "korvane/views/timeline/Model/PagedEventList.h"

#include <gtest/gtest.h>

#include "korvane/base/LoopScheduler.h"

namespace korvane {
namespace {

using Entry = PagedEventList::Entry;

bool goOn() {
    return false;
}

ScrubberEvent::Fields groupOf(const std::vector<Entry>& members) {
    auto fields = members.front()->fields();
    fields.type = ScrubberEventTypeGroup;
    fields.childs = members;
    return fields;
}

// Deletions in one place, so that inner chunks of the list run empty.
TEST(PagedEventList, GoesOnWhenWholeRunsAreTakenOut) {
    PagedEventList list(groupOf);
    list.create(5000, 7);
    std::vector<Entry> slots;
    for (std::uint64_t slot = 0; slot < 5002; ++slot) {
        slots.push_back(list.atSlot(slot));
        if (slot % 3 == 0) continue;
        slots.back()->setTimeAsValue(static_cast<TimeMs>(slot));
        list.regroup(slot, slot, {{slot - 1, slot % 3 == 2}});
    }
    for (std::uint64_t slot = 4500; slot > 700; --slot) list.erase(slot);
    slots.erase(slots.begin() + 701, slots.begin() + 4501);
    for (const bool isGrouped : {true, false}) {
        list.setGrouped(isGrouped);
        std::uint64_t index = 0;
        for (std::uint64_t slot = 0; slot < slots.size(); ++slot) {
            ASSERT_EQ(list.atSlot(slot), slots[slot]);
            ASSERT_EQ(list.indexOf(slot), index);
            const auto shown = list.at(index);
            const bool isMember = shown->type() == ScrubberEventTypeGroup;
            ASSERT_TRUE(isMember ? slots[slot]->parent() == shown : slots[slot] == shown);
            if (list.slotOf(index) == slot) ++index;
        }
        EXPECT_EQ(list.size(), static_cast<std::int64_t>(index));
    }
    for (const std::uint64_t slot : {std::uint64_t{0}, list.slotCount() - 1}) list.erase(slot);
    EXPECT_EQ(list.slotCount(), slots.size()) << "head and live entry stay";
}

// For the race detector, too: who has changed an entry finds it, whatever others do meanwhile.
TEST(PagedEventList, FindsWhatIsChangedInPlaceAtOnce) {
    constexpr std::uint64_t length = 1500;
    PagedEventList list(groupOf);
    list.create(length, 7);
    list.setGrouped(true);
    LoopScheduler scheduler;
    std::vector<std::unique_ptr<Thread>> threads;
    for (std::uint64_t t = 0; t < 3; ++t) {
        threads.push_back(scheduler.spawn("changer", [&, t] {
            for (std::uint64_t i = 1 + t; i <= length; i += 3) {
                const auto value = static_cast<std::int64_t>(1'000'000 - i * 7 % length);
                const auto entry = list.atSlot(i);
                entry->setTimeAsValue(value);
                ASSERT_EQ(list.findSlot(ScrubberEventQuery::at(value), goOn), i);
                ScrubberEventQuery byId;
                byId.identificator = value;
                auto fields = entry->fields();
                fields.identificator = value;
                if (i % 2 == 0) {
                    entry->setIdentificator(value);
                } else {
                    entry->assign(fields);
                    list.regroup(i, i, {{i - 1, i > 1}});
                }
                ASSERT_EQ(list.findSlot(byId, goOn), i);
                ASSERT_NE(list.at(i / 2), nullptr);
            }
        }));
    }
    threads.clear();
    EXPECT_LT(list.size(), static_cast<std::int64_t>(length));
}

}  // namespace
}  // namespace korvane
