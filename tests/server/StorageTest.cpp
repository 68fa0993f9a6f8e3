#include "korvane/server/Storage.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <map>
#include <random>
#include <set>

#include "korvane/base/UtcTime.h"
#include "korvane/server/LocalDays.h"
#include "korvane/server/SampleMaker.h"
#include "korvane/tests/server/TempFolder.h"

namespace korvane {
namespace {

constexpr TimeMs baseTime = 1'780'000'000'000;
constexpr TimeMs hourLength = 3'600'000;

class StorageTest : public testing::Test {
  protected:
    StorageTest() {
        auto opened = Storage::open(folder / "camera.db");
        EXPECT_TRUE(opened);
        storage = std::move(*opened);
        camera = makeCamera("/footage");
    }

    std::int64_t makeCamera(const std::string& of) {
        const auto made = storage->cameraForFolder(of, "Yard", "America/New_York");
        EXPECT_TRUE(made);
        return made->id;
    }

    void store(const std::string& path, TimeMs start, TimeMs end, std::vector<NewEvent> events = {}) {
        const Failure failure =
            storage->storeRecording(camera, {path, 1, 1, ""}, NewRecord{start, end, "jpeg"}, events);
        EXPECT_FALSE(failure) << failure->message;
    }

    TempFolder folder;
    std::unique_ptr<Storage> storage;
    std::int64_t camera = 0;
};

bool sameName(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](unsigned char x, unsigned char y) {
               return std::tolower(x) == std::tolower(y);
           });
}

/// The plain way: all rows in memory.
struct PlainEvents {
    std::vector<StoredEvent> rows;

    Page<StoredEvent> page(const PageQuery& query) const {
        std::vector<StoredEvent> matching;
        for (const StoredEvent& row : rows) {
            if (query.range.start != -1 && row.time < query.range.start) continue;
            if (query.range.end != -1 && row.time > query.range.end) continue;
            if (query.type.empty() || sameName(row.name, query.type)) matching.push_back(row);
        }
        std::sort(matching.begin(), matching.end(),
                  [](const auto& a, const auto& b) { return std::pair(a.time, a.id) < std::pair(b.time, b.id); });
        if (!query.oldestFirst) std::reverse(matching.begin(), matching.end());
        Page<StoredEvent> page;
        page.totalCount = static_cast<std::int64_t>(matching.size());
        for (std::int64_t i = query.offset; i < page.totalCount && i < query.offset + query.limit; ++i)
            page.rows.push_back(matching[static_cast<std::size_t>(i)]);
        return page;
    }
};

std::vector<std::int64_t> idsOf(const Page<StoredEvent>& page) {
    std::vector<std::int64_t> ids;
    for (const StoredEvent& row : page.rows) ids.push_back(row.id);
    return ids;
}

TEST_F(StorageTest, EventPagesAreThoseOfAPlainListWhileEventsComeAndGo) {
    std::mt19937_64 random(7);
    const auto below = [&random](std::int64_t end) {
        return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(end));
    };
    const char* const names[] = {"motion", "Motion", "doorbell", "sound"};
    // The last two take the place of the first two.
    for (int file = 0; file < 14; ++file) {
        std::vector<NewEvent> events;
        // Close together, days apart, and many at one moment.
        const TimeMs spread = file % 3 == 0 ? 5 : file % 3 == 1 ? 20 * hourLength : 200 * 24 * hourLength;
        for (int i = 0; i < 40; ++i) events.push_back({baseTime + below(spread), names[below(4)], ""});
        store("file" + std::to_string(file % 12), baseTime, baseTime + 1, events);
    }
    PlainEvents plain;
    PageQuery all;
    all.limit = 1000;
    plain.rows = storage->events(camera, all)->rows;
    ASSERT_EQ(plain.rows.size(), 480U);
    for (int round = 0; round < 600; ++round) {
        if (round % 10 == 9) {
            const auto victim = plain.rows.begin() + below(static_cast<std::int64_t>(plain.rows.size()));
            ASSERT_TRUE(*storage->deleteEvent(camera, victim->id));
            plain.rows.erase(victim);
        }
        const auto edge = [&]() -> TimeMs {
            const TimeMs picked =
                plain.rows[static_cast<std::size_t>(below(static_cast<std::int64_t>(plain.rows.size())))].time;
            return below(4) == 0 ? -1 : picked + below(3) - 1;
        };
        PageQuery query;
        query.range = {edge(), edge()};
        query.type = below(2) == 0 ? "" : names[below(4)];
        query.oldestFirst = below(2) == 0;
        query.limit = below(120);
        query.offset = below(3) == 0 ? 0 : below(500);
        const auto expected = plain.page(query);
        const auto found = storage->events(camera, query);
        ASSERT_TRUE(found);
        ASSERT_EQ(found->totalCount, expected.totalCount) << "round " << round;
        ASSERT_EQ(idsOf(*found), idsOf(expected)) << "round " << round;
    }
}

TEST_F(StorageTest, NumbersAndDeletionsLastWhileAListChanges) {
    std::mt19937_64 random(11);
    const auto below = [&random](std::size_t end) { return static_cast<std::size_t>(random() % end); };
    std::vector<NewEvent> list;
    std::map<std::int64_t, TimeMs> timeOf;
    std::set<std::int64_t> deleted;
    const PageQuery all{{}, "", true, 1000, 0};
    for (int round = 0; round < 150; ++round) {
        // Few moments and names, so that many elements are alike.
        list.insert(list.begin() + static_cast<std::ptrdiff_t>(below(list.size() + 1)),
                    {baseTime + static_cast<TimeMs>(below(4)), below(2) == 0 ? "bell" : "Bell", ""});
        ASSERT_FALSE(storage->storeRecording(camera, {"list", round, 1, ""}, std::nullopt, list));
        std::map<std::int64_t, TimeMs> live;
        const auto page = storage->events(camera, all);
        for (const StoredEvent& event : page->rows) live[event.id] = event.time;
        ASSERT_EQ(live.size() + deleted.size(), list.size());
        for (const auto& [id, time] : timeOf)
            ASSERT_EQ(live.contains(id) ? live[id] : -1, deleted.contains(id) ? -1 : time);
        timeOf.insert(live.begin(), live.end());
        if (round % 3 != 0) continue;
        const auto victim = std::next(timeOf.begin(), static_cast<std::ptrdiff_t>(below(timeOf.size())))->first;
        if (*storage->deleteEvent(camera, victim)) deleted.insert(victim);
    }
    PageQuery named = all;
    named.type = "bell";
    EXPECT_EQ(storage->events(camera, named)->totalCount, storage->events(camera, all)->totalCount);
}

TEST_F(StorageTest, AMotionStaysDeletedWhenItsFilmChanges) {
    const auto times = [this] {
        std::vector<TimeMs> found;
        const auto page = storage->events(camera, {{}, "", true});
        for (const StoredEvent& event : page->rows) found.push_back(event.time - baseTime);
        return found;
    };
    store("film", baseTime, baseTime + 9000, {{baseTime + 2000, "motion", "a"}, {baseTime + 6000, "motion", "b"}});
    const auto before = storage->events(camera, {{}, "", true})->rows;
    ASSERT_TRUE(*storage->deleteEvent(camera, before[0].id));
    for (const TimeMs shift : {900, 1800}) {
        store("film", baseTime, baseTime + 9000,
              {{baseTime + 2000 + shift, "motion", "a"}, {baseTime + 6000 + shift, "motion", "c"}});
        EXPECT_EQ(times(), std::vector<TimeMs>{6000 + shift});
        EXPECT_EQ(storage->events(camera, {})->rows[0].id, before[1].id);
        EXPECT_EQ(**storage->eventThumbnail(camera, before[1].id), "c");
    }
    ASSERT_FALSE(storage->removeSource(camera, "film"));
    EXPECT_EQ(times(), std::vector<TimeMs>{});
    store("film", baseTime, baseTime + 9000, {{baseTime + 3800, "motion", ""}, {baseTime + 5000, "motion", ""}});
    EXPECT_EQ(times(), std::vector<TimeMs>{5000});
}

TEST_F(StorageTest, EventsBelongToTheirCamera) {
    store("a", baseTime, baseTime + 1000, {{baseTime, "motion", ""}});
    const std::int64_t other = makeCamera("/other");
    EXPECT_EQ(storage->events(other, {})->totalCount, 0);
    EXPECT_FALSE(*storage->deleteEvent(other, storage->events(camera, {})->rows.at(0).id));
}

TEST_F(StorageTest, DaysAreThoseOfTheZoneAndARecordingOverMidnightHasTwo) {
    const TimeMs midnight = *parseUtc("2026-11-20T00:00:00Z");
    store("over", midnight - 60'000, midnight + 60'000,
          {{midnight - 1, "motion", ""}, {midnight + 50 * hourLength, "doorbell", ""}});
    store("until", midnight + 24 * hourLength - 1000, midnight + 24 * hourLength);
    using Days = std::vector<std::string>;
    EXPECT_EQ(*storage->recordedDays(camera, {}, "UTC"), (Days{"2026-11-19", "2026-11-20"}));
    EXPECT_EQ(*storage->recordedDays(camera, {}, "America/New_York"), (Days{"2026-11-19", "2026-11-20"}));
    EXPECT_EQ(*storage->recordedDays(camera, {}, "Asia/Tokyo"), (Days{"2026-11-20", "2026-11-21"}));
    EXPECT_EQ(*storage->recordedDays(camera, {midnight, midnight + 1}, "UTC"), (Days{"2026-11-20"}));
    EXPECT_EQ(*storage->eventDays(camera, {}, "", "UTC"), (Days{"2026-11-19", "2026-11-22"}));
    EXPECT_EQ(*storage->eventDays(camera, {}, "DOORBELL", "America/New_York"), (Days{"2026-11-21"}));
}

TEST_F(StorageTest, DaysAreThoseOfEachRecordingAndEventByItself) {
    std::mt19937_64 random(3);
    const auto below = [&random](TimeMs end) {
        return static_cast<TimeMs>(random() % static_cast<std::uint64_t>(end));
    };
    // The first is a time when a zone of the table below was 44 minutes and 30 seconds off.
    const TimeMs begins[] = {*parseUtc("1971-12-01T00:00:00Z"), *parseUtc("2026-02-20T00:00:00Z")};
    std::vector<Period> records;
    std::vector<TimeMs> events;
    for (int i = 0; i < 300; ++i) {
        const TimeMs spread = i % 2 == 0 ? 60 * 24 * hourLength : 2 * hourLength;
        const TimeMs start = begins[i % 4 / 2] + below(spread);
        events.push_back(start);
        records.push_back({start, start + (i % 50 == 0 ? below(70 * hourLength) : below(hourLength))});
        store(std::to_string(i), start, records.back().end, {{start, "motion", ""}});
    }
    for (const char* zone : {"UTC", "Africa/Monrovia", "America/New_York", "Asia/Kathmandu"}) {
        const LocalDays calendar(zone);
        for (int round = 0; round < 60; ++round) {
            const TimeMs first = round == 0 ? 0 : events[static_cast<std::size_t>(below(300))] + below(3) - 1;
            const TimeRange range{first, round < 2 ? -1 : first + below(5 * 24 * hourLength)};
            const TimeMs last = range.end == -1 ? INT64_MAX : range.end;
            std::set<std::string> ofEvents;
            std::set<std::string> ofRecords;
            for (const TimeMs time : events)
                if (time >= first && time <= last) ofEvents.insert(calendar.dayOf(time));
            for (const auto& [start, end] : records)
                for (TimeMs at = std::max(start, first); at <= last && (at == start || at < end);
                     at = calendar.nextDay(at))
                    ofRecords.insert(calendar.dayOf(at));
            const auto list = [](const auto& days) { return std::vector<std::string>(days.begin(), days.end()); };
            ASSERT_EQ(*storage->eventDays(camera, range, "Motion", zone), list(ofEvents)) << zone << round;
            ASSERT_EQ(*storage->recordedDays(camera, range, zone), list(ofRecords)) << zone << round;
        }
    }
}

TEST_F(StorageTest, FilledRowsAreCountedAsThoseThatCameOneByOne) {
    ASSERT_FALSE(addSampleEvents(*storage, camera, 5000, baseTime, 60'000));
    store("a", baseTime + 1, baseTime + 2, {{baseTime + 1, "doorbell", ""}});
    PageQuery query;
    query.type = "doorbell";
    query.limit = 1;
    EXPECT_EQ(storage->events(camera, query)->totalCount, 101);
    EXPECT_EQ(storage->events(camera, query)->rows.at(0).time, baseTime + 1);
    EXPECT_EQ(storage->events(camera, {})->totalCount, 5001);
}

TEST_F(StorageTest, ARecordingHasNoMoreDaysThanAFilm) {
    store("endless", 0, std::numeric_limits<TimeMs>::max());
    store("late", std::numeric_limits<TimeMs>::max() - 1, std::numeric_limits<TimeMs>::max());
    EXPECT_EQ(storage->recordedDays(camera, {0, -1}, "UTC")->size(), 7U);
}

TEST(StorageFiles, OthersSeeThatItIsOpenWhoeverElseHasLooked) {
    const TempFolder folder;
    const auto file = folder / "camera.db";
    const auto isLocked = [&file](const char* suffix, off_t at) {
        const pid_t child = ::fork();
        if (child == 0) {
            const int opened = ::open((file.string() + suffix).c_str(), O_RDWR | O_CLOEXEC);
            struct flock lock {};
            lock.l_type = F_WRLCK;
            lock.l_start = at;
            lock.l_len = 1;
            ::_exit(::fcntl(opened, F_GETLK, &lock) == 0 && lock.l_type == F_UNLCK ? 1 : 0);
        }
        int status = 0;
        return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    };
    ASSERT_TRUE(Storage::open(file));
    const auto first = Storage::open(file);
    ASSERT_TRUE((*first)->cameras());
    const auto second = Storage::open(file);
    ASSERT_TRUE((*second)->cameras());
    // Where SQLite keeps the locks of readers, and of the log's index.
    EXPECT_TRUE(isLocked("", 0x40000002));
    EXPECT_TRUE(isLocked("-shm", 128));
}

TEST(StorageFiles, WhatIsNoDataBaseIsAnError) {
    const TempFolder folder;
    folder.write("text.db", std::string(5000, 'x'));
    EXPECT_FALSE(Storage::open(folder / "text.db"));
    EXPECT_FALSE(Storage::open(folder / "text.db" / "below.db"));
}

}  // namespace
}  // namespace korvane
