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
