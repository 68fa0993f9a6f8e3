#include "korvane/views/timeline/Model/Ruler/RulerUpdates.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <set>
#include <stdexcept>

#include "korvane/base/Log.h"
#include "korvane/base/LoopScheduler.h"
#include "korvane/base/VirtualScheduler.h"
#include "korvane/tests/support/service/FewThreads.h"
#include "korvane/views/timeline/Model/TimelineSearch.h"

namespace korvane::test {
namespace {

using std::chrono::milliseconds;
constexpr TimeSec sector = RulerSectors::sectorLength;

std::shared_ptr<Timeline> recordedFrom(TimeMs start) {
    auto timeline = std::make_shared<Timeline>(start, start + sector * 1000);
    timeline->setPeriods(std::vector<TimelinePair>{{start + 1000, start + 5000}});
    return timeline;
}

class Quiet : public testing::Test {
  protected:
    Quiet() {
        setLogSink([this](std::string_view) { ++logged; });
    }
    ~Quiet() override { setLogSink({}); }
    std::atomic<int> logged = 0;
};
using RulerUpdatesTest = Quiet;

/// Answers at once.
struct PlainHost : RulerUpdatesHost {
    std::shared_ptr<const Timeline> fetch(TimeMs start, TimeMs) override { return recordedFrom(start); }
    void breakOffFetch() override {}
    void timelineReload() override { ++reloads; }
    std::optional<TimeMs> playerPosition() override { return 5000; }
    void positionChanged(TimeMs) override {}
    void showPosition(TimeSec) override {}

    std::atomic<int> reloads = 0;
};

/// Slow, failing, empty, foreign or hanging by turns, beside a plain account of what queue and cache must hold.
struct Storm final : RulerUpdatesHost {
    explicit Storm(std::uint64_t seed)
        : scheduler(std::make_shared<VirtualScheduler>(seed)), random(seed), network(scheduler->makeMonitor()) {}

    std::shared_ptr<const Timeline> fetch(TimeMs start, TimeMs end) override {
        begin();
        EXPECT_EQ(++fetches, 1) << "at a time";
        EXPECT_EQ(queue.empty() ? -1 : queue.front() * 1000, start) << "in order of demand";
        EXPECT_EQ(end - start, sector * 1000);
        const int asked = generation;
        auto timeline = fetchSlowly(start);
        turnOver();
        --fetches;
        if (asked != generation) return timeline;
        queue.pop_front();
        const TimeSec key = (timeline ? timeline->start() : start) / 1000;
        if (std::ranges::count(queue, key) == 0) requested.erase(key);
        if (timeline && timeline->periods()) cache.insert(key);
        if (timeline && !timeline->periods()) cache.erase(key);  // what was recorded there is gone
        if (!timeline && below(2) == 0) throw std::runtime_error("source");
        return timeline;
    }
    void breakOffFetch() override {
        isBroken = true;
        network->notifyAll();
    }
    void timelineReload() override {
        begin();
        turnOver();
    }
    std::optional<TimeMs> playerPosition() override {
        tick(2);
        return 5000;
    }
    void positionChanged(TimeMs) override {
        tick(3);
        turnOver();
    }
    void showPosition(TimeSec) override { tick(1); }

    std::shared_ptr<Timeline> fetchSlowly(TimeMs start) {
        const auto kind = below(6);
        if (kind == 0) return failed.insert(start / 1000), nullptr;
        if (kind == 1) return std::make_shared<Timeline>(start, start + sector * 1000);
        if (kind == 2) return recordedFrom(start + sector * 1000);
        if (kind == 3) return recordedFrom(start);
        pass(30);  // on the way to the network nothing can be broken off
        if (kind == 4) return pass(below(3000)), recordedFrom(start);
        const std::lock_guard lock(*network);
        for (isBroken = false; !isBroken;) network->wait();
        return nullptr;
    }
    void tick(std::uint64_t atMost) {
        begin();
        EXPECT_FALSE(updates.isPositionChanging());
        EXPECT_EQ(++ticks, 1) << "at a time";
        pass(below(atMost));
        --ticks;
    }
    void act() {
        const auto kind = below(9);
        if (kind == 0) stop();
        if (kind == 1) start();
        if (kind == 2) clear();
        if (kind == 3) updates.startPositionChanging();
        if (kind == 4) updates.endPositionChanging();
        for (auto draws = below(4); draws > 0 && kind < 7; --draws) draw(static_cast<TimeSec>(below(8)) * sector);
        if (kind > 6) scheduler->advance(milliseconds(below(3000)));
    }
    void draw(TimeSec k) {
        if (requested.insert(k).second) queue.push_back(k);
        updates.updateTimeline(k, k);
    }
    void start() {
        isStopped = false;
        updates.startUpdates();
    }
    void stop() {
        updates.stopUpdates();
        isStopped = true;
    }
    void clear() {
        ++generation;
        queue.clear();
        requested.clear();
        cache.clear();
        sectors.clear();
    }
    /// As a host does now and then that shows another camera from within a callback.
    void turnOver() {
        if (below(20) != 0) return;
        stop();
        if (below(2) == 0) clear();
        if (below(2) == 0) start();
    }
    void begin() const { EXPECT_FALSE(isStopped); }
    std::uint64_t below(std::uint64_t n) { return random() % n; }
    void pass(std::uint64_t ms) {
        const auto never = scheduler->makeMonitor();
        const std::lock_guard lock(*never);
        never->waitFor(milliseconds(ms));
    }

    const std::shared_ptr<VirtualScheduler> scheduler;
    std::mt19937_64 random;
    const std::unique_ptr<Monitor> network;
    bool isBroken = false, isStopped = true;
    int fetches = 0, ticks = 0, generation = 0;
    std::deque<TimeSec> queue;
    std::set<TimeSec> requested, cache, failed;
    RulerSectors sectors;
    RulerUpdates updates{scheduler, sectors, *this};
};

TEST_F(RulerUpdatesTest, WhateverTheSourceAndTheHostDo) {
    for (std::uint64_t seed = 1; seed <= 200 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Storm storm(seed);
        for (int step = 0; step < 60 && !HasFailure(); ++step) storm.act();
        storm.stop();
        EXPECT_EQ(storm.scheduler->liveThreads(), 0);
        std::set<TimeSec> found;
        const auto records = storm.sectors.snapshot();
        for (const auto& record : *records) found.insert(record.first);
        EXPECT_EQ(found, storm.cache);
        for (TimeSec k = 0; k < 8 * sector; k += sector) {
            const bool hasFailed = storm.sectors.state(k) == RulerSectorState::Failed;
            EXPECT_LE(hasFailed, storm.failed.contains(k)) << "what is broken off has not failed";
        }
    }
}

TEST_F(RulerUpdatesTest, LooksOnceASecondWithoutBeingWoken) {
    const auto scheduler = std::make_shared<VirtualScheduler>();
    RulerSectors sectors;
    PlainHost host;
    RulerUpdates updates(scheduler, sectors, host);
    updates.startUpdates();
    scheduler->runUntilIdle();
    const int before = host.reloads;
    sectors.updateTimeline(0, 0);
    scheduler->advance(milliseconds(999));
    EXPECT_EQ(host.reloads, before);
    scheduler->advance(milliseconds(1));
    EXPECT_EQ(host.reloads, before + 1);
    updates.stopUpdates();
}

TEST_F(RulerUpdatesTest, WithoutBothThreadsTheRulerStaysStopped) {
    const auto scheduler = std::make_shared<FewThreads>();
    RulerSectors sectors;
    PlainHost host;
    RulerUpdates updates(scheduler, sectors, host);
    for (scheduler->left = 0; !updates.isRunning(); scheduler->left = logged.load()) updates.startUpdates();
    EXPECT_EQ(logged, 2) << "for no thread and for one";
    updates.stopUpdates();
}

// On real threads, for the race detector.
TEST_F(RulerUpdatesTest, DrawsStopsAndFetchesGoTogether) {
    const auto scheduler = std::make_shared<LoopScheduler>();
    RulerSectors sectors;
    PlainHost host;
    RulerUpdates updates(scheduler, sectors, host);
    std::atomic<bool> isDone = false;
    const auto reader = scheduler->spawn("reader", [&] {
        while (!isDone) {
            updates.updateTimeline(0, 50 * sector);
            const auto records = sectors.snapshot();
            for (const auto& [start, timeline] : *records) EXPECT_EQ(indexElement(timeline.get(), start), 0);
        }
    });
    for (int round = 0; round < 40; ++round) {
        updates.startUpdates();
        for (const int before = host.reloads; host.reloads < before + 20;) std::this_thread::yield();
        updates.startPositionChanging();
        updates.stopUpdates();
        if (round % 3 == 0) sectors.clear();
    }
    isDone = true;
    reader->join();
}

}  // namespace
}  // namespace korvane::test
