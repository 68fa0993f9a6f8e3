// A folder that somebody else has prepared.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <sys/stat.h>

#include <functional>

#include "korvane/server/AccessToken.h"
#include "korvane/server/CameraServer.h"
#include "korvane/server/Database.h"
#include "korvane/server/Importer.h"
#include "korvane/server/OpenBeneath.h"
#include "korvane/server/Storage.h"
#include "korvane/tests/server/TempFolder.h"
#include "korvane/tests/server/TestClip.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;

/// A folder with its own data base of one recording, and a secret beside the folder.
struct Footage {
    Footage() {
        place.write("secret", "SECRET");
        place.write("footage/film.mp4", "FILM");
        const auto storage = std::move(*Storage::open(database));
        camera = storage->cameraForFolder(fs::canonical(folder), "Yard", "UTC")->id;
        EXPECT_FALSE(storage->storeRecording(camera, {"film.mp4", 1, 1, ""}, NewRecord{1000, 2000, ""}, {}));
    }

    void tamper(const std::string& sql) const { Database(database.string()).execute(sql.c_str()); }

    void replaceFilm(const std::function<void(const char*)>& with) const {
        fs::remove(folder / "film.mp4");
        with((folder / "film.mp4").c_str());
    }

    /// What the service hands out for the recording.
    std::string film(bool followLinks = false) const {
        CameraServerOptions options;
        options.followLinks = followLinks;
        options.threads = 2;
        CameraServer server(database, options);
        const auto port = server.start();
        if (!port) return port.error().message;
        const std::string bearer = AccessToken::forDatabase(database)->issueBearer(camera, INT64_MAX);
        return httplib::Client("127.0.0.1", *port)
            .Get("/v1/cameras/" + std::to_string(camera) + "/records/1/video?access=" + bearer)
            ->body;
    }

    TempFolder place;
    const fs::path folder = place / "footage";
    const fs::path database = defaultDatabase(folder);
    std::int64_t camera = 0;
};

TEST(HostileFolder, HandsOutNothingThatLiesElsewhere) {
    EXPECT_EQ(Footage().film(), "FILM");
    const std::function<void(const Footage&)> attacks[] = {
        [](const Footage& of) { of.tamper("UPDATE sources SET path = '" + (of.place / "secret").string() + "'"); },
        [](const Footage& of) { of.tamper("UPDATE sources SET path = '../secret'"); },
        [](const Footage& of) {
            of.tamper("UPDATE sources SET path = 'secret'; UPDATE cameras SET folder = '" + of.place.path().string() +
                      "'; INSERT INTO cameras(folder, name, timezone) VALUES('/tmp', '', '')");
        },
        [](const Footage& of) { of.replaceFilm([](const char* at) { fs::create_symlink("../secret", at); }); },
        [](const Footage& of) { of.replaceFilm([&](const char* at) { fs::create_symlink(of.place / "secret", at); }); },
        [](const Footage& of) {
            fs::create_directory_symlink("..", of.folder / "up");
            of.tamper("UPDATE sources SET path = 'up/secret'");
        },
        [](const Footage& of) { of.replaceFilm([](const char* at) { ::mkfifo(at, 0600); }); },
        [](const Footage& of) { of.replaceFilm([](const char* at) { fs::create_symlink("/dev/zero", at); }); }};
    for (std::size_t i = 0; i < std::size(attacks); ++i) {
        const Footage footage;
        attacks[i](footage);
        EXPECT_NE(footage.film().find("\"code\":404"), std::string::npos) << i;
    }
    const Footage linked;
    linked.replaceFilm([](const char* at) { fs::create_symlink("../secret", at); });
    EXPECT_EQ(linked.film(true), "SECRET") << "asked for";
    linked.tamper("UPDATE sources SET path = '../secret'");
    EXPECT_NE(linked.film(true), "SECRET");
}

TEST(HostileFolder, ADataBaseThatIsNotOursIsRefusedWithAWayOut) {
    const std::string sql[] = {"CREATE TRIGGER t AFTER INSERT ON sources BEGIN DELETE FROM sources; END",
                               "CREATE VIEW v AS SELECT 1",
                               "DROP INDEX events_by_name",
                               "ALTER TABLE cameras ADD COLUMN more TEXT",
                               "PRAGMA application_id = 7",
                               "PRAGMA user_version = 99",
                               "PRAGMA user_version = 0"};
    for (const std::string& change : sql) {
        const Footage footage;
        footage.tamper(change);
        const auto opened = Storage::open(footage.database);
        ASSERT_FALSE(opened) << change;
        EXPECT_NE(opened.error().message.find("/.korvane away"), std::string::npos) << opened.error().message;
    }
    const Footage early;
    early.tamper(
        "DROP TABLE deleted_events; DROP TABLE camera_marks; PRAGMA user_version = 1; PRAGMA application_id = 0;"
        "UPDATE cameras SET folder = '/where/it/was'");
    EXPECT_EQ(early.film(), "FILM") << "made before data bases had a mark, and moved since";
    const std::function<void(const fs::path&)> files[] = {
        [](const fs::path& at) { fs::rename(at, at.string() + "2"), fs::create_symlink("camera.db2", at); },
        [](const fs::path& at) { fs::remove(at), ::mkfifo(at.c_str(), 0600); },
        [](const fs::path& at) { std::ofstream(at.string() + "-journal") << "x"; },
        [](const fs::path& at) { fs::create_symlink("/tmp/x", at.string() + "-wal"); },
        [](const fs::path& at) {
            fs::rename(at.parent_path(), at.parent_path().string() + "2");
            fs::create_symlink(".korvane2", at.parent_path());
        }};
    for (std::size_t i = 0; i < std::size(files); ++i) {
        const Footage footage;
        files[i](footage.database);
        EXPECT_FALSE(Storage::open(footage.database)) << i;
    }
}

TEST(HostileFolder, AKeyThatOthersMayKnowIsRefused) {
    const std::function<void(const fs::path&)> keys[] = {
        [](const fs::path& at) { fs::permissions(at, fs::perms(0640)); },
        [](const fs::path& at) { fs::permissions(at, fs::perms(0602)); },
        [](const fs::path& at) { fs::rename(at, at.string() + "2"), fs::create_symlink("camera.db.key2", at); },
        [](const fs::path& at) { fs::remove(at), ::mkfifo(at.c_str(), 0600); }};
    for (std::size_t i = 0; i < std::size(keys); ++i) {
        const Footage footage;
        ASSERT_TRUE(AccessToken::forDatabase(footage.database));
        keys[i](footage.database.string() + ".key");
        EXPECT_FALSE(AccessToken::forDatabase(footage.database)) << i;
    }
}

TEST(HostileFolder, BothWaysOfOpeningStayBeneath) {
    const TempFolder place;
    place.write("outside", "x");
    place.write("root/a/b", "x");
    fs::create_symlink("../outside", place / "root/out");
    fs::create_directory_symlink("..", place / "root/a/up2");
    fs::create_directory_symlink("../..", place / "root/a/up");
    const Descriptor root(::open((place / "root").c_str(), O_PATH | O_DIRECTORY));
    for (const auto open : {&openBeneath, &openStepByStep}) {
        EXPECT_TRUE(open(root.get(), "a/b", O_RDONLY));
        for (const std::string& bad :
             {std::string("../outside"), (place / "outside").string(), std::string("out"), std::string("a/up/outside"),
              std::string("a/up2/../outside"), std::string("a/../../outside"), std::string()})
            EXPECT_FALSE(open(root.get(), bad, O_RDONLY)) << bad;
    }
}

TEST(HostileFolder, ALinkThatLeadsOutIsImportedOnlyWhenAskedFor) {
    const TempFolder place;
    TestClip{2}.write(place / "elsewhere/20261118_070000.mp4");
    TestClip{2}.write(place / "footage/20261118_080000.mp4");
    fs::create_symlink("20261118_080000.mp4", place / "footage/20261118_090000.mp4");
    fs::create_symlink("../elsewhere/20261118_070000.mp4", place / "footage/20261118_070000.mp4");
    fs::create_directory_symlink("../elsewhere", place / "footage/more");
    fs::create_directory_symlink(".", place / "footage/round");
    const auto storage = std::move(*Storage::open(place / "camera.db"));
    EXPECT_EQ(importFolder(*storage, place / "footage", {})->imported.size(), 2U);
    ImportOptions options;
    options.followLinks = true;
    EXPECT_EQ(importFolder(*storage, place / "footage", options)->imported.size(), 2U);
}

}  // namespace
}  // namespace korvane
