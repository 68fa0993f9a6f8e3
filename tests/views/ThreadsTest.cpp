#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QQuickWindow>
#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "tests/support/service/ScriptedService.h"
#include "toolkit/QtScheduler.h"
#include "toolkit/ToolkitContext.h"
#include "views/timeline/ScrubberView.h"

namespace korvane::test {
namespace {

/// Real threads, for the race detector: what may be called from any thread is, while the strip is drawn and destroyed.
TEST(ThreadsTest, SourcesAreSwappedFromSeveralThreads) {
    const auto toolkit = ToolkitContext::makeWith(std::make_shared<QtScheduler>());
    const auto service = std::make_shared<ScriptedService>(*toolkit->scheduler);
    service->addEvents(150, toolkit->scheduler->utcNow());
    const auto pumpUntil = [](const std::function<bool()>& done) {
        while (!done()) QCoreApplication::processEvents();
    };
    QQuickWindow window;
    window.resize(800, 120);
    auto view = std::make_unique<ScrubberView>(TimelineEnvironment{toolkit, service}, Rect{}, window.contentItem());
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
                view->getEvent(view->getEventsCount() - 1);
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
    pumpUntil([&] { return view->getState() == ScrubberStateReady && view->getEventsCount() == 152; });
    EXPECT_GT(states, 20);
    view->deleteEvent(view->getEvent(1), [&](auto, const auto&) { ++deletions; });
    pumpUntil([&] { return deletions > 0; });
    EXPECT_LE(service->openConnections(), 1);

    view->refresh();
    view.reset();
    for (int turn = 0; turn < 100; ++turn) QCoreApplication::processEvents();
}

}  // namespace
}  // namespace korvane::test
