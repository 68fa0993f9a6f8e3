// Every allocation of an operation fails once: the operation ends, what is there stays whole, and the next try works.
#include <cstdlib>
#include <new>

#include "korvane/base/Log.h"
#include "korvane/base/UtcTime.h"
#include "korvane/tests/Model/DayTreeFixture.h"

namespace {

// Of this thread. 0: none fails.
thread_local int allocationsLeft = 0;

void* allocate(std::size_t size) {
    if (allocationsLeft > 0 && --allocationsLeft == 0) throw std::bad_alloc();
    if (void* memory = std::malloc(size > 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
// A sanitizer has one of its own, whose blocks are not for free().
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace korvane::test {
namespace {

constexpr TimeMs newest = 1'700'000'000'000;
constexpr std::int64_t entries = 10'000;
constexpr std::int64_t pageLength = 14;

/// A page of the newest events from the `first`-th on: pairs that belong together, and longer groups among them.
Reply makePage(std::int64_t first) {
    Reply page = Reply::array();
    for (std::int64_t i = first; i < first + pageLength; ++i) {
        const TimeMs time = newest - i / 2 * 30'000 - i % 2 * 5'000 + (i % 12 < 6 ? i / 2 * 25'000 : 0);
        page.push_back({{"id", i + 1}, {"name", "longer than a string holds by itself"}, {"time", formatUtc(time)}});
    }
    return page;
}

/// Runs out of memory at one allocation of the tasks in the background, and of nothing else.
class ShortOfMemory final : public Scheduler {
  public:
    explicit ShortOfMemory(VirtualScheduler& real) : real_(real) {}

    void runInBackground(Task task) override {
        real_.runInBackground([this, task = std::move(task)] {
            allocationsLeft = std::exchange(left, 0);
            try {
                task();
            } catch (const std::bad_alloc&) {
            }
            left = std::exchange(allocationsLeft, 0);
        });
    }
    TimeMs utcNow() const override { return real_.utcNow(); }
    std::chrono::microseconds monotonicNow() const override { return real_.monotonicNow(); }
    bool isMainThread() const override { return real_.isMainThread(); }
    void post(Task task) override { real_.post(std::move(task)); }
    TimerId after(std::chrono::milliseconds delay, Task task) override { return real_.after(delay, std::move(task)); }
    void cancel(TimerId timer) override { real_.cancel(timer); }
    std::unique_ptr<Thread> spawn(std::string name, Task body) override { return real_.spawn(name, std::move(body)); }
    std::unique_ptr<Monitor> makeMonitor() override { return real_.makeMonitor(); }

    int left = 0;

  private:
    VirtualScheduler& real_;
};

/// A list of which no service tells, so that all of its work is done on the thread of the test.
class FailingMemoryTest : public ProviderTest {
  protected:
    FailingMemoryTest() {
        setLogSink([](std::string_view) {});
    }
    ~FailingMemoryTest() override { setLogSink({}); }

    void fill(std::int64_t page) {
        // What is older is not in groups, so that its indexes are those of a plain list.
        const auto place = static_cast<std::uint64_t>(entries - page * pageLength);
        provider->fillEventsFromDictionary(pages[static_cast<std::size_t>(page)], place);
    }

    /// The newest entries as they show, each with its members.
    std::vector<std::string> shown() {
        const std::int64_t count = provider->OnScrubberGetEventsCount();
        std::vector<std::string> lines = {std::to_string(count), std::to_string(provider->getUngroupedCount())};
        EXPECT_FALSE(entry(count));
        for (std::int64_t i = std::max<std::int64_t>(count - 3 * pageLength, 0); i < count; ++i) {
            const auto event = entry(i);
            if (!event) return {"no entry at " + std::to_string(i)};
            lines.push_back(std::to_string(event->type()) + " " + event->time().value_or(""));
            for (const auto& member : event->childs()) {
                EXPECT_EQ(member->parent(), event);
                lines.push_back("  " + member->time().value_or(""));
            }
        }
        return lines;
    }

    /// All loaded entries, whether they show in groups or not.
    std::vector<std::string> loaded() {
        provider->enableEventGrouping(false);
        return shown();
    }

    struct Work {
        const char* name;
        std::int64_t pagesBefore;
        bool groupedBefore;
        std::function<void()> run;
        /// It succeeds in any case, with single entries where there is no memory for a group.
        bool mayUngroup = false;
    };

    void prepare(const Work& work) {
        provider->enableEventGrouping(work.groupedBefore);
        provider->initStorageForEvents(entries);
        for (std::int64_t i = 0; i < work.pagesBefore; ++i) fill(i);
    }

    /// Runs the work with each of its allocations failing, and then once more.
    void failEach(const Work& work) {
        SCOPED_TRACE(work.name);
        prepare(work);
        work.run();
        const auto expected = work.mayUngroup ? loaded() : shown();
        bool isReached = true;
        for (int call = 1; isReached && !HasFailure(); ++call) {
            SCOPED_TRACE(call);
            prepare(work);
            allocationsLeft = call;
            try {
                work.run();
            } catch (const std::bad_alloc&) {
                ADD_FAILURE() << "an exception has left the operation";
            }
            isReached = std::exchange(allocationsLeft, 0) == 0;
            shown();
            work.run();
            EXPECT_EQ(work.mayUngroup ? loaded() : shown(), expected);
        }
    }

    const std::vector<Reply> pages = {makePage(0), makePage(pageLength)};
};

TEST_F(FailingMemoryTest, LeavesAListWholeWhereverItRunsOut) {
    const auto first = ScrubberEvent::build(3, 0);
    const auto last = ScrubberEvent::build(pageLength, 0);
    const Work works[] = {
        {"make", 2, true, [&] { provider->initStorageForEvents(entries / 2); }},
        {"fill", 0, true, [&] { fill(0); }},
        {"fill beside", 1, true, [&] { fill(1); }},
        {"fill plainly", 1, false, [&] { fill(1); }},
        {"group", 2, false, [&] { provider->enableEventGrouping(true); }},
        {"ungroup", 2, true, [&] { provider->enableEventGrouping(false); }},
        {"delete a member", 2, true, [&] { provider->OnScrubberDeleteEvent(first); }, true},
        {"delete at the end of a page", 2, true, [&] { provider->OnScrubberDeleteEvent(last); }, true},
        {"look at a pending one", 0, true, [&] { provider->OnScrubberGetEventByIndex(entries); }},
        {"find", 2, true, [&] { provider->OnScrubberFindEvent(ScrubberEventQuery::at(newest)); }},
        {"find a place", 2, true, [&] { provider->OnScrubberFindClosestEventByPosition(newest); }},
    };
    for (const Work& work : works) {
        failEach(work);
        if (HasFailure()) break;
    }
}

TEST_F(FailingMemoryTest, EndsTheLoadOfAListWithOneWord) {
    service.withFootage([&](ScriptedFootage& footage) { footage.addEvent({1, newest, "motion", ""}); });
    ASSERT_EQ(bind(), StatusSuccess);
    // The fake camera's own JSON must not be what runs out of memory.
    service.scriptAll("getEvents", Script::failed(503));
    bool isReached = true;
    for (int call = 1; isReached; ++call) {
        delegate->take();
        allocationsLeft = call;
        provider->requestEvents(-1, -1, -1);
        isReached = std::exchange(allocationsLeft, 0) == 0;
        scheduler.runUntilIdle();
        EXPECT_EQ(delegate->take(), Calls{isReached ? "reload -1 0" : "reload 503 0"}) << call;
        EXPECT_EQ(provider->OnScrubberGetEventsCount(), 3);
    }
}

TEST_F(FailingMemoryTest, EndsTheLoadOfADayTreeWithOneWord) {
    ShortOfMemory background(scheduler);
    ScriptedService days(background);
    const auto tree = std::make_shared<ScrubberTimelineDataProvider>(background, days);
    tree->setDelegate(delegate);
    const TimeMs day = newest / 86'400'000 * 86'400'000;
    days.withFootage([&](ScriptedFootage& footage) {
        for (const std::int64_t i : {1, 2, 3})
            footage.addRecord({i, day - i * 86'400'000, day - i * 80'000'000, "", ""});
    });
    tree->setSource(days.makeToken());
    scheduler.runUntilIdle();
    const std::int64_t expected = tree->OnScrubberGetEventsCount();
    ASSERT_GT(expected, 2);
    for (int call = 1; background.left == 0 && !HasFailure(); ++call) {
        SCOPED_TRACE(call);
        // The fake camera's own JSON must not be what runs out of memory.
        days.scriptAll("getTimelineSync", Script::failed(503));
        delegate->take();
        background.left = call;
        tree->refresh();
        scheduler.runUntilIdle();
        const Calls told = delegate->take();
        EXPECT_EQ(told, Calls{tree->getTimelineDayItemByIndex(0) ? "reload 0 0" : "reload -1 0"});
        days.clearScripts();
        const int unused = std::exchange(background.left, 0);
        tree->refresh();
        scheduler.runUntilIdle();
        EXPECT_EQ(tree->OnScrubberGetEventsCount(), expected);
        background.left = unused;
    }
    background.left = 0;
}

}  // namespace
}  // namespace korvane::test
