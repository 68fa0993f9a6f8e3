#include <atomic>

#include "base/LoopScheduler.h"
#include "base/Semaphore.h"
#include "tests/Model/DayTreeUploadFixture.h"

namespace korvane::test {
namespace {

constexpr TimeMs begin = 1'709'251'200'000;  // 2024-03-01
constexpr TimeMs minute = 60'000;

void storeFootage(ScriptedService& service) {
    service.addEvents(250, begin + 150 * minute);
    service.withFootage([](ScriptedFootage& f) {
        f.addRecord({1, begin, begin + 40 * minute, "one", ""});
        f.addRecord({2, begin + 60 * minute, begin + 200 * minute, "two", ""});
    });
}

// Where an upload can stand.
enum class Point { Queued, AtAnyTime, InRequest, InLateRequest, InDelegate, InRecords, InLateRecords };

// Closes a provider while an upload stands there, and drops it. Nothing waits for it, nothing comes of it, and nothing
// is left of it.
void closeAt(Point point, std::uint64_t seed) {
    VirtualScheduler scheduler(seed);
    ScriptedService service(scheduler);
    storeFootage(service);
    const auto strip = std::make_shared<StripDelegate>();
    auto provider = std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);
    tellNext(service, {{"2024-03-01", {{begin, begin + 40 * minute}, {begin + 60 * minute, begin + 200 * minute}}},
                       {"2024-03-02", {}}});
    provider->setSource(service.makeToken());
    scheduler.runUntilIdle();
    provider->setDelegate(strip);
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
    strip->visible = {1, 11};
    strip->onAsked = [&] {
        Semaphore answered(scheduler);
        scheduler.post([&] {
            if (point == Point::InDelegate && !isClosed) close();
            answered.signal();
        });
        answered.wait();
    };
    const auto held = [&](bool isUnstoppable) {
        Script script = Script::held();
        script.isUnstoppable = isUnstoppable;
        return script;
    };
    if (point == Point::InRequest || point == Point::InLateRequest) {
        service.scriptNext("getEventsSync", {});
        service.scriptNext("getEventsSync", held(point == Point::InLateRequest));
    }
    if (point == Point::InRecords || point == Point::InLateRecords) {
        service.scriptNext("getRecords", held(point == Point::InLateRecords));
    }
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
            EXPECT_TRUE(strip->calls.empty());
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

TEST(DayTreeUploadThreads, CloseComesAtAnyPoint) {
    for (const auto point : {Point::Queued, Point::AtAnyTime, Point::InRequest, Point::InLateRequest, Point::InDelegate,
                             Point::InRecords, Point::InLateRecords}) {
        for (std::uint64_t seed = 1; seed <= 10; ++seed) {
            SCOPED_TRACE("point " + std::to_string(static_cast<int>(point)) + " seed " + std::to_string(seed));
            closeAt(point, seed);
        }
    }
}

// On real threads, for the race detector: entries and records are read while they arrive, and the tree is built anew,
// cleared and closed meanwhile.
TEST(DayTreeUploadThreads, ReadersUploadsAndCloseGoTogether) {
    LoopScheduler scheduler;
    ScriptedService service(scheduler);
    storeFootage(service);
    const auto provider = std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);
    std::atomic<bool> isDone = false;
    std::atomic<int> childs = 0;
    std::atomic<int> urls = 0;
    std::vector<std::unique_ptr<Thread>> threads;
    for (int reader = 0; reader < 2; ++reader) {
        threads.push_back(scheduler.spawn("reader", [&] {
            for (std::int64_t i = 0; !isDone; i = (i + 7) % 50) {
                if (const auto entry = provider->OnScrubberGetEventByIndex(i)) {
                    childs += static_cast<int>(entry->childCount());
                }
                provider->getUrl(static_cast<std::uint64_t>(i), begin + i * minute, [&](const auto&) { ++urls; });
                provider->checkPartNeedRequested(static_cast<std::uint64_t>(i), -1, -1);
            }
        }));
    }
    std::atomic<bool> isAsked = false;
    for (int round = 0; round < 15; ++round) {
        const auto strip = std::make_shared<StripDelegate>();
        isAsked = false;
        strip->visible = {1, 2, 3};
        strip->onAsked = [&] {
            isAsked = true;
            scheduler.post([] {});
        };
        provider->setDelegate(strip);
        provider->setSource(service.makeToken());
        scheduler.runUntil([&] { return isAsked.load(); });
        if (round % 3 == 0) provider->refresh();
        provider->setDelegate(nullptr);
        provider->close();
    }
    isDone = true;
    threads.clear();
    provider->close();
    EXPECT_GT(childs, 0);
    EXPECT_GT(urls, 0);
}

}  // namespace
}  // namespace korvane::test
