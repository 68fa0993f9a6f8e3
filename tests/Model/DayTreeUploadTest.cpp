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
    const std::pair<double, std::string> expected[] = {
        {march1 + 9250, "doorbell"}, {0, ""}, {0, ""}, {0, ""}, {0, ""}, {-1, ""}};
    const auto expectEvents = [&](const ScrubberTimelineItem& timeline) {
        EXPECT_EQ(timeline.isUpdated(), ScrubberTimelineStatusDone);
        const auto events = timeline.events();
        ASSERT_EQ(events.size(), std::size(expected));
        for (std::size_t i = 0; i < events.size(); ++i) {
            EXPECT_EQ(std::pair(events[i].dateTime(), events[i].name()), expected[i]) << i;
        }
    };
    service.scriptNext("getEventsSync", Script::answered(page));
    expectEvents(*uploadOneTimeline());
    service.scriptNext("getEvents", Script::answered(page));
    const auto asked = loadDay({{0, minute}})->timeline(0);
    provider->uploadEventsForTimelineItem(asked);
    EXPECT_EQ(asked->isUpdated(), ScrubberTimelineStatusUnderWay);
    scheduler.runUntilIdle();
    expectEvents(*asked);
    for (const auto& script : {Script::failed(404), Script::answered(Reply::array())}) {
        service.scriptNext("getEvents", script);
        const auto timeline = loadDay({{0, minute}})->timeline(0);
        provider->uploadEventsForTimelineItem(timeline);
        scheduler.runUntilIdle();
        EXPECT_EQ(timeline->isUpdated(), ScrubberTimelineStatusFailed);
    }
}

// The day is asked for twice before the first operation runs: the second round fetches nothing.
TEST_F(DayTreeUploadTest, ADayIsFilledFromItsEndAndRedrawnWhereItIsSeen) {
    const auto day = loadDay({{0, minute}, {minute, 2 * minute}, {2 * minute, 3 * minute}});
    const auto states = [&] {
        std::string text = std::to_string(day->isUpdated()) + ":";
        for (const auto& timeline : day->timelines()) text += " " + std::to_string(timeline->isUpdated());
        return text;
    };
    delegate->visible = {std::numeric_limits<std::int64_t>::min(), 0, 99, 1, 1, 2};
    delegate->onAskedForVisible = [&] { delegate->note(states()); };
    delegate->take();
    service.scriptNext("getEventsSync", {});
    service.scriptNext("getEventsSync", Script::held());
    provider->uploadEventsForTimelineDays();
    provider->uploadEventsForTimelineDay(day);
    EXPECT_EQ(states(), "0: 0 0 0");
    scheduler.runUntilIdle();
    EXPECT_EQ(states(), "1: 0 1 2");
    EXPECT_EQ(delegate->take(), Calls{"2: 0 0 2"});
    provider->uploadEventsForTimelineDay(day);
    service.releaseAll();
    scheduler.runUntilIdle();
    EXPECT_EQ(delegate->take(), (Calls{"2: 0 2 2", "redraw", "2: 2 2 2", "redraw", "2: 2 2 2", "2: 2 2 2", "redraw",
                                       "2: 2 2 2", "redraw"}));
    EXPECT_EQ(service.count("getEventsSync"), 3u);
    EXPECT_EQ(service.requests("getEventsSync").front().start, march1 + 2 * minute);
}

TEST_F(DayTreeUploadTest, AnUrlIsThatOfTheFirstRecordThatEndsLater) {
    service.withFootage([](ScriptedFootage& f) {
        f.addRecord({1, march1, march1 + minute, "one", ""});
        f.addRecord({2, march1 + minute, march1 + 2 * minute, "two", ""});
        f.addRecord({3, march1 + 3 * minute, march1 + 5 * minute, "three", ""});
    });
    loadDay({{0, 8 * minute}});
    askUrl(1, 0);
    EXPECT_EQ(urls, 0);
    scheduler.runUntilIdle();
    EXPECT_EQ(urls, 1);
    EXPECT_FALSE(isOnMainThread);
    const std::tuple<std::uint64_t, TimeMs, std::string, Span> rows[] = {{1, -1, "one", {0, 1}},
                                                                         {1, minute - 1, "one", {0, 1}},
                                                                         {1, minute, "two", {1, 2}},
                                                                         {1, 2 * minute, "three", {3, 5}},
                                                                         {1, 5 * minute, "", {}},
                                                                         {0, 0, "", {}},
                                                                         {3, 0, "", {}},
                                                                         {most, 0, "", {}}};
    for (const auto& [index, time, video, span] : rows) {
        SCOPED_TRACE(std::to_string(index) + " at " + std::to_string(time));
        url = nullptr;
        askUrl(index, time);
        ASSERT_EQ(url != nullptr, !video.empty());
        if (!url) continue;
        EXPECT_TRUE(isOnMainThread);
        const auto fields = url->fields();
        EXPECT_EQ(std::tuple(fields.type, fields.timeAsValue, fields.videoUrl),
                  std::tuple(ScrubberEventTypeItem, march1 + time, video));
        EXPECT_EQ(Span(fields.start - march1, fields.end - march1), Span(span.first * minute, span.second * minute));
    }
    scheduler.runUntilIdle();
    const auto asked = service.requests("getRecords");
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(std::tuple(asked[0].start, asked[0].end, asked[0].order, asked[0].limit),
              std::tuple(march1, march1 + slice, 1, 100));
}

TEST_F(DayTreeUploadTest, ASegmentWithoutRecordsIsNotAskedAgain) {
    const Reply odd = {3, {{"start", 5}, {"end", "no time"}, {"url", {}}}, {{"end", "2024-03-02T00:00:00Z"}}};
    const std::pair<Script, int> rows[] = {{Script::failed(404), 0},
                                           {Script::answered(Reply::array({1})), 0},
                                           {Script::answered({{"objects", Reply::array()}}), 0},
                                           {Script::answered({{"objects", {{"a", 1}}}}), 0},
                                           {Script::answered({{"objects", odd}}), 2}};
    for (const auto& [script, told] : rows) {
        urls = 0;
        const auto segment = segmentOf(loadDay({{0, minute}})->timeline(0), 0);
        service.scriptNext("getRecords", script);
        for (int i = 0; i < 2; ++i) {
            askUrl(1, 0);
            scheduler.runUntilIdle();
        }
        EXPECT_EQ(segment->isUpdated(), told == 0 ? ScrubberTimelineStatusFailed : ScrubberTimelineStatusDone);
        EXPECT_EQ(urls, told);
        EXPECT_EQ(service.count("getRecords"), 1u);
    }
}

TEST_F(DayTreeUploadTest, RequestsBeyondSixAreDropped) {
    service.withFootage([](ScriptedFootage& f) { f.addRecord({1, march1, march1 + dayMs, "all", ""}); });
    const auto timeline = loadDay({{0, 8 * slice}})->timeline(0);
    service.scriptNext("getRecords", Script::held());
    for (std::uint64_t index = 1; index <= 8; ++index) askUrl(index, 0);
    scheduler.runUntilIdle();
    EXPECT_EQ(urls, 5);
    // A request under way has one asker only.
    EXPECT_EQ(segmentOf(timeline, 0)->isUpdated(), ScrubberTimelineStatusUnderWay);
    askUrl(1, 0);
    service.releaseAll();
    scheduler.runUntilIdle();
    EXPECT_EQ(urls, 6);
    EXPECT_EQ(service.count("getRecords"), 6u);
    EXPECT_EQ(segmentOf(timeline, 6)->isUpdated(), ScrubberTimelineStatusNotAsked);
    askUrl(7, 0);
    scheduler.runUntilIdle();
    EXPECT_EQ(urls, 7);
}

}  // namespace
}  // namespace korvane::test
