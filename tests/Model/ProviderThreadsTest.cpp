#include <atomic>

#include "korvane/base/LoopScheduler.h"
#include "korvane/tests/Model/ProviderFixture.h"

namespace korvane::test {
namespace {

// On real threads, for the race detector: entries are read by index, and their fields with them, sought and deleted,
// while pages fill, the provider closes and binds again, and the delegate is replaced.
TEST(ProviderThreads, ReadersPagesAndCloseGoTogether) {
    LoopScheduler scheduler;
    ScriptedService service(scheduler);
    const TimeMs newest = scheduler.utcNow() - 60'000;
    service.withFootage([&](ScriptedFootage& f) {
        for (int i = 0; i < 600; ++i) f.addEvent({i + 1, newest - (600 - i) * 7000 - i % 3 * 5000, "motion", ""});
    });
    const auto provider = std::make_shared<ScrubberEventsDataProvider>(scheduler, service);
    provider->enableEventGrouping(true);

    std::atomic<bool> isDone = false;
    std::atomic<int> entriesSeen = 0;
    std::vector<std::unique_ptr<Thread>> threads;
    for (int reader = 0; reader < 2; ++reader) {
        threads.push_back(scheduler.spawn("reader", [&] {
            while (!isDone) {
                const std::int64_t count = provider->OnScrubberGetEventsCount();
                for (std::int64_t i = 0; i <= count; i += 3) {
                    const auto event = provider->OnScrubberGetEventByIndex(i);
                    if (!event) continue;
                    const auto fields = event->fields();
                    if (fields.type == ScrubberEventTypeGroup) event->setTimeAsValue(fields.childs.front()->start());
                    ++entriesSeen;
                }
            }
        }));
    }
    threads.push_back(scheduler.spawn("pager", [&] {
        for (std::uint64_t i = 0; !isDone; i = (i + 61) % 600) {
            provider->checkPartNeedRequested(i, static_cast<std::int64_t>(i), i % 2 == 0 ? -1 : 12345);
        }
    }));
    threads.push_back(scheduler.spawn("searcher", [&] {
        for (TimeMs i = 0; !isDone; i = (i + 1) % 600) {
            const auto found = provider->OnScrubberFindEvent({0, newest - i * 7000, newest, std::nullopt});
            if (found >= 0 && i % 20 == 0) provider->OnScrubberDeleteEvent(provider->OnScrubberGetEventByIndex(found));
            provider->OnScrubberFindEvent({0, 0, newest, i});
        }
    }));

    std::atomic<int> calls = 0;
    for (int round = 0; round < 15; ++round) {
        calls = 0;
        const auto delegate = std::make_shared<RecordingDelegate>();
        delegate->onCall = [&] {
            ++calls;
            scheduler.post([] {});
        };
        provider->setDelegate(delegate);
        EXPECT_EQ(provider->setSource(service.makeToken()), 0);
        scheduler.runUntil([&] { return calls >= 3; });
        if (round % 3 == 0) provider->refresh();
        provider->setDelegate(nullptr);
        provider->close();
    }
    isDone = true;
    threads.clear();
    provider->close();
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 0);
    EXPECT_GT(entriesSeen, 0);
}

}  // namespace
}  // namespace korvane::test
