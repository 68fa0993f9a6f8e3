#include "server/Storage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "base/UtcTime.h"
#include "tests/server/TempFolder.h"

namespace korvane {
namespace {

constexpr TimeMs kBase = 1'780'000'000'000;
constexpr TimeMs kHour = 3'600'000;

class StorageTest : public testing::Test {
  protected:
    StorageTest() {
        auto opened = Storage::open(folder_ / "camera.db");
        EXPECT_TRUE(opened);
        storage_ = std::move(*opened);
        camera_ = makeCamera("/footage");
    }

    std::int64_t makeCamera(const std::string& folder) {
        const auto camera = storage_->cameraForFolder(folder, "Yard", "America/New_York");
        EXPECT_TRUE(camera);
        return camera->id;
    }

    void store(const std::string& path, TimeMs start, TimeMs end, std::vector<NewEvent> events = {}) {
        const Failure failure =
            storage_->storeRecording(camera_, {path, 1, 1, ""}, NewRecord{start, end, "jpeg"}, events);
        EXPECT_FALSE(failure) << failure->message;
    }

    TempFolder folder_;
    std::unique_ptr<Storage> storage_;
    std::int64_t camera_ = 0;
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
    for (int file = 0; file < 12; ++file) {
        std::vector<NewEvent> events;
        // Close together, days apart, and many at one moment.
        const TimeMs spread = file % 3 == 0 ? 5 : file % 3 == 1 ? 20 * kHour : 200 * 24 * kHour;
        for (int i = 0; i < 40; ++i) events.push_back({kBase + below(spread), names[below(4)], ""});
        store("file" + std::to_string(file), kBase, kBase + 1, events);
    }
    PlainEvents plain;
    PageQuery all;
    all.limit = 1000;
    plain.rows = storage_->events(camera_, all)->rows;
    ASSERT_EQ(plain.rows.size(), 480U);
    for (int round = 0; round < 600; ++round) {
        if (round % 10 == 9) {
            const auto victim = plain.rows.begin() + below(static_cast<std::int64_t>(plain.rows.size()));
            ASSERT_TRUE(*storage_->deleteEvent(camera_, victim->id));
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
        const auto found = storage_->events(camera_, query);
        ASSERT_TRUE(found);
        ASSERT_EQ(found->totalCount, expected.totalCount) << "round " << round;
        ASSERT_EQ(idsOf(*found), idsOf(expected)) << "round " << round;
    }
}

TEST_F(StorageTest, EndsOfTimeAndForeignCamerasGiveEmptyPages) {
    store("a", kBase, kBase + 1000, {{kBase, "motion", ""}});
    const std::int64_t other = makeCamera("/other");
    EXPECT_EQ(storage_->events(other, {})->totalCount, 0);
    const std::int64_t id = storage_->events(camera_, {})->rows.at(0).id;
    EXPECT_FALSE(*storage_->deleteEvent(other, id));
    for (const TimeRange range :
         {TimeRange{INT64_MAX, -1}, TimeRange{-1, INT64_MIN}, TimeRange{kBase + 1, kBase - 1}}) {
        PageQuery query;
        query.range = range;
        query.offset = INT64_MAX;
        EXPECT_EQ(storage_->events(camera_, query)->totalCount, 0);
        EXPECT_EQ(storage_->records(camera_, query)->totalCount, 0);
        EXPECT_TRUE(storage_->timeline(camera_, range)->empty());
        EXPECT_TRUE(storage_->recordedDays(camera_, range, "UTC")->empty());
    }
}

TEST_F(StorageTest, RecordsMatchWhereTheyOverlapTheRange) {
    // The long one outlasts the two that follow.
    store("long", kBase, kBase + 100'000);
    store("inside", kBase + 10'000, kBase + 20'000);
    store("later", kBase + 200'000, kBase + 230'000);
    struct Row {
        TimeRange range;
        std::vector<std::string> paths;
    };
    const Row rows[] = {{{-1, -1}, {"long", "inside", "later"}},
                        {{-1, kBase}, {"long"}},
                        {{-1, kBase + 10'000}, {"long", "inside"}},
                        {{kBase + 90'000, kBase + 95'000}, {"long"}},
                        {{kBase + 100'000, kBase + 200'000}, {"long", "later"}},
                        {{kBase + 100'001, kBase + 199'999}, {}},
                        {{kBase + 230'000, -1}, {"later"}}};
    for (const Row& row : rows) {
        PageQuery query;
        query.range = row.range;
        query.oldestFirst = true;
        const auto page = storage_->records(camera_, query);
        std::vector<std::string> paths;
        for (const StoredRecord& record : page->rows) paths.push_back(record.path);
        EXPECT_EQ(paths, row.paths) << row.range.start - kBase << " to " << row.range.end - kBase;
        EXPECT_EQ(page->totalCount, static_cast<std::int64_t>(row.paths.size()));
    }
}

TEST_F(StorageTest, TimelineMergesWhatTouchesAndCutsAtTheWindow) {
    store("a", kBase, kBase + 10'000);
    store("b", kBase + 5'000, kBase + 8'000);
    store("c", kBase + 11'000, kBase + 20'000);
    store("d", kBase + 21'001, kBase + 30'000);
    const std::vector<Period> whole = {{kBase, kBase + 20'000}, {kBase + 21'001, kBase + 30'000}};
    EXPECT_EQ(*storage_->timeline(camera_, {}), whole);
    const std::vector<Period> cut = {{kBase + 7'000, kBase + 20'000}, {kBase + 21'001, kBase + 25'000}};
    EXPECT_EQ(*storage_->timeline(camera_, {kBase + 7'000, kBase + 25'000}), cut);
    EXPECT_TRUE(storage_->timeline(camera_, {kBase + 30'000, kBase + 40'000})->empty());
}

TEST_F(StorageTest, DaysAreThoseOfTheZoneAndARecordingOverMidnightHasTwo) {
    const TimeMs midnight = *parseUtc("2026-11-20T00:00:00Z");
    store("over", midnight - 60'000, midnight + 60'000,
          {{midnight - 1, "motion", ""}, {midnight + 50 * kHour, "doorbell", ""}});
    store("until", midnight + 24 * kHour - 1000, midnight + 24 * kHour);
    using Days = std::vector<std::string>;
    EXPECT_EQ(*storage_->recordedDays(camera_, {}, "UTC"), (Days{"2026-11-19", "2026-11-20"}));
    EXPECT_EQ(*storage_->recordedDays(camera_, {}, "America/New_York"), (Days{"2026-11-19", "2026-11-20"}));
    EXPECT_EQ(*storage_->recordedDays(camera_, {}, "Asia/Tokyo"), (Days{"2026-11-20", "2026-11-21"}));
    EXPECT_EQ(*storage_->recordedDays(camera_, {midnight, midnight + 1}, "UTC"), (Days{"2026-11-20"}));
    EXPECT_EQ(*storage_->eventDays(camera_, {}, "", "UTC"), (Days{"2026-11-19", "2026-11-22"}));
    EXPECT_EQ(*storage_->eventDays(camera_, {}, "DOORBELL", "America/New_York"), (Days{"2026-11-21"}));
}

TEST_F(StorageTest, StoringAFileAgainReplacesAllThatCameFromIt) {
    store("a", kBase, kBase + 1000, {{kBase, "motion", "x"}, {kBase + 1, "motion", "y"}});
    const std::int64_t before = storage_->events(camera_, {})->rows.at(0).id;
    store("a", kBase, kBase + 500, {{kBase + 2, "motion", "z"}});
    const auto events = storage_->events(camera_, {});
    ASSERT_EQ(events->totalCount, 1);
    EXPECT_EQ(**storage_->eventThumbnail(camera_, events->rows[0].id), "z");
    EXPECT_FALSE(*storage_->eventThumbnail(camera_, before));
    EXPECT_EQ(storage_->records(camera_, {})->rows.at(0).end, kBase + 500);
    EXPECT_FALSE(storage_->removeSource(camera_, "a"));
    EXPECT_EQ(storage_->events(camera_, {})->totalCount, 0);
    EXPECT_TRUE(storage_->sources(camera_)->empty());
}

TEST_F(StorageTest, FilledRowsAreCountedAsThoseThatCameOneByOne) {
    ASSERT_FALSE(storage_->fillEvents(camera_, 5000, kBase, 60'000));
    store("a", kBase + 1, kBase + 2, {{kBase + 1, "doorbell", ""}});
    PageQuery query;
    query.type = "doorbell";
    query.limit = 1;
    EXPECT_EQ(storage_->events(camera_, query)->totalCount, 101);
    EXPECT_EQ(storage_->events(camera_, query)->rows.at(0).time, kBase + 1);
    EXPECT_EQ(storage_->events(camera_, {})->totalCount, 5001);
}

TEST(StorageFiles, WhatIsNoDataBaseIsAnError) {
    const TempFolder folder;
    folder.write("text.db", std::string(5000, 'x'));
    EXPECT_FALSE(Storage::open(folder / "text.db"));
    EXPECT_FALSE(Storage::open(folder / "text.db" / "below.db"));
}

}  // namespace
}  // namespace korvane
