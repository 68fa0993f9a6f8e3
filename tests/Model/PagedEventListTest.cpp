#include "views/timeline/Model/PagedEventList.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>

#include "base/LoopScheduler.h"

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

    std::optional<std::uint64_t> find(const ScrubberEventQuery& query) const {
        const auto pending = ScrubberEvent::build();
        for (auto i = static_cast<std::size_t>(std::max<std::int64_t>(query.fromIndex, 0)); i < slots.size(); ++i) {
            if (query.fits(slots[i].entry ? *slots[i].entry : *pending)) return i;
        }
        return std::nullopt;
    }
};

bool goOn() {
    return false;
}

// Moments and ids that grow with the index, more or less; stragglers and the values for none among them.
ScrubberEvent::Fields randomFields(std::mt19937& random, std::uint64_t index) {
    const auto number = static_cast<std::int64_t>(index + random() % 50);
    ScrubberEvent::Fields fields;
    fields.timeAsValue = random() % 100 == 0 ? static_cast<TimeMs>(random() % 4) - 2 : number * 10;
    fields.identificator = random() % 100 == 0 ? static_cast<std::int64_t>(random() % 3) - 1 : number;
    if (random() % 50 == 0) fields.identificator.reset();
    return fields;
}

ScrubberEventQuery randomQuery(std::mt19937& random, std::uint64_t size) {
    const auto fields = randomFields(random, random() % (size + 50));
    auto query = ScrubberEventQuery::at(fields.timeAsValue, static_cast<std::int64_t>(random() % (size + 2)) - 1);
    if (random() % 2 == 0) query.fromIndex = 0;
    if (random() % 3 == 0) query.notAfter += static_cast<std::int64_t>(random() % 1000);
    if (random() % 3 == 0) query.identificator = fields.identificator;
    if (random() % 2 == 0 && query.identificator) query = {query.fromIndex, -1000, 1'000'000, query.identificator};
    return query;
}

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
        const auto query = randomQuery(random, plain.slots.size());
        ASSERT_EQ(list.find(query, goOn), plain.find(query));
        switch (random() % 8) {
            case 0: {
                const auto entry = std::make_shared<ScrubberEvent>(randomFields(random, index));
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
                const auto found = plain.find(query);
                ASSERT_EQ(list.eraseFirst(query, goOn), found);
                if (found) plain.slots.erase(plain.slots.begin() + static_cast<std::ptrdiff_t>(*found));
                break;
            }
            case 4:
                for (std::uint64_t i = index; i < std::min<std::uint64_t>(index + 100, plain.slots.size()); ++i) {
                    if (!plain.slots[i].entry) continue;
                    auto fields = randomFields(random, i);
                    switch (i % 4) {
                        case 0:
                            plain.slots[i].entry->assign(std::move(fields));
                            break;
                        case 1:
                            plain.slots[i].entry->setTimeAsValue(fields.timeAsValue);
                            break;
                        case 2:
                            plain.slots[i].entry->setIdentificator(fields.identificator);
                            break;
                        default:
                            plain.slots[i].entry->resetToDefault();
                    }
                }
                break;
            case 5: {
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
    const auto hasMoment = [](TimeMs time) {
        return [time](const ScrubberEvent& event) { return event.timeAsValue() == time; };
    };
    EXPECT_EQ(list.findMade(0, hasMoment(99), goOn), 2990u);
    EXPECT_EQ(list.findMade(0, hasMoment(99), [] { return true; }), std::nullopt);
    EXPECT_EQ(list.made(2000), nullptr);
    EXPECT_TRUE(list.isPending(2000));
    EXPECT_FALSE(list.isPending(2990));
    EXPECT_FALSE(list.isPending(5000));
    EXPECT_EQ(list.findMade(0, hasMoment(98), goOn), std::nullopt);
}

// For the race detector, too: who has changed an entry finds it, whatever others do meanwhile.
TEST(PagedEventList, FindsWhatIsChangedInPlaceAtOnce) {
    constexpr std::uint64_t length = 1500;
    PagedEventList list;
    list.create(length, 7);
    LoopScheduler scheduler;
    std::vector<std::unique_ptr<Thread>> threads;
    for (std::uint64_t t = 0; t < 3; ++t) {
        threads.push_back(scheduler.spawn("changer", [&, t] {
            for (std::uint64_t i = 1 + t; i <= length; i += 3) {
                const auto value = static_cast<std::int64_t>(1'000'000 - i * 7 % length);
                const auto entry = list.at(i);
                entry->setTimeAsValue(value);
                ASSERT_EQ(list.find(ScrubberEventQuery::at(value), goOn), i);
                ScrubberEvent::Fields fields;
                fields.identificator = value;
                if (i % 2 == 0) {
                    entry->setIdentificator(value);
                } else if (i % 3 == 0) {
                    entry->assign(fields);
                } else {
                    list.replace(i, std::make_shared<ScrubberEvent>(fields));
                }
                ScrubberEventQuery byId;
                byId.identificator = value;
                ASSERT_EQ(list.find(byId, goOn), i);
            }
        }));
    }
    threads.clear();
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
