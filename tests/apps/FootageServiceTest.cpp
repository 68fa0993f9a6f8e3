// A folder that is served while it changes.
#include "korvane/apps/browser/FootageService.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <functional>
#include <optional>

#include "korvane/apps/browser/tour/EventPump.h"
#include "korvane/server/Importer.h"
#include "korvane/server/Storage.h"
#include "korvane/tests/server/TempFolder.h"
#include "korvane/tests/server/TestClip.h"
#include "korvane/toolkit/QtScheduler.h"

namespace korvane::test {
namespace {

namespace fs = std::filesystem;

/// What a service has told, the last of each.
struct Told {
    int starts = 0;
    int looks = 0;
    std::size_t imported = 0;
    std::optional<FootageService::Look> look;
    std::string failure;

    FootageService::Handlers handlers() {
        FootageService::Handlers handlers;
        handlers.started = [this](const auto&) { ++starts; };
        handlers.looked = [this](const FootageService::Look& what) {
            EXPECT_GT(starts, 0);
            ++looks;
            imported += what.imported;
            look = what;
        };
        handlers.failed = [this](const std::string& reason) { failure = reason; };
        return handlers;
    }
};

class FootageServiceTest : public testing::Test {
  protected:
    bool until(const std::function<bool()>& done) { return pumpEventsUntil(scheduler, done, std::chrono::seconds(60)); }

    /// As a camera does that has closed the file a while ago, or just now.
    static void film(const fs::path& file, std::chrono::minutes age = std::chrono::minutes(1)) {
        TestClip clip;
        clip.seconds = 3;
        clip.movements = {{1, 2}};
        clip.write(file);
        grow(file, -age);
    }

    static void grow(const fs::path& file, std::chrono::minutes by) {
        fs::last_write_time(file, fs::last_write_time(file) + by);
    }

    void serve() { service.emplace(scheduler, told.handlers(), std::chrono::milliseconds(20)), service->start(folder); }

    TempFolder place;
    const fs::path folder = place / "footage";
    QtScheduler scheduler;
    Told told;
    std::optional<FootageService> service;
};

TEST_F(FootageServiceTest, KeepsUpWithTheFolder) {
    fs::create_directory(folder);
    serve();
    ASSERT_TRUE(until([&] { return !told.failure.empty(); })) << "nothing to serve yet";
    film(folder / "20261118_070000.mp4");
    ASSERT_TRUE(until([&] { return told.imported == 1; }));
    EXPECT_EQ(told.starts, 1);

    // One that still grows waits, and holds nothing else up.
    const fs::path growing = folder / "20261118_070100.mp4";
    film(growing, {});
    film(folder / "20261118_070200.mp4");
    ASSERT_TRUE(until([&] { return told.imported == 2; }));
    grow(growing, std::chrono::minutes(-1));
    ASSERT_TRUE(until([&] { return told.imported == 3; }));

    const int looks = told.looks;
    fs::remove(folder / "20261118_070000.mp4");
    ASSERT_TRUE(until([&] { return told.looks > looks; }));
    EXPECT_TRUE(told.look->hasNews);

    const auto other = std::move(*Storage::open(defaultDatabase(folder)));
    const auto events = other->events(1, {});
    ASSERT_EQ(events->totalCount, 2);
    ASSERT_TRUE(*other->deleteEvent(1, events->rows[0].id));
    ASSERT_TRUE(until([&] { return told.looks > looks + 1; })) << "another process has deleted an event";
    EXPECT_TRUE(told.look->hasNews && told.look->fault.empty());
    EXPECT_EQ(told.starts, 1);
}

TEST_F(FootageServiceTest, AFolderThatGoesComesBackWithoutLoss) {
    film(folder / "20261118_070000.mp4");
    serve();
    ASSERT_TRUE(until([&] { return told.look.has_value(); }));
    fs::rename(folder, place / "elsewhere");
    ASSERT_TRUE(until([&] { return !told.look->fault.empty(); }));
    EXPECT_FALSE(told.look->hasNews);
    fs::rename(place / "elsewhere", folder);
    ASSERT_TRUE(until([&] { return told.look->fault.empty(); }));
    EXPECT_FALSE(told.look->hasNews);
    EXPECT_EQ(told.starts, 1);

    fs::remove_all(folder);
    ASSERT_TRUE(until([&] { return !told.look->fault.empty(); }));
    film(folder / "20261119_070000.mp4");
    ASSERT_TRUE(until([&] { return told.starts == 2 && told.look->fault.empty(); })) << "another folder";
}

TEST_F(FootageServiceTest, AFolderThatKeepsNoSecretIsServedFromElsewhere) {
    qputenv("XDG_DATA_HOME", QByteArray::fromStdString((place / "data").string()));
    film(folder / "20261118_070000.mp4");
    place.write("footage/.korvane/camera.db.key", std::string(32, 'k'));  // as a card shows it, for all to read
    serve();
    ASSERT_TRUE(until([&] { return told.look.has_value(); }));
    EXPECT_EQ(told.imported, 1U);
    EXPECT_FALSE(fs::exists(folder / ".korvane/camera.db"));
    service.reset();
    told = {};
    serve();
    ASSERT_TRUE(until([&] { return told.look.has_value(); }));
    EXPECT_EQ(told.look->unchanged, 1U) << "and found again there";
    qunsetenv("XDG_DATA_HOME");
}

TEST_F(FootageServiceTest, TwoOnOneFolderTakeEachFileInOnce) {
    constexpr std::size_t count = 4;
    for (std::size_t i = 0; i < count; ++i) film(folder / ("20261118_07000" + std::to_string(i) + ".mp4"));
    std::array<Told, 2> each;
    FootageService one(scheduler, each[0].handlers());
    FootageService two(scheduler, each[1].handlers());
    one.start(folder);
    two.start(folder);
    ASSERT_TRUE(until([&] { return each[0].look && each[1].look; }));
    EXPECT_EQ(each[0].imported + each[1].imported, count);
    EXPECT_EQ(each[0].starts, 1);
    EXPECT_EQ(each[1].starts, 1);
    // Known from now on, it is served before it is looked at.
    film(folder / "20261118_080000.mp4");
    serve();
    ASSERT_TRUE(until([&] { return told.starts == 1; }));
    EXPECT_EQ(told.looks, 0);
    ASSERT_TRUE(until([&] { return told.looks == 1; }));
    EXPECT_TRUE(told.imported + each[0].imported + each[1].imported == count + 1 || told.look->unchanged == count + 1);
}

}  // namespace
}  // namespace korvane::test
