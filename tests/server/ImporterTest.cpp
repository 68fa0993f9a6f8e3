#include "korvane/server/Importer.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "korvane/base/Descriptor.h"
#include "korvane/base/UtcTime.h"
#include "korvane/server/Storage.h"
#include "korvane/tests/server/TempFolder.h"
#include "korvane/tests/server/TestClip.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;

class ImporterTest : public testing::Test {
  protected:
    ImporterTest() { storage = std::move(*Storage::open(base / "camera.db")); }

    ImportReport import(const ImportOptions& options = {}) {
        auto report = importFolder(*storage, footage.path(), options);
        EXPECT_TRUE(report) << report.error().message;
        if (!report) return {};
        camera = report->cameraId;
        return *report;
    }

    std::vector<StoredRecord> records() { return storage->records(camera, {{}, "", true})->rows; }
    std::vector<StoredEvent> events() { return storage->events(camera, {{}, "", true})->rows; }

    static std::string reasonFor(const ImportReport& report, const std::string& file) {
        for (const ImportRejection& rejection : report.rejected)
            if (rejection.file == file) return rejection.reason;
        return {};
    }

    TempFolder base;
    TempFolder footage;
    std::unique_ptr<Storage> storage;
    std::int64_t camera = 0;
};

TEST_F(ImporterTest, FindsRecordingsMotionsAndNamedEvents) {
    TestClip{12, {{2, 4}, {7, 9}}}.write(footage / "20261118_070500.mp4");
    TestClip{4, {}, *parseUtc("2026-11-18T08:00:00Z")}.write(footage / "deep/er/still.mkv");
    footage.write("camera.json", R"({"name":"Porch","timezone":"Asia/Tokyo"})");
    footage.write("events.json", R"([{"time":"2026-11-18T07:05:03Z","name":"doorbell"},
        {"time":"2026-11-19T00:00:00Z","name":"bell elsewhere"}, {"time":"soon","name":"x"}, 7, {"time":"2026-11-18T07:05:03Z"}])");
    const ImportReport report = import();
    EXPECT_EQ(report.imported.size(), 3U);
    EXPECT_NE(reasonFor(report, "events.json").find("element 4"), std::string::npos);
    EXPECT_EQ((*storage->camera(camera))->name, "Porch");
    EXPECT_EQ((*storage->camera(camera))->timezone, "Asia/Tokyo");
    const auto found = records();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(formatUtc(found[0].start), "2026-11-18T07:05:00.000Z");
    EXPECT_EQ(found[0].end - found[0].start, 12'000);
    EXPECT_EQ(formatUtc(found[1].start), "2026-11-18T08:00:00.000Z");
    EXPECT_TRUE(found[0].hasThumbnail && found[1].hasThumbnail);
    const auto seen = events();
    ASSERT_EQ(seen.size(), 4U);
    const TimeMs start = found[0].start;
    for (const auto& [index, begin] : {std::pair<std::size_t, TimeMs>{0, 2000}, {2, 7000}}) {
        EXPECT_EQ(seen[index].name, "motion");
        EXPECT_GE(seen[index].time, start + begin - 200);
        EXPECT_LE(seen[index].time, start + begin + 1000);
        EXPECT_TRUE((*storage->eventThumbnail(camera, seen[index].id))->starts_with("\xff\xd8\xff"));
    }
    EXPECT_EQ(seen[1].name, "doorbell");
    EXPECT_TRUE(seen[1].hasThumbnail && !seen[3].hasThumbnail);
}

TEST_F(ImporterTest, TheSameFolderTwiceChangesNothing) {
    TestClip{4, {{1, 2}}}.write(footage / "20261118_070500.mp4");
    footage.write("broken.mp4", "no film");
    footage.write("events.json", R"([{"time":"2026-11-18T07:05:01Z","name":"doorbell"}])");
    const ImportReport first = import();
    const auto before = events();
    ASSERT_TRUE(*storage->deleteEvent(camera, before.at(0).id));
    const ImportReport second = import();
    EXPECT_EQ(second.cameraId, first.cameraId);
    EXPECT_TRUE(second.imported.empty());
    EXPECT_EQ(second.unchanged, 3U);
    EXPECT_EQ(reasonFor(second, "broken.mp4"), reasonFor(first, "broken.mp4"));
    ASSERT_EQ(events().size(), before.size() - 1);
    EXPECT_EQ(events().at(0).id, before.at(1).id);
}

TEST_F(ImporterTest, ImportsWhatItCanAndListsTheRest) {
    TestClip{}.write(footage / "20261118_070500.mp4");
    TestClip{}.write(footage / "20261118_070502 (overlaps, $odd\n name%).mp4");
    TestClip{20}.write(footage / "20261118_080000.ts");
    fs::resize_file(footage / "20261118_080000.ts", fs::file_size(footage / "20261118_080000.ts") / 2);
    TestClip{}.write(footage / "20261118_090000.mkv");
    std::fstream damaged(footage / "20261118_090000.mkv", std::ios::in | std::ios::out | std::ios::binary);
    damaged.seekp(static_cast<std::streamoff>(fs::file_size(footage / "20261118_090000.mkv")) * 2 / 3);
    damaged << std::string(300, '\xaa');
    damaged.close();
    TestClip{}.write(footage / "cut.mov");
    fs::resize_file(footage / "cut.mov", 40);
    footage.write("empty.mp4", "");
    footage.write("text.avi", "This is a letter, not a film.");
    footage.write("list.mp4", "#EXTM3U\n#EXTINF:10,\nfile:///etc/passwd\n#EXT-X-ENDLIST\n");
    footage.write("notes.txt", "hello");
    footage.write(".hidden.mp4", "x");
    footage.write("events.json", "{\"no\":\"array\"}");
    footage.write("camera.json", "[");
    const ImportReport report = import();
    EXPECT_EQ(report.imported.size(), 4U);
    for (const char* name : {"cut.mov", "empty.mp4", "text.avi", "list.mp4", "notes.txt", "events.json", "camera.json"})
        EXPECT_FALSE(reasonFor(report, name).empty()) << name;
    EXPECT_EQ(report.rejected.size(), 7U);
    const auto found = records();
    ASSERT_EQ(found.size(), 4U);
    EXPECT_LT(found[1].start, found[0].end);
    EXPECT_LT(found[2].end - found[2].start, 15'000);
}

TEST_F(ImporterTest, ABadCornerOfTheFolderDoesNotEndTheImport) {
    TestClip{2}.write(footage / "20261118_070000.mp4");
    footage.write("events.json", "[" + std::string(3'000'000, '[') + "1");
    footage.write("more/events.json", R"([{"time":"2026-11-18T07:00:01Z","name":"x","more":[{"name":7}]}])");
    // Deeper than descriptors, and names, reach.
    Descriptor at(::open(footage.path().c_str(), O_PATH));
    for (int i = 0; i < 1500; ++i) {
        ASSERT_EQ(::mkdirat(at.get(), "deep", 0700), 0);
        at = Descriptor(::openat(at.get(), "deep", O_PATH));
    }
    rlimit few{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &few), 0);
    const rlimit before = few;
    few.rlim_cur = 256;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    const ImportReport report = import();
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(report.imported, (std::vector<std::string>{"20261118_070000.mp4", "more/events.json"}));
    EXPECT_EQ(reasonFor(report, "events.json"), "is nested too deeply");
    std::string pathTooLong = "deep";
    while (pathTooLong.size() < 4096) pathTooLong += "/deep";
    EXPECT_FALSE(reasonFor(report, pathTooLong).empty());
}

TEST_F(ImporterTest, GoesOnWhereItWasBrokenOff) {
    for (int i = 0; i < 4; ++i) TestClip{2}.write(footage / ("20261118_07000" + std::to_string(i) + ".mp4"));
    std::atomic<bool> cancel = false;
    ImportOptions options;
    options.cancel = &cancel;
    options.onProgress = [&cancel](const ImportProgress& progress) { cancel = progress.filesDone == 2; };
    const ImportReport first = import(options);
    EXPECT_TRUE(first.cancelled && first.imported.size() == 2);
    EXPECT_EQ(records().size(), 2U);
    const ImportReport second = import();
    EXPECT_FALSE(second.cancelled);
    EXPECT_EQ(second.unchanged, 2U);
    EXPECT_EQ(second.imported.size(), 2U);
    EXPECT_EQ(records().size(), 4U);
}

TEST_F(ImporterTest, FollowsFilesThatChangeAndGo) {
    TestClip{2}.write(footage / "20261118_070000.mp4");
    TestClip{2}.write(footage / "20261118_080000.mp4");
    import();
    TestClip{3}.write(footage / "20261118_070000.mp4");
    fs::remove(footage / "20261118_080000.mp4");
    const ImportReport report = import();
    EXPECT_EQ(report.removed, 1U);
    ASSERT_EQ(records().size(), 1U);
    EXPECT_EQ(records()[0].end - records()[0].start, 3000);
}

TEST_F(ImporterTest, AListThatGrowsTakesNoPictureAnew) {
    const fs::path film = footage / "20261118_070000.mp4";
    TestClip{2}.write(film);
    const std::string bell = R"({"time":"2026-11-18T07:00:01Z","name":"bell"})";
    const std::string added = R"({"time":"2026-11-18T07:00:01Z","name":"Bell"},)";
    const std::string later = R"(,{"time":"2026-11-18T08:00:01Z","name":"bell"})";
    footage.write("events.json", "[" + bell + "]");
    import();
    // From here on no picture is to be had of it, which a folder's look does not notice.
    const auto written = fs::last_write_time(film);
    footage.write("20261118_070000.mp4", std::string(fs::file_size(film), 'x'));
    fs::last_write_time(film, written);
    footage.write("events.json", "[" + added + bell + later + "]");
    import();
    TestClip{2}.write(footage / "20261118_080000.mp4");
    import();
    std::vector<bool> hasPicture;
    for (const StoredEvent& event : events()) hasPicture.push_back(event.hasThumbnail);
    EXPECT_EQ(hasPicture, (std::vector{true, false, true}));
}

TEST_F(ImporterTest, AFolderIsKnownWhereverItMoves) {
    const fs::path first = base / "first";
    const fs::path second = base / "second";
    TestClip{2}.write(first / "20261118_070000.mp4");
    const auto into = [](const fs::path& database, const fs::path& folder) {
        const auto opened = std::move(*Storage::open(database));
        auto report = importFolder(*opened, folder, {});
        EXPECT_TRUE(report) << report.error().message;
        EXPECT_EQ(opened->camera(report->cameraId)->value().folder, folder.string());
        return std::pair(report->cameraId, report->unchanged);
    };
    using Seen = std::pair<std::int64_t, std::size_t>;
    const auto both = [&](const fs::path& folder) {
        const Seen own = into(defaultDatabase(folder), folder);
        EXPECT_EQ(own.first, 1) << folder;
        return into(base / "camera.db", folder);
    };
    EXPECT_EQ(both(first), Seen(1, 0));
    fs::rename(first, second);
    EXPECT_EQ(both(second), Seen(1, 1)) << "moved";
    fs::copy(second, first, fs::copy_options::recursive);
    EXPECT_EQ(both(first).first, 2) << "a copy";
    fs::remove_all(second);
    fs::rename(first, second);
    EXPECT_EQ(both(second), Seen(2, 1)) << "the copy, where the first one was";
    fs::remove(second / ".korvane/mark");
    EXPECT_EQ(both(second), Seen(2, 1)) << "by its path";
    EXPECT_FALSE(importFolder(**Storage::open(defaultDatabase(second)), footage.path(), {})) << "another's data base";
}

TEST_F(ImporterTest, AFileWithoutAnyTimeEndsWhenItWasWritten) {
    TestClip{4}.write(footage / "film.mp4");
    const auto when =
        fs::file_time_type::clock::from_sys(std::chrono::sys_seconds(std::chrono::seconds(1'780'000'000)));
    fs::last_write_time(footage / "film.mp4", when);
    import();
    EXPECT_EQ(records().at(0).end, 1'780'000'000'000);
}

TEST_F(ImporterTest, RefusesFoldersWithNothingToImport) {
    EXPECT_FALSE(importFolder(*storage, footage / "missing", {}));
    EXPECT_FALSE(importFolder(*storage, footage.path(), {}));
    footage.write("letter.txt", "x");
    EXPECT_FALSE(importFolder(*storage, footage.path(), {}));
    TestClip{2}.write(footage / "film.mp4");
    ImportOptions options;
    options.timezone = "Nowhere/At_All";
    EXPECT_FALSE(importFolder(*storage, footage.path(), options));
    EXPECT_FALSE(importFolder(*storage, footage / "film.mp4", {}));
}

}  // namespace
}  // namespace korvane
