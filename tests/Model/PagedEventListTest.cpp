#include "views/timeline/Model/PagedEventList.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>

namespace korvane {
namespace {

// The same list kept the plain way.
struct PlainList {
    struct Slot {
        PagedEventList::Entry entry;
        std::uint32_t folded = 0;
    };
    std::vector<Slot> slots;

    std::int64_t foldedThrough(std::uint64_t last) const {
        std::int64_t sum = 0;
        for (std::uint64_t i = 0; i <= last && i < slots.size(); ++i) sum += slots[i].folded;
        return sum;
    }
};

// Lengths around the borders of the list's inner chunks, and one that has many of them.
class PagedEventListModel : public ::testing::TestWithParam<std::uint64_t> {};
INSTANTIATE_TEST_SUITE_P(Lengths, PagedEventListModel, ::testing::Values(0, 1, 1022, 1023, 5000));

TEST_P(PagedEventListModel, AgreesWithAPlainVector) {
    PagedEventList list;
    list.create(GetParam(), 7);
    PlainList plain;
    plain.slots.resize(GetParam() + 2);
    ASSERT_EQ(list.at(0)->type(), ScrubberEventTypeHead);
    ASSERT_EQ(list.at(GetParam() + 1)->type(), ScrubberEventTypeLive);
    plain.slots.front().entry = list.at(0);
    plain.slots.back().entry = list.at(GetParam() + 1);

    std::mt19937 random(static_cast<unsigned>(GetParam()) + 1);
    while (!plain.slots.empty()) {
        // One past the end is drawn, too. Removals come in bursts at one place, so that chunks run empty.
        const std::uint64_t index = random() % (plain.slots.size() + 1);
        const bool isInside = index < plain.slots.size();
        const auto folded = static_cast<std::uint32_t>(random() % 3);
        switch (random() % 6) {
            case 0: {
                const auto entry = ScrubberEvent::build(1000);
                ASSERT_EQ(list.replace(index, entry, folded), isInside);
                if (isInside) plain.slots[index] = {entry, folded};
                break;
            }
            case 1:
                ASSERT_EQ(list.setFolded(index, folded), isInside);
                if (isInside) plain.slots[index].folded = folded;
                break;
            case 2:
                for (std::size_t n = random() % 300; n > 0 && index < plain.slots.size(); --n) {
                    ASSERT_TRUE(list.erase(index));
                    plain.slots.erase(plain.slots.begin() + static_cast<std::ptrdiff_t>(index));
                }
                break;
            case 3: {
                const auto entry = list.at(index);
                ASSERT_EQ(entry != nullptr, isInside);
                if (!isInside) break;
                if (plain.slots[index].entry) {
                    ASSERT_EQ(entry, plain.slots[index].entry);
                } else {
                    ASSERT_EQ(entry->type(), ScrubberEventTypePending);
                    ASSERT_EQ(entry->camid(), 7);
                    plain.slots[index].entry = entry;
                }
                break;
            }
            default:
                ASSERT_EQ(list.foldedThrough(index), plain.foldedThrough(index));
                if (isInside) {
                    ASSERT_EQ(list.made(index), plain.slots[index].entry);
                }
        }
        ASSERT_EQ(list.size(), static_cast<std::int64_t>(plain.slots.size()));
    }
    EXPECT_EQ(list.at(0), nullptr);
    EXPECT_FALSE(list.erase(0));
}

TEST(PagedEventList, FindsTheFirstEntryWithoutMakingAny) {
    PagedEventList list;
    list.create(5000, 7);
    for (const std::uint64_t index : {3000, 4000}) list.replace(index, ScrubberEvent::build(99));
    for (int i = 0; i < 10; ++i) list.erase(500);
    const auto goOn = [] { return false; };
    const auto hasMoment = [](TimeMs time) {
        return [time](const ScrubberEvent& event) { return event.timeAsValue() == time; };
    };
    EXPECT_EQ(list.findMade(hasMoment(99), goOn), 2990u);
    EXPECT_EQ(list.findMade(hasMoment(99), [] { return true; }), std::nullopt);
    EXPECT_EQ(list.made(2000), nullptr);
    EXPECT_TRUE(list.isPending(2000));
    EXPECT_FALSE(list.isPending(2990));
    EXPECT_FALSE(list.isPending(5000));
    EXPECT_EQ(list.findMade(hasMoment(98), goOn), std::nullopt);
}

TEST(PagedEventList, RefusesAbsurdLengths) {
    PagedEventList list;
    list.create(~std::uint64_t{0}, 7);
    EXPECT_EQ(list.size(), static_cast<std::int64_t>(PagedEventList::maxSlots + 2));
    EXPECT_EQ(list.at(PagedEventList::maxSlots + 1)->type(), ScrubberEventTypeLive);
    list.clear();
    EXPECT_EQ(list.size(), 0);
    EXPECT_TRUE(list.all().empty());
}

}  // namespace
}  // namespace korvane
