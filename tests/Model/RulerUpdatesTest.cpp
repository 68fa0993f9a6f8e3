#include "korvane/views/timeline/Model/Ruler/RulerUpdates.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <random>
#include <set>
#include <stdexcept>

#include "korvane/base/Log.h"
#include "korvane/base/LoopScheduler.h"
#include "korvane/base/VirtualScheduler.h"
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

/// Answers at once and writes down what it was told.
class PlainHost : public RulerUpdatesHost {
  public:
    std::shared_ptr<const Timeline> fetch(TimeMs start, TimeMs) override {
        asked.push_back(start);
        return recordedFrom(start);
    }
    void breakOffFetch() override {}
    void timelineReload() override { ++reloads; }
    std::optional<TimeMs> playerPosition() override { return position; }
    void positionChanged(TimeMs ms) override {
        told.push_back(ms);
        if (throws) throw std::runtime_error("host");
    }
    void showPosition(TimeSec time) override { shown.push_back(time); }

    std::vector<TimeMs> asked, told;
    std::vector<TimeSec> shown;
    std::optional<TimeMs> position;
    std::atomic<int> reloads = 0;
    bool throws = false;
};

/// Slow, failing, empty, foreign or hanging by turns, beside a plain account of what the queue and the cache hold.
class Storm final : public RulerUpdatesHost {
  public:
    explicit Storm(std::uint64_t seed)
        : scheduler(std::make_shared<VirtualScheduler>(seed)), random(seed), network(scheduler->makeMonitor()) {}

    std::shared_ptr<const Timeline> fetch(TimeMs start, TimeMs end) override {
        begin();
        EXPECT_EQ(++fetches, 1) << "at a time";
        EXPECT_FALSE(queue.empty());
        const TimeSec k = start / 1000;
        EXPECT_EQ(k, queue.empty() ? -1 : queue.front()) << "in order of demand";
        EXPECT_EQ(end - start, sector * 1000);
        const int asked = generation;
        struct Ended {
            int& count;
            ~Ended() { --count; }
        } ended{fetches};
        auto timeline = fetchSlowly(start);
        if (below(20) == 0) turnOver();
        if (asked != generation) return timeline;
        queue.pop_front();
        const TimeSec key = timeline ? timeline->start() / 1000 : k;
        if (std::ranges::count(queue, key) == 0) requested.erase(key);
        if (timeline && timeline->periods()) cache.insert(key);
        if (!timeline && below(2) == 0) throw std::runtime_error("source");
        return timeline;
    }

    void breakOffFetch() override {
        isBroken = true;
        network->notifyAll();
    }
    void timelineReload() override {
        begin();
        if (below(20) == 0) turnOver();
    }
    std::optional<TimeMs> playerPosition() override {
        begin();
        EXPECT_FALSE(isHeld);
        pass(below(2));
        return 5000;
    }
    void positionChanged(TimeMs) override {
        begin();
        EXPECT_FALSE(isHeld);
        pass(below(3));
        if (below(20) == 0) turnOver();
    }
    void showPosition(TimeSec) override {
        begin();
        EXPECT_FALSE(isHeld);
    }

    void run() {
        for (int step = 0; step < 60 && !testing::Test::HasFailure(); ++step) act();
        stop();
        EXPECT_EQ(scheduler->liveThreads(), 0);
        const auto records = sectors.snapshot();
        EXPECT_EQ(records->size(), cache.size());
        for (const TimeSec key : cache) EXPECT_TRUE(records->contains(key)) << key;
        scheduler->advance(std::chrono::seconds(5));
    }

  private:
    std::shared_ptr<Timeline> fetchSlowly(TimeMs start) {
        const auto kind = below(6);
        if (kind == 0) return nullptr;
        if (kind == 1) return std::make_shared<Timeline>(start, start + sector * 1000);
        if (kind == 2) return recordedFrom(start + sector * 1000);
        if (kind == 3) return recordedFrom(start);
        pass(30);  // on the way to the network nothing can be broken off
        if (kind == 4) return pass(static_cast<int>(below(3000))), recordedFrom(start);
        const std::lock_guard lock(*network);
        for (isBroken = false; !isBroken;) network->wait();
        return nullptr;
    }

    void act() {
        const auto k = static_cast<TimeSec>(below(8)) * sector;
        switch (below(9)) {
            case 0:
                return stop();
            case 1:
                return start();
            case 2:
                return clear();
            case 3:
                isHeld = true;
                return updates.startPositionChanging();
            case 4:
                isHeld = false;
                return updates.endPositionChanging();
            case 5:
            case 6:
                return draw(k, k + static_cast<TimeSec>(below(4)) * sector);
            default:
                scheduler->advance(milliseconds(below(3000)));
        }
    }

    void draw(TimeSec from, TimeSec to) {
        for (TimeSec k = from; k < std::max(to, from + sector); k += sector) {
            if (requested.insert(k).second) queue.push_back(k);
        }
        updates.updateTimeline(from, to);
    }
    void start() {
        isStopped = isHeld = false;
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
    /// As a host does that shows another camera from within a callback.
    void turnOver() {
        stop();
        if (below(2) == 0) clear();
        if (below(2) == 0) start();
    }
    void begin() { EXPECT_FALSE(isStopped); }
    std::uint64_t below(std::uint64_t n) { return random() % n; }
    void pass(std::uint64_t ms) {
        const auto never = scheduler->makeMonitor();
        const std::lock_guard lock(*never);
        never->waitFor(milliseconds(ms));
    }

    const std::shared_ptr<VirtualScheduler> scheduler;
    std::mt19937_64 random;
    const std::unique_ptr<Monitor> network;
    bool isBroken = false, isStopped = true, isHeld = false;
    int fetches = 0, generation = 0;
    std::deque<TimeSec> queue;
    std::set<TimeSec> requested, cache;
    RulerSectors sectors;
    RulerUpdates updates{scheduler, sectors, *this};
};

TEST(RulerUpdates, WhateverTheSourceAndTheHostDo) {
    setLogSink([](std::string_view) {});
    for (std::uint64_t seed = 1; seed <= 400 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Storm(seed).run();
    }
    setLogSink({});
}

TEST(RulerUpdates, OncePerSecondAndAtOnceWhereAsked) {
    const auto scheduler = std::make_shared<VirtualScheduler>();
    RulerSectors sectors;
    PlainHost host;
    RulerUpdates updates(scheduler, sectors, host);
    sectors.updateTimeline(0, 0);
    updates.startUpdates();
    updates.startUpdates();
    scheduler->runUntilIdle();
    EXPECT_EQ(scheduler->liveThreads(), 2);
    updates.updateTimeline(sector, sector);
    scheduler->runUntilIdle();
    EXPECT_EQ(host.asked, (std::vector<TimeMs>{0, sector * 1000}));
    sectors.updateTimeline(0, 0);
    scheduler->advance(milliseconds(999));
    EXPECT_EQ(host.reloads, 2) << "nobody woke the thread";
    scheduler->advance(milliseconds(1));
    EXPECT_EQ(host.reloads, 3);
    EXPECT_TRUE(host.told.empty()) << "there is no player";
    int lines = 0;
    setLogSink([&](std::string_view) { ++lines; });
    host.throws = true;
    const std::pair<TimeMs, TimeSec> cases[] = {{1999, 1}, {1000, 1}, {999, 0}, {0, 0}, {-1, -1}, {-5000, -5000}};
    for (const auto& [ms, seconds] : cases) {
        host.position = ms;
        scheduler->advance(milliseconds(1000));
        EXPECT_EQ(std::pair(host.told.back(), host.shown.back()), std::pair(ms, seconds));
    }
    EXPECT_EQ(host.shown.size(), std::size(cases));
    EXPECT_EQ(lines, static_cast<int>(std::size(cases))) << "one for each throw, which the knob does not mind";
    setLogSink({});
}

/// Has a number of threads to give.
class FewThreads final : public SystemScheduler {
  public:
    ~FewThreads() override { stopBackgroundWork(); }
    std::unique_ptr<Thread> spawn(std::string name, Task body) override {
        return left-- > 0 ? SystemScheduler::spawn(std::move(name), std::move(body)) : nullptr;
    }
    bool isMainThread() const override { return true; }
    void post(Task) override {}
    TimerId after(milliseconds, Task) override { return 1; }
    void cancel(TimerId) override {}
    int left = 0;
};

TEST(RulerUpdates, WithoutBothThreadsTheRulerStaysStopped) {
    setLogSink([](std::string_view) {});
    const auto scheduler = std::make_shared<FewThreads>();
    RulerSectors sectors;
    PlainHost host;
    RulerUpdates updates(scheduler, sectors, host);
    for (const int threads : {0, 1, 2}) {
        scheduler->left = threads;
        updates.startUpdates();
        EXPECT_EQ(updates.isRunning(), threads == 2);
        if (threads == 0) updates.stopUpdates();
    }
    updates.stopUpdates();
    setLogSink({});
}

// On real threads, for the race detector.
TEST(RulerUpdates, DrawsStopsAndFetchesGoTogether) {
    const auto scheduler = std::make_shared<LoopScheduler>();
    RulerSectors sectors;
    PlainHost host;
    host.position = 5000;
    RulerUpdates updates(scheduler, sectors, host);
    std::atomic<bool> isDone = false;
    std::atomic<int> periodsSeen = 0;
    const auto reader = scheduler->spawn("reader", [&] {
        while (!isDone) {
            updates.updateTimeline(0, 50 * sector);
            const auto records = sectors.snapshot();
            for (const auto& [start, timeline] : *records) periodsSeen += indexElement(timeline.get(), start) == 0;
            sectors.state(sector);
        }
    });
    for (int round = 0; round < 40; ++round) {
        const int before = host.reloads + 20;
        updates.startUpdates();
        while (host.reloads < before) std::this_thread::yield();
        updates.startPositionChanging();
        updates.stopUpdates();
        if (round % 3 == 0) sectors.clear();
    }
    isDone = true;
    reader->join();
    EXPECT_GT(periodsSeen, 0);
}

}  // namespace
}  // namespace korvane::test
