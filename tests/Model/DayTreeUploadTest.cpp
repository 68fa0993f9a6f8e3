#include <limits>

#include "korvane/tests/Model/DayTreeFixture.h"

namespace korvane::test {
namespace {

constexpr TimeMs minute = 60'000;
constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();

class DayTreeUploadTest : public DayTreeTest {
  protected:
    /// A day with these periods, ms from its begin, that nothing has been asked of: the events fetched first are those
    /// of the day after it.
    std::shared_ptr<ScrubberTimelineDayItem> loadDay(const Spans& periods) {
        ToldDay day{"2024-03-01", {}};
        for (const auto& [start, end] : periods) day.periods.emplace_back(march1 + start, march1 + end);
        load({day, {"2024-03-02", {}}});
        service.clearRequests();
        return provider->getTimelineDayItemByIndex(0);
    }

    std::shared_ptr<ScrubberTimelineItem> uploadOneTimeline() {
        const auto day = loadDay({{0, 200 * minute}});
        provider->uploadEventsForTimelineDay(day);
        scheduler.runUntilIdle();
        EXPECT_EQ(day->isUpdated(), ScrubberTimelineStatusDone);
        return day->timeline(0);
    }

    std::vector<std::int64_t> offsets() const {
        std::vector<std::int64_t> found;
        for (const auto& request : service.requests("getEventsSync")) found.push_back(request.offset);
        return found;
    }

    void askUrl(std::uint64_t index, TimeMs time) {
        provider->getUrl(index, march1 + time, [this](const std::shared_ptr<ScrubberEvent>& event) {
            url = event;
            isOnMainThread = scheduler.isMainThread();
            ++urls;
        });
    }

    std::shared_ptr<ScrubberEvent> url;
    bool isOnMainThread = false;
    int urls = 0;
};

TEST_F(DayTreeUploadTest, PagesFollowUntilOneIsEmpty) {
    const auto failed = Script::failed(500);
    using Offsets = std::vector<std::int64_t>;
    const std::tuple<std::int64_t, std::vector<Script>, Offsets, std::int64_t, std::size_t> rows[] = {
        {250, {}, {0, 100, 200, 250}, ScrubberTimelineStatusDone, 250},
        {0, {}, {0}, ScrubberTimelineStatusDone, 0},
        {250, {failed}, {0}, ScrubberTimelineStatusFailed, 0},
        {250, {{}, {}, failed}, {0, 100, 200}, ScrubberTimelineStatusFailed, 200},
        {250, {Script::answered(nullptr)}, {0}, ScrubberTimelineStatusFailed, 0},
        {250, {Script::answered(Reply::array({1}))}, {0}, ScrubberTimelineStatusDone, 0},
        {250, {{}, Script::answered({{"objects", "none"}})}, {0, 100}, ScrubberTimelineStatusDone, 100},
    };
    for (const auto& [events, scripts, asked, status, read] : rows) {
        service.withFootage([](ScriptedFootage& f) { f.clear(); });
        service.addEvents(events, march1 + 190 * minute);
        for (const Script& script : scripts) service.scriptNext("getEventsSync", script);
        const auto timeline = uploadOneTimeline();
        EXPECT_EQ(std::tuple(timeline->isUpdated(), timeline->events().size(), offsets()),
                  std::tuple(status, read, asked));
        provider->uploadEventsForTimelineItemSync(timeline);
        provider->uploadEventsForTimelineItem(timeline);
        scheduler.runUntilIdle();
        EXPECT_EQ(service.requests().size(), asked.size());
    }
}

TEST_F(DayTreeUploadTest, PagesThatNeverEndAreCutOff) {
    // The total, pages until the end or 0 for no end, elements of each, requests.
    const std::tuple<Reply, int, std::size_t, std::size_t> rows[] = {
        {250, 0, 100, 4},
        {200, 0, 100, 3},
        {"250", 0, 100, 4},
        {10, 0, 7, 16},
        {{}, 0, 1000, 100},
        // The end comes before the bound.
        {std::numeric_limits<std::int64_t>::max(), 2, 100, 3},
    };
    for (const auto& [total, pages, size, requests] : rows) {
        const Reply objects(std::vector<Reply>(size, Reply::object()));
        const auto page = Script::answered({{"meta", {{"total_count", total}}}, {"objects", objects}});
        service.scriptAll("getEventsSync", pages == 0 ? page : Script());
        for (int i = 0; i < pages; ++i) service.scriptNext("getEventsSync", page);
        EXPECT_EQ(uploadOneTimeline()->isUpdated(), ScrubberTimelineStatusDone);
        EXPECT_EQ(service.count("getEventsSync"), requests) << total;
    }
}

TEST_F(DayTreeUploadTest, AnUrlIsThatOfTheFirstRecordThatEndsLater) {
    const std::tuple<std::string, TimeMs, TimeMs> records[] = {{"one", 0, 1}, {"two", 1, 2}, {"three", 3, 5}};
    service.withFootage([&](ScriptedFootage& f) {
        for (const auto& [name, start, end] : records)
            f.addRecord({1, march1 + start * minute, march1 + end * minute, name, ""});
    });
    loadDay({{0, 8 * minute}});
    askUrl(1, 0);
    scheduler.runUntilIdle();
    EXPECT_EQ(std::pair(urls, isOnMainThread), std::pair(1, false));
    const std::tuple<std::uint64_t, TimeMs, const char*> rows[] = {{1, -1, "one"},      {1, minute - 1, "one"},
                                                                   {1, minute, "two"},  {1, 2 * minute, "three"},
                                                                   {1, 5 * minute, ""}, {0, 0, ""},
                                                                   {3, 0, ""},          {most, 0, ""}};
    for (const auto& [index, time, name] : rows) {
        url = nullptr;
        askUrl(index, time);
        EXPECT_EQ(url ? url->videoUrl() : "", name) << index << " at " << time;
        EXPECT_TRUE(!url || (isOnMainThread && url->timeAsValue() == march1 + time));
    }
    const auto asked = service.requests("getRecords");
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(std::pair(asked[0].start, asked[0].end), std::pair(march1, march1 + slice));
}

TEST_F(DayTreeUploadTest, EventsOfAnyShapeAreRead) {
    const Reply odd = {3, nullptr, {{"time", 5}, {"name", {1}}}, {{"time", "no time"}, {"name", ""}}};
    service.scriptNext("getEvents", Script::answered({{"objects", odd}}));
    const auto timeline = loadDay({{0, minute}})->timeline(0);
    provider->uploadEventsForTimelineItem(timeline);
    scheduler.runUntilIdle();
    std::vector<double> times;
    for (const auto& event : timeline->events()) times.push_back(event.dateTime());
    EXPECT_EQ(times, (std::vector<double>{0, 0, 0, -1}));
}

TEST_F(DayTreeUploadTest, ASegmentWithoutRecordsIsNotAskedAgain) {
    const std::pair<Script, std::size_t> rows[] = {{Script::failed(404), 2},
                                                   {Script::answered({{"objects", Reply::array()}}), 1}};
    for (const auto& [script, asked] : rows) {
        loadDay({{0, minute}});
        for (int i = 0; i < 2; ++i) {
            service.scriptNext("getRecords", script);
            askUrl(1, 0);
            scheduler.advance(std::chrono::minutes(1));
        }
        service.clearScripts();
        EXPECT_EQ(service.count("getRecords"), asked);
    }
}

}  // namespace
}  // namespace korvane::test
