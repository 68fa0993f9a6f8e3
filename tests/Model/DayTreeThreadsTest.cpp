#include <atomic>

#include "base/LoopScheduler.h"
#include "base/Semaphore.h"
#include "tests/Model/DayTreeFixture.h"

namespace korvane::test {
namespace {

using std::chrono::milliseconds;

constexpr TimeMs begin = 1'709'251'200'000;  // 2024-03-01
constexpr TimeMs minute = 60'000;
constexpr std::int64_t fullCount = 3 * 4 + 2;

// Three days of two periods, three and one segments long, with events and recordings. All comes that late, and the
// periods whatever happens meanwhile.
void storeThreeDays(ScriptedService& service, milliseconds delay = milliseconds(0)) {
    Script late = Script::late(delay);
    for (const auto& call : {"getCamera", "getEventsSync", "getRecords"}) service.scriptAll(call, late);
    late.reply = {"2024-03-01", "2024-03-02", "2024-03-03"};
    service.scriptAll("getActivity", late);
    late.isUnstoppable = true;
    late.reply = {{begin, begin + 600'000}, {begin + 700'000, begin + 700'001}};
    service.scriptAll("getTimelineSync", late);
    service.addEvents(250, begin + 10 * minute);
    service.withFootage([](ScriptedFootage& f) { f.addRecord({1, begin, begin + 20 * minute, "one", ""}); });
}

struct Storm {
    explicit Storm(std::uint64_t seed) : scheduler(seed) {
        provider->setDelegate(delegate);
        storeThreeDays(service, milliseconds(2));
    }

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

    VirtualScheduler scheduler;
    ScriptedService service{scheduler};
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::shared_ptr<ScrubberTimelineDataProvider> provider =
        std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);
};

// A load takes some 15 ms; each moment of it is tried, with several orders of the threads that are due then.
template <typename Try>
void atEachMoment(const Try& tryIt) {
    for (unsigned moment = 0; moment <= 16; ++moment) {
        for (unsigned round = 0; round < roundsOf(8) && !::testing::Test::HasFailure(); ++round) {
            const unsigned seed = moment * 9 + round;
            SCOPED_TRACE(std::to_string(moment) + " ms, seed " + std::to_string(seed));
            Storm storm(seed);
            tryIt(storm, milliseconds(moment));
        }
    }
}

TEST(DayTreeStorm, NothingIsToldAndNothingIsLeftAfterClose) {
    atEachMoment([](Storm& storm, milliseconds moment) {
        std::size_t requests = 0;
        storm.during(moment, [&] {
            storm.provider->close();
            storm.delegate->take();
            requests = storm.service.count("getTimelineSync");
        });
        for (const auto& call : storm.delegate->take()) EXPECT_EQ(call, "reload -8 0");
        EXPECT_EQ(storm.service.count("getTimelineSync"), requests);
        EXPECT_EQ(storm.provider->OnScrubberGetEventsCount(), 0);
        EXPECT_EQ(storm.provider->getTimelineSegmentItemByIndex(0), std::nullopt);
        EXPECT_EQ(storm.service.openConnections(), 0);
    });
}

TEST(DayTreeStorm, RefreshesAndBindingsInBetweenGiveTheWholeTreeOnce) {
    for (const std::string kind : {"refresh", "two at the same time", "binding"}) {
        SCOPED_TRACE(kind);
        atEachMoment([&](Storm& storm, milliseconds moment) {
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

// Where an upload can stand.
enum class Point { Queued, AtAnyTime, InRequest, InLateRequest, InDelegate, InRecords, InLateRecords };

// Closes a provider while an upload stands there, and drops it. Nothing waits for it, nothing comes of it, and nothing
// is left of it.
void closeAt(Point point, std::uint64_t seed) {
    VirtualScheduler scheduler(seed);
    ScriptedService service(scheduler);
    service.addEvents(250, begin + 150 * minute);
    service.withFootage([](ScriptedFootage& f) { f.addRecord({1, begin, begin + 40 * minute, "one", ""}); });
    const auto delegate = std::make_shared<RecordingDelegate>();
    auto provider = std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);
    tellNext(service, {{"2024-03-01", {{begin, begin + 40 * minute}, {begin + 60 * minute, begin + 200 * minute}}},
                       {"2024-03-02", {}}});
    provider->setSource(service.makeToken());
    scheduler.runUntilIdle();
    provider->setDelegate(delegate);
    const std::weak_ptr<ScrubberTimelineDataProvider> watched = provider;
    const auto day = provider->getTimelineDayItemByIndex(0);
    const auto first = day->timeline(0);
    const auto last = day->timeline(1);
    const auto segment = segmentOf(first, 0);

    bool isClosed = false;
    const auto close = [&] {
        provider->close();
        provider.reset();
        isClosed = true;
    };
    // As a view does: a hop to the main thread and back.
    delegate->visible = {1, 11};
    delegate->onAskedForVisible = [&] {
        Semaphore answered(scheduler);
        scheduler.post([&] {
            if (point == Point::InDelegate && !isClosed) close();
            answered.signal();
        });
        answered.wait();
    };
    Script held = Script::held();
    held.isUnstoppable = point == Point::InLateRequest || point == Point::InLateRecords;
    if (point == Point::InRequest || point == Point::InLateRequest) {
        service.scriptNext("getEventsSync", {});
        service.scriptNext("getEventsSync", held);
    }
    if (point == Point::InRecords || point == Point::InLateRecords) service.scriptNext("getRecords", held);
    int urls = 0;
    provider->uploadEventsForTimelineDay(day);
    provider->getUrl(1, begin, [&](const std::shared_ptr<ScrubberEvent>&) { ++urls; });
    if (point == Point::AtAnyTime) scheduler.post(close);
    if (point != Point::Queued) scheduler.runUntilIdle();
    if (!isClosed) close();
    scheduler.runUntilIdle();
    service.releaseAll();
    scheduler.runUntilIdle();

    EXPECT_TRUE(watched.expired());
    switch (point) {
        case Point::Queued:
            EXPECT_EQ(service.count("getEventsSync") + service.count("getRecords"), 0u);
            EXPECT_EQ(day->isUpdated(), ScrubberTimelineStatusNotAsked);
            break;
        case Point::InRequest:
            EXPECT_EQ(last->isUpdated(), ScrubberTimelineStatusFailed);
            EXPECT_EQ(day->isUpdated(), ScrubberTimelineStatusDone);
            break;
        case Point::InLateRequest:
            EXPECT_EQ(last->isUpdated(), ScrubberTimelineStatusDone);
            EXPECT_TRUE(last->events().empty());
            EXPECT_EQ(service.count("getEventsSync"), 2u);
            break;
        case Point::InDelegate:
            EXPECT_EQ(first->isUpdated(), ScrubberTimelineStatusNotAsked);
            EXPECT_EQ(delegate->take(), Calls{});
            break;
        case Point::InRecords:
            EXPECT_EQ(segment->isUpdated(), ScrubberTimelineStatusFailed);
            EXPECT_EQ(urls, 0);
            break;
        case Point::InLateRecords:
            EXPECT_EQ(urls, 1);
            break;
        case Point::AtAnyTime:
            break;
    }
}

TEST(DayTreeStorm, UploadsEndWhereverCloseComes) {
    for (int point = 0; point <= static_cast<int>(Point::InLateRecords); ++point) {
        for (unsigned seed = 1; seed <= roundsOf(10); ++seed) {
            SCOPED_TRACE("point " + std::to_string(point) + " seed " + std::to_string(seed));
            closeAt(static_cast<Point>(point), seed);
        }
    }
}

// What a view on the main thread does: counts, entries, searches, paths, uploads.
int readAll(ScrubberTimelineDataProvider& provider, std::atomic<int>& urls) {
    int seen = 0;
    const std::int64_t count = provider.OnScrubberGetEventsCount();
    for (std::int64_t i = 0; i <= count; ++i) {
        if (const auto event = provider.OnScrubberGetEventByIndex(i)) seen += static_cast<int>(event->childCount());
        const auto path = provider.getTimelineSegmentItemByIndex(i - 1);
        if (path && spanOf(*path->segment).first >= begin) seen += static_cast<int>(path->segment->records()->size());
        provider.checkPartNeedRequested(static_cast<std::uint64_t>(i), -1, -1);
        provider.getUrl(static_cast<std::uint64_t>(i), begin + minute, [&](const auto&) { ++urls; });
    }
    const auto place = provider.OnScrubberFindClosestEventByPosition(begin + 700'000);
    if (place.index >= 0 && provider.getTimelineDayByTime(begin)) ++seen;
    return seen;
}

// On real threads, for the race detector: everything is read while it arrives, and the tree is built anew, cleared and
// closed meanwhile.
TEST(DayTreeThreads, ReadersUploadsAndRebuildsGoTogether) {
    LoopScheduler scheduler;
    ScriptedService service(scheduler);
    storeThreeDays(service);
    const auto provider = std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);

    std::atomic<bool> isDone = false;
    std::atomic<int> seen = 0;
    std::atomic<int> urls = 0;
    std::vector<std::unique_ptr<Thread>> threads;
    for (int reader = 0; reader < 2; ++reader) {
        threads.push_back(scheduler.spawn("reader", [&] {
            while (!isDone) seen += readAll(*provider, urls);
        }));
    }
    // Each tree that is told of is built anew.
    Semaphore told(scheduler);
    threads.push_back(scheduler.spawn("refresher", [&] {
        for (told.wait(); !isDone; told.wait()) provider->refresh();
    }));

    std::atomic<int> calls = 0;
    const auto delegate = std::make_shared<RecordingDelegate>();
    delegate->visible = {1, 2, 3};
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
    EXPECT_GT(urls, 0);
}

}  // namespace
}  // namespace korvane::test
