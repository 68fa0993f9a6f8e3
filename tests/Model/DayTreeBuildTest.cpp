#include <limits>

#include "korvane/base/Log.h"
#include "korvane/client/Status.h"
#include "korvane/tests/Model/DayTreeFixture.h"

namespace korvane::test {
namespace {

constexpr TimeMs mostTime = std::numeric_limits<TimeMs>::max();
constexpr TimeMs leastTime = std::numeric_limits<TimeMs>::min();

class DayTreeBuild : public DayTreeTest {
  protected:
    DayTreeBuild() {
        setLogSink([this](std::string_view line) { log.emplace_back(line); });
    }
    ~DayTreeBuild() override { setLogSink({}); }

    // A day with one period of three segments an hour after midnight.
    static ToldDay plainDay(int day) {
        const TimeMs start = march1 + day * dayMs + 3'600'000;
        return {"2024-03-0" + std::to_string(1 + day), {{start, start + 600'000}}};
    }

    static std::vector<ToldDay> threeDays() { return {plainDay(0), plainDay(1), plainDay(2)}; }

    // Builds anew with a start position.
    void loadAt(TimeMs position, const std::vector<ToldDay>& days) {
        tellNext(service, days);
        provider->clearAllDays();
        EXPECT_EQ(provider->requestEvents(-1, scheduler.utcNow(), position), 0);
        scheduler.runUntilIdle();
    }

    // Which days have been asked for, in seconds.
    std::vector<double> fetchedDays() {
        std::vector<double> found;
        for (std::int64_t i = 0; const auto day = provider->getTimelineDayItemByIndex(i); ++i) {
            if (day->isUpdated() != ScrubberTimelineStatusNotAsked) found.push_back(day->dateTime());
        }
        return found;
    }

    static double secondsOf(int day) { return static_cast<double>(march1 + day * dayMs) / 1000; }

    std::vector<std::string> log;
};

using Days = std::vector<double>;

TEST_F(DayTreeBuild, AsksForTheDaysThenForEachDaysPeriodsThenForOneDaysEvents) {
    load(threeDays());
    std::vector<std::pair<TimeMs, TimeMs>> asked;
    for (const auto& request : service.requests("getTimelineSync")) asked.emplace_back(request.start, request.end);
    EXPECT_EQ(asked, (Spans{{march1, march1 + dayMs},
                            {march1 + dayMs, march1 + 2 * dayMs},
                            {march1 + 2 * dayMs, march1 + 3 * dayMs}}));
    // Neither head nor live entry lies on a day.
    for (const std::uint64_t index : {std::uint64_t{0}, std::uint64_t{10}, std::uint64_t{11}, ~std::uint64_t{0}}) {
        EXPECT_EQ(provider->checkPartNeedRequested(index, 1, march1), 0);
    }
    scheduler.runUntilIdle();
    EXPECT_EQ(fetchedDays(), Days{secondsOf(2)});
    EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
    // Without a refresh in between, what comes is appended.
    const auto held = provider->getTimelineSegmentItemByIndex(2);
    tellNext(service, {plainDay(1)});
    provider->requestEvents(-1, -1, -1);
    scheduler.runUntilIdle();
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 14);
    EXPECT_EQ(provider->getTimelineSegmentItemByIndex(2)->segment, held->segment);
}

TEST_F(DayTreeBuild, FetchesTheDayOfThePosition) {
    const std::pair<TimeMs, int> cases[] = {
        {-1, 0},         {0, 0},       {march1 + dayMs, 1}, {march1 + 2 * dayMs - 1, 1}, {march1 + 2 * dayMs, 2},
        {march1 - 1, 0}, {mostTime, 0}};
    bind();
    for (const auto& [position, day] : cases) {
        // Not in order of time: the last day is the last that was told.
        loadAt(position, {plainDay(2), plainDay(1), plainDay(0)});
        EXPECT_EQ(fetchedDays(), Days{secondsOf(day)}) << position;
        if (position < 1) continue;
        EXPECT_EQ(provider->getTimelineDayByTime(static_cast<double>(position))->dateTime(), secondsOf(day));
    }
    loadAt(5, {{"1969-12-31", {}}, {"1970-01-01", {}}});
    for (const double time : {-0.5, std::numeric_limits<double>::quiet_NaN(), 1e300}) {
        EXPECT_EQ(provider->getTimelineDayByTime(time)->dateTime(), 0);
    }
    EXPECT_EQ(provider->getTimelineDayByTime(-1)->dateTime(), -86'400);
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 0);
    EXPECT_EQ(provider->OnScrubberGetEventByIndex(0), nullptr);
}

TEST_F(DayTreeBuild, TakesAnyActivity) {
    const std::tuple<Script, Days, std::size_t> cases[] = {
        {Script::answered(Reply::object()), {}, 0},
        {Script::answered(nullptr), {}, 0},
        {Script::failed(503), {}, 0},
        {Script::answered({5, nullptr, "2024-02-30", "", "2024-03", Reply::array(), "2024-03-01T00:00:00Z"}), {}, 1},
        {Script::answered({1, "2024-03-02", "2024-13-01", "2024-03-01", "2024-03-02"}),
         {secondsOf(1), secondsOf(0), secondsOf(1)},
         1},
    };
    bind();
    for (const auto& [script, expected, logged] : cases) {
        delegate->take();
        log.clear();
        service.scriptNext("getActivity", script);
        EXPECT_EQ(provider->refresh(), 0);
        scheduler.runUntilIdle();
        Days days;
        for (std::int64_t i = 0; const auto day = provider->getTimelineDayItemByIndex(i); ++i) {
            days.push_back(day->dateTime());
        }
        const Calls calls{"reload " + std::to_string(script.status) + " 0"};
        EXPECT_EQ(std::tuple(delegate->take(), days, log.size()), std::tuple(calls, expected, logged));
    }
}

TEST_F(DayTreeBuild, TakesAnyPeriods) {
    constexpr TimeMs year = 365 * dayMs;
    const Script good = Script::answered({{march1, march1 + 1}});
    const std::tuple<Script, std::int64_t, std::size_t> cases[] = {
        {Script::failed(500), 0, 1},
        {Script::answered(nullptr), 0, 0},
        {Script::answered({{mostTime, leastTime}, {leastTime, leastTime}, {mostTime, mostTime}}), 3, 0},
        {Script::answered({{1, 2}, {0, 1'000'000'000'000'000'000}, {leastTime, mostTime}, {3, 4}}), 2, 1},
        {Script::answered({{0, 20 * year}, {0, 20 * year}, {0, 1}}), 20 * 131'400 + 1, 1},
    };
    bind();
    for (const auto& [script, segments, logged] : cases) {
        log.clear();
        delegate->take();
        service.scriptNext("getActivity", Script::answered({"2024-03-01", "2024-03-02", "2024-03-03"}));
        service.scriptNext("getTimelineSync", good);
        service.scriptNext("getTimelineSync", script);
        service.scriptNext("getTimelineSync", good);
        if (script.status != 0) service.scriptNext("getTimelineSync", script);
        EXPECT_EQ(provider->refresh(), 0);
        scheduler.runUntilIdle();
        EXPECT_EQ(provider->getTimelineDayItemByIndex(1)->dateTime(), secondsOf(1));
        EXPECT_EQ(provider->OnScrubberGetEventsCount(), segments + 4);
        EXPECT_EQ(std::tuple(delegate->take(), log.size()), std::tuple(Calls{"reload 0 0"}, logged));
    }
}

}  // namespace
}  // namespace korvane::test
