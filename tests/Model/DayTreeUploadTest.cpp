#include <algorithm>
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

TEST_F(DayTreeUploadTest, EventsOfAnyShapeAreRead) {
    const Reply page = {{"objects",
                         {{{"time", "2024-03-01T00:00:09.250Z"}, {"name", "doorbell"}, {"id", "x"}},
                          3,
                          nullptr,
                          {{"time", 5}, {"name", {1}}},
                          {{"Time", "2024-03-01T00:00:09Z"}},
                          {{"time", "no time"}, {"name", ""}}}}};
    const std::vector<std::pair<double, std::string>> all = {
        {march1 + 9250, "doorbell"}, {0, ""}, {0, ""}, {0, ""}, {0, ""}, {-1, ""}};
    // Of one page without waiting, or of all that a day has.
    const std::tuple<std::string, Script, bool> rows[] = {{"getEventsSync", Script::answered(page), true},
                                                          {"getEvents", Script::answered(page), true},
                                                          {"getEvents", Script::failed(404), false},
                                                          {"getEvents", Script::answered(Reply::array()), false}};
    for (const auto& [name, script, isRead] : rows) {
        service.scriptNext(name, script);
        const auto day = loadDay({{0, minute}});
        name == "getEvents" ? provider->uploadEventsForTimelineItem(day->timeline(0))
                            : provider->uploadEventsForTimelineDay(day);
        scheduler.runUntilIdle();
        std::vector<std::pair<double, std::string>> found;
        for (const auto& event : day->timeline(0)->events()) found.emplace_back(event.dateTime(), event.name());
        EXPECT_EQ(day->timeline(0)->isUpdated(), isRead ? ScrubberTimelineStatusDone : ScrubberTimelineStatusFailed);
        EXPECT_EQ(found.size(), isRead ? all.size() : 0u);
        EXPECT_TRUE(std::ranges::equal(found, all) == isRead);
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
    EXPECT_EQ(urls, 0);
    scheduler.runUntilIdle();
    EXPECT_EQ(std::pair(urls, isOnMainThread), std::pair(1, false));
    const std::tuple<std::uint64_t, TimeMs, int> rows[] = {{1, -1, 0},         {1, minute - 1, 0},  {1, minute, 1},
                                                           {1, 2 * minute, 2}, {1, 5 * minute, -1}, {0, 0, -1},
                                                           {3, 0, -1},         {most, 0, -1}};
    for (const auto& [index, time, record] : rows) {
        SCOPED_TRACE(std::to_string(index) + " at " + std::to_string(time));
        url = nullptr;
        askUrl(index, time);
        ASSERT_EQ(url != nullptr, record >= 0);
        if (!url) continue;
        EXPECT_TRUE(isOnMainThread);
        const auto& [name, start, end] = records[record];
        const auto fields = url->fields();
        EXPECT_EQ(
            std::tuple(fields.type, fields.timeAsValue, fields.videoUrl, fields.start, fields.end),
            std::tuple(ScrubberEventTypeItem, march1 + time, name, march1 + start * minute, march1 + end * minute));
    }
    const auto asked = service.requests("getRecords");
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(std::tuple(asked[0].start, asked[0].end, asked[0].order, asked[0].limit),
              std::tuple(march1, march1 + slice, 1, 100));
}

TEST_F(DayTreeUploadTest, ASegmentWithoutRecordsIsNotAskedAgain) {
    const Reply odd = {3, {{"start", 5}, {"end", "no time"}, {"url", {}}}, {{"end", "2024-03-02T00:00:00Z"}}};
    // URLs and requests of two questions with a minute between them.
    const std::tuple<Script, int, std::size_t> rows[] = {{Script::failed(404), 0, 2},
                                                         {Script::answered(Reply::array({1})), 0, 2},
                                                         {Script::answered({{"objects", Reply::array()}}), 0, 1},
                                                         {Script::answered({{"objects", {{"a", 1}}}}), 0, 1},
                                                         {Script::answered({{"objects", odd}}), 2, 1}};
    for (const auto& [script, told, asked] : rows) {
        urls = 0;
        const auto segment = segmentOf(loadDay({{0, minute}})->timeline(0), 0);
        for (int i = 0; i < 2; ++i) {
            service.scriptNext("getRecords", script);
            askUrl(1, 0);
            scheduler.advance(std::chrono::milliseconds(minute));
        }
        service.clearScripts();
        EXPECT_EQ(std::pair(urls, service.count("getRecords")), std::pair(told, asked));
        if (asked == 1) {
            EXPECT_EQ(segment->isUpdated(), told == 0 ? ScrubberTimelineStatusFailed : ScrubberTimelineStatusDone);
        }
    }
}

}  // namespace
}  // namespace korvane::test
