// Every call to the disk fails once, in a typical use from the first import on.
#include "korvane/tests/server/FailingDisk.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <algorithm>

#include "korvane/base/Log.h"
#include "korvane/film/FilmHelper.h"
#include "korvane/server/AccessToken.h"
#include "korvane/server/Api.h"
#include "korvane/server/Database.h"
#include "korvane/server/Importer.h"
#include "korvane/server/Storage.h"
#include "korvane/tests/server/TempFolder.h"
#include "korvane/tests/server/TestClip.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;

/// A use of the service, step by step. Each step gives what is wrong, in words, or nothing.
class Use {
  public:
    Use(const fs::path& film, FilmHelper& films) : films_(films) {
        fs::create_directories(footage_);
        fs::copy_file(film, footage_ / "20261118_070500.mp4");
        place_.write("footage/events.json", R"([{"time":"2026-11-18T07:05:00.500Z","name":"bell"},
            {"time":"2026-11-18T07:05:00.500Z","name":"bell"}, {"time":"2026-11-18T07:05:01Z","name":"gate"}])");
        setLogSink([this](std::string_view line) { log_.emplace_back(line); });
    }
    ~Use() { setLogSink({}); }

    static constexpr int steps = 6;

    std::string run(int step) {
        if (step == 0) return open();
        if (step == 1) return import();
        if (step == 2) return ask("GET", "/events");
        if (step == 3) return ask("DELETE", "/events/1");
        if (step == 4) return ask("GET", "/records");
        return ask("GET", "/timeline");
    }

    std::vector<std::string> takeLog() { return std::exchange(log_, {}); }

    /// All that is stored, as lines.
    std::vector<std::string> stored() {
        storage_.reset();
        std::vector<std::string> lines;
        Database database((place_ / "camera.db").string());
        for (const char* sql :
             {"PRAGMA integrity_check", "SELECT camera, time, name, thumbnail FROM events",
              "SELECT camera, start, end, thumbnail FROM records", "SELECT path, rejection FROM sources",
              "SELECT path, time, name FROM deleted_events", "SELECT id FROM thumbnails"}) {
            Query query = database.query(sql);
            while (query.step())
                lines.push_back(query.text(0) + " " + query.text(1) + " " + query.text(2) + " " + query.text(3));
        }
        return lines;
    }

    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(place_.path()))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

  private:
    std::string open() {
        auto opened = Storage::open(place_ / "camera.db");
        if (!opened) return opened.error().message;
        storage_ = std::move(*opened);
        return {};
    }

    std::string import() {
        ImportOptions options;
        options.threads = 1;
        options.films = &films_;
        const auto report = importFolder(*storage_, footage_, options);
        return report ? std::string() : report.error().message;
    }

    std::string ask(const char* method, const char* path) {
        httplib::Request request;
        request.method = method;
        request.path = std::string("/v1/cameras/1") + path;
        request.headers.emplace("Authorization", "Bearer " + tokens_.issueBearer(1, 10));
        httplib::Response response;
        Api(
            *storage_, tokens_, [] { return 0; }, false)
            .answer(request, response);
        return response.status == 200 ? std::string() : response.body;
    }

    FilmHelper& films_;
    TempFolder place_;
    const fs::path footage_ = place_ / "footage";
    const AccessToken tokens_{"secret"};
    std::unique_ptr<Storage> storage_;
    std::vector<std::string> log_;
};

class FailingDiskTest : public testing::TestWithParam<int> {
  protected:
    static void SetUpTestSuite() {
        folder = new TempFolder;
        TestClip clip{1, {}};
        clip.width = 64;
        clip.height = 36;
        clip.write(*folder / "film.mp4");
    }
    static void TearDownTestSuite() { delete folder; }

    static inline TempFolder* folder = nullptr;
    FilmHelper films;
};

TEST_P(FailingDiskTest, LosesAndDoublesNothingAndTheNextTryWorks) {
    std::vector<std::string> expected;
    std::vector<std::string> files;
    {
        Use use(*folder / "film.mp4", films);
        for (int step = 0; step < Use::steps; ++step) ASSERT_EQ(use.run(step), "") << step;
        files = use.files();
        expected = use.stored();
        ASSERT_EQ(expected.front(), "ok   ");
    }
    bool isReached = true;
    for (int call = 1; isReached; ++call) {
        SCOPED_TRACE(call);
        FailingDisk disk;
        Use use(*folder / "film.mp4", films);
        disk.failAt(call, GetParam());
        for (int step = 0; step < Use::steps; ++step) {
            const std::string failure = use.run(step);
            const auto log = use.takeLog();
            // An import and an opening tell it by their result.
            EXPECT_EQ(log.size(), failure.empty() || step < 2 ? 0U : 1U)
                << failure << (log.empty() ? "" : "; " + log.front());
            if (failure.empty()) continue;
            EXPECT_GT(failure.size(), 10U);
            ASSERT_EQ(use.run(step), "") << "step " << step << " again, after: " << failure;
        }
        isReached = disk.hasFailed();
        EXPECT_EQ(use.files(), files);
        EXPECT_EQ(use.stored(), expected);
        if (HasFailure()) break;
    }
}

INSTANTIATE_TEST_SUITE_P(Codes, FailingDiskTest, testing::Values(SQLITE_IOERR, SQLITE_FULL));

}  // namespace
}  // namespace korvane
