#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "base/LoopScheduler.h"
#include "client/http/HttpService.h"
#include "server/CameraServer.h"
#include "server/Storage.h"
#include "server/sample/SamplePlan.h"
#include "tests/Model/DayTreeFixture.h"
#include "tests/server/TempFolder.h"

namespace korvane::test {
namespace {

constexpr TimeMs dayLength = 86'400'000;

/// The tree of the real service's answers beside its data base, which holds the recordings and movements of the sample.
class DayTreeServiceTest : public ::testing::Test {
  protected:
    void SetUp() override {
        storage = std::move(*Storage::open(folder / "camera.db"));
        camera = storage->cameraForFolder(folder.path(), "Yard", SamplePlan::kTimezone)->id;
        const auto plan = SamplePlan::make(1, 1'780'000'000'000);
        for (const PlannedRecording& recording : plan.recordings) {
            std::vector<NewEvent> movements;
            for (const Movement& movement : recording.movements) {
                movements.push_back({recording.start + static_cast<TimeMs>(movement.start * 1000), "motion", ""});
            }
            const SourceFile file{std::to_string(recording.start) + ".mp4", 1, 1, ""};
            ASSERT_FALSE(
                storage->storeRecording(camera, file, NewRecord{recording.start, recording.end(), ""}, movements));
        }
        ASSERT_TRUE(server.start());
        PageQuery all;
        all.limit = 1'000'000;
        events = storage->events(camera, all)->rows;
        all.oldestFirst = true;
        records = storage->records(camera, all)->rows;

        delegate->onCall = delegate->onAskedForVisible = [this] { scheduler.post([] {}); };
        provider->setDelegate(delegate);
        ASSERT_EQ(provider->setSource(*server.issueToken(camera, std::chrono::hours(1))), 0);
        scheduler.runUntil([this] { return provider->OnScrubberGetEventsCount() > 0; });
        for (std::int64_t i = 0; const auto day = provider->getTimelineDayItemByIndex(i); ++i) days.push_back(day);
    }

    void TearDown() override { provider->close(); }

    /// What is recorded of a day, in stretches with a gap of more than a second between them.
    Spans recordedOn(TimeMs day) const {
        Spans spans;
        for (const StoredRecord& record : records) {
            const Span span(std::max(record.start, day), std::min(record.end, day + dayLength));
            if (span.first >= span.second) continue;
            if (spans.empty() || span.first - spans.back().second > 1000) {
                spans.push_back(span);
            } else {
                spans.back().second = std::max(span.second, spans.back().second);
            }
        }
        return spans;
    }

    TempFolder folder;
    std::unique_ptr<Storage> storage;
    std::int64_t camera = 0;
    std::vector<StoredRecord> records;
    std::vector<StoredEvent> events;
    CameraServer server{folder / "camera.db"};
    LoopScheduler scheduler;
    HttpService service{scheduler};
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::shared_ptr<ScrubberTimelineDataProvider> provider =
        std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);
    std::vector<std::shared_ptr<ScrubberTimelineDayItem>> days;
};

TEST_F(DayTreeServiceTest, SegmentsAreTheRecordingsInTheDataBase) {
    std::set<TimeMs> recordedDays, shownDays;
    for (const StoredRecord& record : records) {
        for (TimeMs day = record.start / dayLength; day <= record.end / dayLength; ++day) recordedDays.insert(day);
    }
    for (const auto& day : days) {
        const TimeMs begin = longLongValue(day->dateTime()) * 1000;
        shownDays.insert(begin / dayLength);
        Spans periods;
        for (const auto& timeline : day->timelines()) {
            periods.emplace_back(longLongValue(timeline->startDateTime()), longLongValue(timeline->endDateTime()));
            TimeMs from = periods.back().first;
            for (const auto& segment : timeline->segments()) {
                EXPECT_EQ(spanOf(segment), Span(from, std::min(from + 240'000, periods.back().second)));
                from = spanOf(segment).second;
            }
            EXPECT_EQ(from, periods.back().second);
        }
        EXPECT_EQ(periods, recordedOn(begin));
    }
    EXPECT_GE(shownDays.size(), 3u);
    EXPECT_EQ(shownDays, recordedDays);
}

TEST_F(DayTreeServiceTest, EventsAndUrlsAreThoseInTheDataBase) {
    provider->uploadEventsForTimelineDays();
    for (const auto& day : days) {
        for (const auto& timeline : day->timelines()) {
            scheduler.runUntil([&] { return timeline->isUpdated() == ScrubberTimelineStatusDone; });
            std::vector<std::pair<TimeMs, std::string>> shown, stored;
            for (const auto& e : timeline->events()) shown.emplace_back(longLongValue(e.dateTime()), e.name());
            for (const auto& e : events) {
                const bool isWithin = static_cast<double>(e.time) >= timeline->startDateTime() &&
                                      static_cast<double>(e.time) <= timeline->endDateTime();
                if (isWithin) stored.emplace_back(e.time, e.name);
            }
            EXPECT_EQ(shown, stored);
        }
    }
    std::set<std::string> urls;
    for (const StoredRecord& record : records) {
        const TimeMs middle = record.start + (record.end - record.start) / 2;
        const auto index = static_cast<std::uint64_t>(provider->OnScrubberFindEventByPosition(middle));
        std::shared_ptr<ScrubberEvent> found;
        provider->getUrl(index, middle, [&](std::shared_ptr<ScrubberEvent> event) {
            scheduler.post([&found, event = std::move(event)] { found = event; });
        });
        scheduler.runUntil([&] { return found != nullptr; });
        EXPECT_EQ(Span(found->start(), found->end()), Span(record.start, record.end));
        urls.insert(found->videoUrl().value());
    }
    EXPECT_EQ(urls.size(), records.size());
    EXPECT_TRUE(std::ranges::all_of(urls, [&](const auto& url) { return url.starts_with(server.baseUrl()); }));
}

}  // namespace
}  // namespace korvane::test
