#include <algorithm>
#include <random>

#include "korvane/base/UtcTime.h"
#include "korvane/tests/Model/DayTreeFixture.h"

namespace korvane::test {
namespace {

constexpr TimeMs march1 = 1'709'251'200'000;  // 2024-03-01
constexpr TimeMs dayMs = 86'400'000;
constexpr TimeMs hour = 3'600'000;
constexpr TimeMs slice = 240'000;
using std::chrono::milliseconds;
using std::chrono::seconds;

// So many days with periods at each hour, and what lies in them.
struct Archive : DayTree {
    Archive(std::uint64_t seed, std::int64_t days, std::int64_t periods, TimeMs length, std::int64_t events)
        : DayTree(seed) {
        std::vector<ToldDay> told;
        for (TimeMs start = march1; start < march1 + days * dayMs; start += dayMs) {
            told.push_back({formatUtc(start).substr(0, 10), {}});
            for (TimeMs at = start; at < start + periods * hour; at += hour) {
                told.back().periods.emplace_back(at, at + length);
                service.withFootage([&](ScriptedFootage& f) {
                    for (std::int64_t i = 0; i < events; ++i) f.addEvent({i + 1, at + i * 1000, "motion", ""});
                    f.addRecord({1, at, at + length, "url", ""});
                });
            }
        }
        tellNext(service, told);
        provider->setSource(service.makeToken());
        scheduler.runUntilIdle();
        service.clearRequests();
    }

    // As a view does whose mark comes to lie on an entry.
    void look(std::int64_t index) { provider->checkPartNeedRequested(static_cast<std::uint64_t>(index), -1, -1); }
    void ask(std::int64_t index, TimeMs time = march1) {
        provider->getUrl(static_cast<std::uint64_t>(index), time,
                         [this](const auto& event) { urls.push_back(event->timeAsValue()); });
    }
    ScrubberTimelineSegmentPath path(std::int64_t index) { return *provider->getTimelineSegmentItemByIndex(index - 1); }
    // Begins of what has been asked for since the last call.
    std::vector<TimeMs> begins(const std::string& name = {}) {
        std::vector<TimeMs> found;
        for (const auto& request : service.requests(name)) found.push_back(request.start);
        service.clearRequests();
        return found;
    }

    std::vector<TimeMs> urls;
};

// A view of three entries is flung about while pages are late.
TEST(DayTreeWishes, WhatIsUnderTheMarkComesFirstAndWhatIsOutOfViewNotAtAll) {
    for (unsigned seed = 0; seed < roundsOf(40) && !::testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto events = random() % 240;
        Archive archive(seed, 15, 2, 2 * slice - 1000, static_cast<std::int64_t>(events));
        archive.service.scriptAll("getEventsSync", Script::late(milliseconds(7)));
        constexpr std::int64_t last = 15 * 2 * 2;
        std::int64_t mark = last;
        for (int step = 0; step < 30; ++step) {
            const auto jump = static_cast<std::int64_t>(random() % (random() % 4 == 0 ? 60 : 7));
            mark = std::clamp<std::int64_t>(mark + (random() % 2 ? jump : -jump), 1, last);
            archive.delegate->visible = {mark - 1, mark, mark + 1};
            const auto wanted = archive.path(mark).timeline;
            const bool isDue = wanted->isUpdated() == ScrubberTimelineStatusNotAsked;
            archive.look(mark);
            // At rest a view asks for its other cells too.
            for (const std::int64_t beside : {mark - 1, mark + 1}) random() % 3 == 0 ? archive.look(beside) : void();
            archive.scheduler.advance(milliseconds(random() % 30));
            std::set<double> seen;
            for (auto i = std::max<std::int64_t>(mark - 4, 1); i <= std::min(mark + 4, last); ++i) {
                for (const auto& timeline : archive.path(i).day->timelines()) seen.insert(timeline->startDateTime());
            }
            const auto asked = archive.begins("getEventsSync");
            for (const TimeMs begin : asked) EXPECT_TRUE(seen.contains(static_cast<double>(begin))) << begin;
            EXPECT_TRUE(!isDue || asked.empty() || asked[0] == longLongValue(wanted->startDateTime()));
        }
        archive.scheduler.advance(seconds(5));
        EXPECT_EQ(archive.path(mark).day->isUpdated(), ScrubberTimelineStatusDone);
        for (std::int64_t i = 1; i <= last; ++i) {
            const auto [day, timeline, segment, place] = archive.path(i);
            std::set<double> moments;
            for (const auto& event : timeline->events()) moments.insert(event.dateTime());
            EXPECT_EQ(timeline->events().size(), moments.size()) << "each event once";
            EXPECT_NE(timeline->isUpdated(), ScrubberTimelineStatusUnderWay);
            EXPECT_TRUE(moments.size() == events || day->isUpdated() == ScrubberTimelineStatusNotAsked) << i;
        }
    }
}

TEST(DayTreeWishes, NinetyDaysAboutTheMarkAreKept) {
    Archive archive(1, 95, 1, slice - 1, 1);
    const auto visit = [&](std::int64_t index) {
        archive.look(index);
        archive.ask(index, march1 + (index - 1) * dayMs);
        archive.scheduler.runUntilIdle();
    };
    const auto expectKept = [&](std::int64_t first, std::int64_t hole, std::int64_t last) {
        for (std::int64_t i = 1; i <= 95; ++i) {
            const auto [day, timeline, segment, place] = archive.path(i);
            const bool isKept = i == first || (i > hole && i <= last);
            EXPECT_EQ(std::tuple(timeline->events().size(), segment->records()->size()), std::tuple(isKept, isKept));
            EXPECT_EQ(std::tuple(day->isUpdated(), timeline->isUpdated(), segment->isUpdated()),
                      isKept ? std::tuple(2, 2, 2) : std::tuple(0, 0, 0));
        }
    };
    for (std::int64_t i = 1; i <= 95; ++i) visit(i);
    expectKept(6, 6, 95);
    visit(2);
    expectKept(2, 5, 94);
    EXPECT_EQ(archive.urls.size(), 96u);
}

TEST(DayTreeWishes, WhatFailedIsAskedAgainAfterLongerAndLongerWaits) {
    for (const std::string name : {"getEventsSync", "getRecords"}) {
        SCOPED_TRACE(name);
        Archive archive(1, 2, 1, slice, 150);
        archive.delegate->visible = {1};
        const bool isEvents = name == "getEventsSync";
        const auto ask = [&] {
            isEvents ? archive.look(1) : archive.ask(1);
            archive.scheduler.runUntilIdle();
            return isEvents ? archive.path(1).timeline->isUpdated() : archive.path(1).segment->isUpdated();
        };
        if (isEvents) archive.service.scriptNext(name, {});  // one page comes, and is not asked for again
        archive.service.scriptAll(name, Script::failed(503));
        ask();
        for (const int wait : {5, 10, 20, 40, 60, 60}) {
            archive.begins();
            archive.delegate->take();
            archive.scheduler.advance(seconds(wait) - milliseconds(1));
            EXPECT_EQ(ask(), ScrubberTimelineStatusFailed);
            EXPECT_EQ(archive.service.count(name), 0u) << wait;
            archive.scheduler.advance(milliseconds(1));
            if (!isEvents) ask();  // events under the mark are fetched on without a word
            ASSERT_EQ(archive.service.count(name), 1u) << wait;
            EXPECT_EQ(archive.service.requests(name)[0].offset, isEvents ? 100 : 0);
            EXPECT_GT(std::ranges::count(archive.delegate->take(), "redraw"), 0);
        }
        archive.service.clearScripts();
        archive.scheduler.advance(seconds(60));
        EXPECT_EQ(ask(), ScrubberTimelineStatusDone);
        EXPECT_EQ(std::tuple(archive.path(1).timeline->events().size(), archive.urls.size()),
                  isEvents ? std::tuple(150u, 0u) : std::tuple(0u, 1u));
        archive.begins();
        archive.scheduler.advance(seconds(200));
        EXPECT_EQ(archive.begins().size(), 0u);
    }
}

// Its wait is over while other events of the day are on their way, and the mark is elsewhere.
TEST(DayTreeWishes, WhatFailedIsAskedAgainBeforeItsDayIsDone) {
    Archive archive(1, 2, 2, slice, 5);
    archive.delegate->visible = {1, 2, 3, 4};
    for (const auto& script : {Script::failed(503), Script::late(seconds(8))}) {
        archive.service.scriptNext("getEventsSync", script);
    }
    archive.look(2);
    archive.scheduler.runUntilIdle();
    archive.look(3);
    archive.scheduler.advance(seconds(20));
    for (std::int64_t i = 1; i <= 4; ++i) EXPECT_EQ(archive.path(i).timeline->events().size(), 5u);
}

TEST(DayTreeWishes, OneRequestASegmentAnswersTheLastQuestion) {
    Archive archive(1, 1, 1, 40 * slice, 0);
    archive.service.scriptNext("getRecords", Script::held());
    for (int step = 0; step < 50; ++step) {
        archive.ask(1, march1 + step);
        if (step % 10 == 0) archive.scheduler.runUntilIdle();
    }
    archive.service.releaseAll();
    archive.scheduler.runUntilIdle();
    EXPECT_EQ(archive.urls, std::vector<TimeMs>{march1 + 49});
    const auto begins = [](std::vector<TimeMs> indexes) {
        for (TimeMs& index : indexes) index = march1 + (index - 1) * slice;
        return indexes;
    };
    EXPECT_EQ(archive.begins("getRecords"), begins({1}));
    // Six may wait, the newest first; those out of view go, but not what was asked for last.
    archive.delegate->visible = {9};
    for (std::int64_t index = 2; index <= 12; ++index) archive.ask(index);
    archive.scheduler.runUntilIdle();
    EXPECT_EQ(archive.begins("getRecords"), begins({12, 10, 9, 8}));
    // Six are asked for at a time.
    archive.delegate->visible.clear();
    archive.service.scriptAll("getRecords", Script::held());
    for (std::int64_t index = 20; index <= 30; ++index) {
        archive.ask(index);
        archive.scheduler.runUntilIdle();
    }
    EXPECT_EQ(archive.begins("getRecords").size(), 6u);
}

}  // namespace
}  // namespace korvane::test
