#include <algorithm>
#include <atomic>
#include <iterator>

#include "korvane/base/LoopScheduler.h"
#include "korvane/base/Semaphore.h"
#include "korvane/tests/Model/DayTreeFixture.h"

namespace korvane::test {
namespace {

using std::chrono::milliseconds;

constexpr TimeMs begin = 1'709'251'200'000;  // 2024-03-01
constexpr TimeMs minute = 60'000;
constexpr std::int64_t fullCount = 3 * 4 + 2;

// Three days of two periods, three and one segments long, with events and recordings. All comes that late, and what is
// asked for synchronously whatever happens meanwhile.
void storeThreeDays(ScriptedService& service, milliseconds delay = milliseconds(0)) {
    Script late = Script::late(delay);
    for (const auto& call : {"getCamera", "getRecords"}) service.scriptAll(call, late);
    late.reply = {"2024-03-01", "2024-03-02", "2024-03-03"};
    service.scriptAll("getActivity", late);
    late.isUnstoppable = true;
    late.reply = {{begin, begin + 600'000}, {begin + 700'000, begin + 700'001}};
    service.scriptAll("getTimelineSync", late);
    late.reply.reset();
    service.scriptAll("getEventsSync", late);
    service.addEvents(120, begin + 10 * minute);
    service.withFootage([](ScriptedFootage& f) { f.addRecord({1, begin, begin + 20 * minute, "one", ""}); });
}

struct Storm : DayTree {
    explicit Storm(std::uint64_t seed) : DayTree(seed) { storeThreeDays(service, milliseconds(2)); }

    // Runs `work` on a thread of its own that long after the load has been asked for.
    void during(milliseconds moment, const std::function<void()>& work) {
        EXPECT_EQ(provider->setSource(service.makeToken()), 0);
        const auto thread = scheduler.spawn("disturber", [&] {
            Semaphore(scheduler).waitFor(moment);
            work();
        });
        scheduler.advance(milliseconds(100));
        thread->join();
    }
};

// Each ms up to `last` is tried, with several orders of the threads that are due then.
template <typename Try>
void atEachMoment(unsigned last, const Try& tryIt) {
    for (unsigned moment = 0; moment <= last; ++moment) {
        for (unsigned round = 0; round < roundsOf(4) && !::testing::Test::HasFailure(); ++round) {
            const unsigned seed = moment * 9 + round;
            SCOPED_TRACE(std::to_string(moment) + " ms, seed " + std::to_string(seed));
            Storm storm(seed);
            tryIt(storm, milliseconds(moment));
        }
    }
}

// A load takes some 15 ms, and what is asked for once it is there 30 more.
constexpr unsigned endOfLoad = 16;
constexpr unsigned endOfUploads = 46;

TEST(DayTreeStorm, NothingIsToldAndNothingIsLeftAfterClose) {
    int urls = 0;
    unsigned filled = 0;
    atEachMoment(endOfUploads, [&](Storm& storm, milliseconds moment) {
        // As a view does: everything is asked for on the main thread, and visible cells with a hop there and back.
        storm.delegate->visible = {1, 4, 5};
        storm.delegate->onAskedForVisible = [&] {
            Semaphore answered(storm.scheduler);
            storm.scheduler.after(milliseconds(1), [&] { answered.signal(); });
            answered.wait();
        };
        storm.delegate->onCall = [&] {
            storm.scheduler.post([&] {
                storm.provider->uploadEventsForTimelineDays();
                for (std::uint64_t i = 1; i <= 3; ++i) storm.provider->getUrl(i, begin, [&](const auto&) { ++urls; });
            });
        };
        std::vector<std::shared_ptr<ScrubberTimelineDayItem>> days;
        ScrubberTimelineDayItem::Timelines timelines;
        storm.during(moment, [&] {
            auto& provider = *storm.provider;
            for (std::int64_t i = 0; const auto day = provider.getTimelineDayItemByIndex(i); ++i) days.push_back(day);
            for (const auto& day : days) std::ranges::copy(day->timelines(), std::back_inserter(timelines));
            for (const auto& timeline : timelines) filled += timeline->events().empty() ? 0 : 1;
            provider.close();
            storm.delegate->take();
            storm.delegate->onCall = nullptr;
            storm.service.clearRequests();
        });
        for (const auto& call : storm.delegate->take()) EXPECT_EQ(call, "reload -8 0");
        for (const auto* name : {"getTimelineSync", "getEventsSync", "getRecords"}) {
            EXPECT_EQ(storm.service.count(name), 0u);
        }
        for (const auto& day : days) {
            EXPECT_TRUE(day->isUpdated() != ScrubberTimelineStatusUnderWay && day->timelines().empty());
        }
        for (const auto& timeline : timelines) {
            EXPECT_TRUE(timeline->segments().empty() && timeline->events().empty()) << "held, and emptied";
        }
        EXPECT_EQ(storm.provider->OnScrubberGetEventsCount() + storm.service.openConnections(), 0);
        const std::weak_ptr<ScrubberTimelineDataProvider> watched = storm.provider;
        storm.provider.reset();
        EXPECT_TRUE(watched.expired());
    });
    EXPECT_GT(urls, 0);
    EXPECT_GT(filled, 0u);
}

TEST(DayTreeStorm, RefreshesAndBindingsInBetweenGiveTheWholeTreeOnce) {
    for (const std::string kind : {"refresh", "two at the same time", "binding"}) {
        SCOPED_TRACE(kind);
        atEachMoment(endOfLoad, [&](Storm& storm, milliseconds moment) {
            std::int32_t status = 0;
            storm.during(moment, [&] {
                auto& provider = *storm.provider;
                std::unique_ptr<Thread> other;
                if (kind[0] == 't') other = storm.scheduler.spawn("other", [&] { provider.refresh(); });
                status = kind[0] == 'b' ? provider.setSource(storm.service.makeToken()) : provider.refresh();
            });
            EXPECT_EQ(storm.provider->OnScrubberGetEventsCount(), fullCount);
            const Calls told = storm.delegate->take();
            ASSERT_FALSE(told.empty());
            EXPECT_EQ(told.back(), "reload 0 0");
            // Without a camera there is nothing to refresh, and the first load goes on.
            if (status != 0) {
                EXPECT_EQ(told.size(), 1u);
            }
        });
    }
}

}  // namespace
}  // namespace korvane::test
