#include <atomic>

#include "base/LoopScheduler.h"
#include "base/Semaphore.h"
#include "tests/Model/DayTreeFixture.h"

namespace korvane::test {
namespace {

constexpr TimeMs march1 = 1'709'251'200'000;
constexpr TimeMs dayMs = 86'400'000;

// Three days of two periods, three and one segments long.
void scriptThreeDays(ScriptedService& service, std::chrono::milliseconds delay) {
    const auto late = [delay](Reply reply) {
        auto script = Script::answered(std::move(reply));
        script.delay = delay;
        return script;
    };
    service.scriptAll("getActivity", late({"2024-03-01", "2024-03-02", "2024-03-03"}));
    service.scriptAll("getTimelineSync", late({{march1, march1 + 600'000}, {march1 + 700'000, march1 + 700'001}}));
    service.scriptAll("getCamera", Script::late(delay));
    service.scriptAll("getEventsSync", Script::late(delay));
}

constexpr std::int64_t fullCount = 3 * 4 + 2;

struct Storm {
    explicit Storm(std::uint64_t seed) : scheduler(seed) {
        provider->setDelegate(delegate);
        scriptThreeDays(service, std::chrono::milliseconds(2));
    }

    // Runs `work` on a thread of its own that long after the load has been asked for.
    void during(std::chrono::milliseconds moment, const std::function<void()>& work) {
        EXPECT_EQ(provider->setSource(service.makeToken()), 0);
        const auto thread = scheduler.spawn("disturber", [&] {
            Semaphore(scheduler).waitFor(moment);
            work();
        });
        scheduler.advance(std::chrono::milliseconds(100));
        thread->join();
    }

    VirtualScheduler scheduler;
    ScriptedService service{scheduler};
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::shared_ptr<ScrubberTimelineDataProvider> provider =
        std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);
};

// A load takes some 15 ms; each moment of it is tried, with several orders of the threads that are due then.
template <typename Try>
void atEachMoment(const Try& tryIt) {
    for (int moment = 0; moment <= 16; ++moment) {
        for (std::uint64_t seed = 1; seed <= 8 && !::testing::Test::HasFailure(); ++seed) {
            SCOPED_TRACE(std::to_string(moment) + " ms, seed " + std::to_string(seed));
            tryIt(seed, std::chrono::milliseconds(moment));
        }
    }
}

TEST(DayTreeStorm, NothingIsToldAndNothingIsLeftAfterClose) {
    atEachMoment([](std::uint64_t seed, std::chrono::milliseconds moment) {
        Storm storm(seed);
        Calls told;
        std::size_t requests = 0;
        storm.during(moment, [&] {
            storm.provider->close();
            storm.delegate->take();
            requests = storm.service.count("getTimelineSync");
        });
        for (auto& call : storm.delegate->take()) {
            if (call != "reload -8 0") told.push_back(call);
        }
        EXPECT_EQ(told, Calls{});
        EXPECT_EQ(storm.service.count("getTimelineSync"), requests);
        EXPECT_EQ(storm.provider->OnScrubberGetEventsCount(), 0);
        EXPECT_EQ(storm.provider->getTimelineSegmentItemByIndex(0), std::nullopt);
        EXPECT_EQ(storm.service.openConnections(), 0);
    });
}

TEST(DayTreeStorm, ARefreshOrABindingInBetweenGivesTheWholeTreeOnce) {
    atEachMoment([](std::uint64_t seed, std::chrono::milliseconds moment) {
        for (const bool isRefresh : {true, false}) {
            Storm storm(seed);
            std::int32_t status = 0;
            storm.during(moment, [&] {
                status = isRefresh ? storm.provider->refresh() : storm.provider->setSource(storm.service.makeToken());
            });
            EXPECT_EQ(storm.provider->OnScrubberGetEventsCount(), fullCount);
            const Calls told = storm.delegate->take();
            ASSERT_FALSE(told.empty());
            EXPECT_EQ(told.back(), "reload 0 0");
            // Without a camera there is nothing to refresh, and the first load goes on.
            if (isRefresh && status != 0) {
                EXPECT_EQ(told.size(), 1u);
            }
        }
    });
}

TEST(DayTreeStorm, RefreshesAtTheSameTimeGiveOneTree) {
    atEachMoment([](std::uint64_t seed, std::chrono::milliseconds moment) {
        Storm storm(seed);
        storm.during(moment, [&] {
            const auto other = storm.scheduler.spawn("other", [&] { storm.provider->refresh(); });
            storm.provider->refresh();
        });
        EXPECT_EQ(storm.provider->OnScrubberGetEventsCount(), fullCount);
    });
}

// What a reader on the main thread does: counts, entries, searches, paths.
int readAll(ScrubberTimelineDataProvider& provider) {
    int seen = 0;
    const std::int64_t count = provider.OnScrubberGetEventsCount();
    for (std::int64_t i = 0; i <= count; ++i) {
        const auto event = provider.OnScrubberGetEventByIndex(i);
        if (event) seen += static_cast<int>(event->childCount()) + 1;
        const auto path = provider.getTimelineSegmentItemByIndex(i - 1);
        if (path && spanOf(*path->segment).first >= march1) seen += static_cast<int>(path->segment->records()->size());
        provider.checkPartNeedRequested(static_cast<std::uint64_t>(i), -1, -1);
    }
    const auto place = provider.OnScrubberFindClosestEventByPosition(march1 + 700'000);
    if (place.index >= 0 && provider.getTimelineDayByTime(static_cast<double>(march1 + dayMs))) ++seen;
    return seen;
}

// What uploads do, through a path that may be of a tree that is gone.
void fillSegment(ScrubberTimelineDataProvider& provider, std::int64_t index) {
    const auto path = provider.getTimelineSegmentItemByIndex(index);
    if (!path) return;
    ScrubberTimelineItem::Events events(2);
    for (auto& event : events) event.setDateTime(path->segment->startDateTime());
    path->timeline->addEvents(events);
    path->segment->setRecords(ScrubberTimelineSegmentItem::Records(3));
}

// On real threads, for the race detector.
TEST(DayTreeThreads, ReadersFillersAndRebuildsGoTogether) {
    LoopScheduler scheduler;
    ScriptedService service(scheduler);
    scriptThreeDays(service, std::chrono::milliseconds(0));
    service.scriptAll("getEventsSync", Script());
    const auto provider = std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);

    std::atomic<bool> isDone = false;
    std::atomic<int> seen = 0;
    std::vector<std::unique_ptr<Thread>> threads;
    for (int reader = 0; reader < 2; ++reader) {
        threads.push_back(scheduler.spawn("reader", [&] {
            while (!isDone) seen += readAll(*provider);
        }));
    }
    threads.push_back(scheduler.spawn("filler", [&] {
        for (std::int64_t i = 0; !isDone; i = (i + 1) % fullCount) fillSegment(*provider, i);
    }));
    // Each tree that is told of is built anew.
    Semaphore told(scheduler);
    threads.push_back(scheduler.spawn("refresher", [&] {
        for (told.wait(); !isDone; told.wait()) provider->refresh();
    }));

    std::atomic<int> calls = 0;
    const auto delegate = std::make_shared<RecordingDelegate>();
    delegate->onCall = [&] {
        ++calls;
        told.signal();
        scheduler.post([] {});
    };
    provider->setDelegate(delegate);
    for (int round = 0; round < 20; ++round) {
        calls = 0;
        EXPECT_EQ(provider->setSource(service.makeToken()), 0);
        scheduler.runUntil([&] { return calls >= 3; });
        provider->close();
    }
    provider->setDelegate(nullptr);
    isDone = true;
    told.signal();
    threads.clear();
    provider->close();
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 0);
    EXPECT_GT(seen, 0);
}

}  // namespace
}  // namespace korvane::test
