#include <gtest/gtest.h>

#include <algorithm>

#include "korvane/base/UtcTime.h"
#include "korvane/server/Importer.h"
#include "korvane/server/SampleMaker.h"
#include "korvane/server/Storage.h"
#include "korvane/server/sample/SamplePlan.h"
#include "korvane/tests/server/TempFolder.h"

namespace korvane {
namespace {

constexpr TimeMs dayLength = 86'400'000;

TEST(SamplePlan, HoldsWhatTheSamplePromisesWheneverItIsMade) {
    for (TimeMs hour = 0; hour < 24; ++hour) {
        const TimeMs end = 1'780'000'000'000 + hour * 3'600'000 + 123;
        const SamplePlan plan = SamplePlan::make(static_cast<std::uint64_t>(hour), end);
        SCOPED_TRACE(hour);
        EXPECT_GE(plan.recordings.size(), 40U);
        EXPECT_EQ(plan.doorbells.size(), 2U);
        std::size_t movements = 0, quick = 0, overMidnight = 0, gaps = 0, borders = 0;
        TimeMs last = 0;
        for (const PlannedRecording& recording : plan.recordings) {
            EXPECT_GE(recording.start, last);
            gaps += recording.start - last > 1000 ? 1 : 0;
            borders += recording.start == last ? 1 : 0;
            last = recording.end();
            overMidnight += recording.start / dayLength != last / dayLength ? 1 : 0;
            movements += recording.movements.size();
            for (std::size_t i = 0; i < recording.movements.size(); ++i) {
                EXPECT_LE(recording.movements[i].end() * 1000, static_cast<float>(recording.duration));
                if (i == 0) continue;
                EXPECT_GE(recording.movements[i].start - recording.movements[i - 1].end(), 2.5F);
                quick += recording.movements[i].start - recording.movements[i - 1].start <= 10 ? 1 : 0;
            }
        }
        EXPECT_GE(movements, 260U);
        EXPECT_GE(quick, 20U);
        EXPECT_GE(overMidnight, 1U);
        EXPECT_GE(gaps, 38U);
        EXPECT_GE(borders, 2U);
        EXPECT_LE(last, end);
        EXPECT_GE(last, end - 3'600'000);
        EXPECT_GE(plan.recordings.front().start, end - 3 * dayLength - 3'600'000);
    }
}

TEST(SampleMaker, AnImportFindsEveryMovementAndTheDoorbell) {
    const TempFolder folder;
    SampleOptions options;
    options.end = 1'780'000'000'000;
    options.maxRecordings = 2;
    const auto sample = makeSample(folder / "sample", options);
    ASSERT_TRUE(sample) << sample.error().message;
    EXPECT_EQ(sample->recordings, 2U);
    EXPECT_LT(sample->bytes, 5'000'000U);
    auto storage = Storage::open(defaultDatabase(folder / "sample"));
    ASSERT_TRUE(storage);
    const auto report = importFolder(**storage, folder / "sample", {});
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_TRUE(report->rejected.empty());
    EXPECT_EQ((*(*storage)->camera(report->cameraId))->timezone, SamplePlan::yardTimezone);
    const auto motions = (*storage)->events(report->cameraId, {{}, "motion"})->rows;
    const SamplePlan plan = SamplePlan::make(options.seed, options.end);
    for (auto recording = plan.recordings.end() - 2; recording != plan.recordings.end(); ++recording)
        for (const Movement& movement : recording->movements) {
            const TimeMs begin = recording->start + static_cast<TimeMs>(movement.start * 1000);
            EXPECT_TRUE(std::any_of(motions.begin(), motions.end(), [begin](const StoredEvent& event) {
                return event.time >= begin - 300 && event.time <= begin + 1600 && event.hasThumbnail;
            })) << formatUtc(begin);
        }
}

}  // namespace
}  // namespace korvane
