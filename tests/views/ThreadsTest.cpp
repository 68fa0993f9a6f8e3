#include <gtest/gtest.h>

#include <QQuickWindow>
#include <thread>

#include "korvane/tests/support/qt/EventTurns.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/tests/views/FakeOwner.h"
#include "korvane/toolkit/InterfaceLoader.h"
#include "korvane/toolkit/QtScheduler.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/Presentation/Scrubber/ScrubberCell.h"
#include "korvane/views/timeline/ScrubberTimelineView.h"
#include "korvane/views/timeline/ScrubberView.h"
#include "korvane/views/timeline/TimelineTypes.h"

namespace korvane::test {
namespace {

/// Real threads, for the race detector: what may be called from any thread is, while the strip is drawn and destroyed.
template <typename View>
void swapSources(std::int32_t type, std::int64_t entries) {
    const auto toolkit = ToolkitContext::makeWith(std::make_shared<QtScheduler>());
    const auto service = std::make_shared<ScriptedService>(*toolkit->scheduler);
    const TimeMs now = toolkit->scheduler->utcNow();
    service->addEvents(150, now);
    // An hour in the midst of a day: over midnight it would be entries of two.
    const TimeMs noon = now / 86'400'000 * 86'400'000 - 43'200'000;
    service->withFootage([noon](ScriptedFootage& f) { f.addRecord({1, noon - 3'600'000, noon, "", ""}); });
    const auto pumpUntil = [&](const std::function<bool()>& done) {
        ASSERT_TRUE(turnUntil(*toolkit->scheduler, done));
    };
    QQuickWindow window;
    window.resize(800, 120);
    auto view = std::make_unique<View>(TimelineEnvironment{toolkit, service}, Rect{}, window.contentItem());
    view->getConfig().setDataSourceType(type);
    std::atomic<int> states = 0;
    int deletions = 0;
    service->scriptAll("deleteEvent", Script::answered("gone"));
    const auto host = std::make_shared<ScrubberViewDelegate>();
    host->OnScrubberStateChangedFrom = [&](auto, auto, auto) { ++states; };
    view->setDelegate(host);
    const QString token = QString::fromStdString(service->makeToken());

    std::atomic<int> running = 3;
    std::vector<std::thread> threads;
    for (int number = 0; number < 3; ++number) {
        threads.emplace_back([&, number] {
            for (int turn = 0; turn < 20; ++turn) {
                if (turn % 3 == number) view->setSource(token);
                view->refresh();
                for (std::int64_t i = view->getEventsCount() - 1; i > 0; i -= 7) {
                    if (const auto event = view->getEvent(i)) event->fields();
                }
                view->toEventAt(turn * 7);
                view->scrollToPosition(false);
                view->toNextEvent();
                view->toPreviousEvent();
                view->deleteEvent(view->getEvent(view->getEventsCount() - 2), [&](auto, const auto&) { ++deletions; });
                view->applyConfig();
                if (turn % 7 == 0) view->setDelegate(turn % 2 == 0 ? host : nullptr);
            }
            --running;
        });
    }
    pumpUntil([&] { return running == 0; });
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(view->setSource(token), 0);
    pumpUntil([&] { return view->getState() == ScrubberStateReady && view->getEventsCount() == entries; });
    EXPECT_GT(states, 20);
    if (type == ScrubberDataSourceTypeEvents) {
        view->deleteEvent(view->getEvent(1), [&](auto, const auto&) { ++deletions; });
        pumpUntil([&] { return deletions > 0; });
    }
    pumpUntil([&] { return service->openConnections() <= 1; });

    view->refresh();
    view.reset();
    for (int turn = 0; turn < 100; ++turn) QCoreApplication::processEvents();
}

TEST(ThreadsTest, SourcesAreSwappedFromSeveralThreads) {
    swapSources<ScrubberView>(ScrubberDataSourceTypeEvents, 152);
    swapSources<ScrubberTimelineView>(ScrubberDataSourceTypeTimeline, 17);
}

/// Real threads, for the race detector: a player that moves all the time, and runs that begin and end at any moment.
TEST(ThreadsTest, RunsBeginAndEndWhileThePlayerMoves) {
    const auto before = ToolkitContext::shared();
    ToolkitContext::setShared(ToolkitContext::makeWith(std::make_shared<QtScheduler>()));
    registerTimelineTypes();
    {
        auto layout = InterfaceLoader::load(QUrl("qrc:/Korvane/Timeline/layouts/ScrubberCell.qml"), nullptr);
        const std::unique_ptr<ScrubberCell> cell(qobject_cast<ScrubberCell*>(layout.root.release()));
        ASSERT_TRUE(cell);
        cell->awakeFromNib();
        cell->setSize({134, 120});
        FakeOwner owner;
        owner.rangeEnd = 50'000;
        const auto event = ScrubberEvent::build(1, 30'000);
        std::atomic<bool> plays = true;
        std::thread player([&] {
            for (TimeMs position = 1; plays; position = position % 60'000 + 7) {
                owner.position = position;
                std::this_thread::yield();
            }
        });
        cell->setEvent(event);
        for (int turn = 0; turn < 100; ++turn) {
            cell->startProgress(&owner);
            const int until = owner.polls + turn % 4;
            EXPECT_TRUE(turnUntil(*ToolkitContext::shared()->scheduler, [&] {
                cell->actionEnded();
                return owner.polls >= until;
            }));
            cell->setOwner(&owner);
            cell->setPositionByOffset(turn % 134);
            if (turn % 2 == 0) cell->stopProgress();
        }
        cell->clean();
        plays = false;
        player.join();
        EXPECT_GE(owner.started, 50);
        EXPECT_NE(owner.scrolled, 0);
    }
    QCoreApplication::processEvents();
    ToolkitContext::setShared(before);
}

}  // namespace
}  // namespace korvane::test
