// Every access of an import to its folder fails once: nothing is lost, one message says why, and the next import works.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "korvane/base/Log.h"
#include "korvane/film/FilmHelper.h"
#include "korvane/server/AccessToken.h"
#include "korvane/server/Api.h"
#include "korvane/server/Database.h"
#include "korvane/server/Importer.h"
#include "korvane/server/Storage.h"
#include "korvane/tests/server/FailingDisk.h"
#include "korvane/tests/server/TempFolder.h"
#include "korvane/tests/server/TestClip.h"

namespace {

// Of this thread. 0: none fails.
thread_local int accessesLeft = 0;
thread_local std::string_view placeOfFailure;
thread_local int codeOfFailure = 0;

bool fails(std::string_view path, int code) {
    // The data base itself has a test of its own.
    const bool isData = path.find("/camera.db") != path.npos && !path.ends_with(".import");
    if (!path.starts_with(placeOfFailure) || isData || --accessesLeft > 0) return false;
    errno = codeOfFailure = code;
    return true;
}

bool fails(int file, int code) {
    std::array<char, 4096> path{};
    const ssize_t length = ::readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), path.data(), path.size());
    return length > 0 && fails(std::string_view(path.data(), static_cast<std::size_t>(length)), code);
}

/// Fails with `code`, or calls the function of that name that this program's own hides.
template <typename Value, typename Place, typename... Arguments>
Value call(const char* name, int code, Place place, Value failure, Arguments... arguments) {
    if (accessesLeft > 0 && fails(place, code)) return failure;
    return reinterpret_cast<Value (*)(Arguments...)>(::dlsym(RTLD_NEXT, name))(arguments...);
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {
int open(const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return call("open", EMFILE, path, -1, path, flags, mode);
}
int openat(int folder, const char* path, int flags, ...) {
    return call("openat", EMFILE, folder, -1, folder, path, flags);
}
int __openat_2(int folder, const char* path, int flags) {
    return call("openat", EMFILE, folder, -1, folder, path, flags);
}
long syscall(long number, ...) noexcept {
    std::array<long, 6> words{};
    va_list more;
    va_start(more, number);
    for (long& word : words) word = va_arg(more, long);
    va_end(more);
    const auto [a, b, c, d, e, f] = words;
    const int folder = number == SYS_openat2 ? static_cast<int>(a) : -1;
    return call("syscall", EMFILE, folder, -1L, number, a, b, c, d, e, f);
}
DIR* fdopendir(int folder) {
    return call("fdopendir", ENOMEM, folder, static_cast<DIR*>(nullptr), folder);
}
dirent* readdir(DIR* folder) {
    return call("readdir", EIO, ::dirfd(folder), static_cast<dirent*>(nullptr), folder);
}
int fstat(int file, struct stat* info) noexcept {
    return call("fstat", EIO, file, -1, file, info);
}
int stat(const char* path, struct stat* info) noexcept {
    return call("stat", EIO, path, -1, path, info);
}
int lstat(const char* path, struct stat* info) noexcept {
    return call("lstat", EIO, path, -1, path, info);
}
char* realpath(const char* path, char* real) noexcept {
    return call("realpath", EIO, path, static_cast<char*>(nullptr), path, real);
}
int flock(int file, int operation) noexcept {
    return call("flock", EIO, file, -1, file, operation);
}
ssize_t read(int file, void* bytes, std::size_t count) {
    return call("read", EIO, file, ssize_t{-1}, file, bytes, count);
}
ssize_t write(int file, const void* bytes, std::size_t count) {
    return call("write", ENOSPC, file, ssize_t{-1}, file, bytes, count);
}
int mkdir(const char* path, mode_t mode) noexcept {
    return call("mkdir", ENOSPC, path, -1, path, mode);
}
int mkostemp(char* path, int flags) {
    return call("mkostemp", ENOSPC, path, -1, path, flags);
}
int link(const char* from, const char* to) noexcept {
    return call("link", ENOSPC, to, -1, from, to);
}
}
#pragma GCC visibility pop

namespace korvane {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

class FailingFolderTest : public testing::Test {
  protected:
    FailingFolderTest() {
        options.threads = 1;
        options.films = &films;
        setLogSink([this](std::string_view line) { log.emplace_back(line); });
    }
    ~FailingFolderTest() override { setLogSink({}); }

    /// Puts `copy` where the imports work, with times by which its files are known again.
    void lay(const fs::path& copy) const {
        fs::remove_all(place);
        fs::copy(copy, place, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        for (const auto& entry : fs::recursive_directory_iterator(place))
            if (!entry.is_symlink()) fs::last_write_time(entry.path(), fs::file_time_type{});
    }

    /// With the `call`-th access failing, 1 and up. Gives what the import tells of failures.
    Lines import(const fs::path& folder, int call = 0) {
        const auto storage = std::move(*Storage::open(place / "camera.db"));
        placeOfFailure = place.native();
        codeOfFailure = 0;
        accessesLeft = call;
        const auto report = importFolder(*storage, folder, options);
        accessesLeft = 0;
        Lines told = std::exchange(log, {});
        if (!report) told.push_back(report.error().message);
        for (std::size_t i = 0; report && i < report->rejected.size(); ++i)
            told.push_back(report->rejected[i].file + " " + report->rejected[i].reason);
        return told;
    }

    /// All that is stored, as lines in order: with its numbers, or only what it says.
    Lines stored(bool isNumbered) const {
        Lines lines;
        Database database((place / "camera.db").string());
        for (const char* sql :
             {"SELECT id, name, timezone, folder FROM cameras", "SELECT id, path, time, name FROM deleted_events",
              "SELECT events.id, time, name, hex(jpeg) FROM events LEFT JOIN thumbnails t ON thumbnail = t.id",
              "SELECT records.id, start, end, hex(jpeg) FROM records LEFT JOIN thumbnails t ON thumbnail = t.id",
              "SELECT id, path, rejection, '' FROM sources", "SELECT id, hex(jpeg), '', '' FROM thumbnails"}) {
            Query query = database.query(sql);
            while (query.step())
                lines.push_back((isNumbered ? query.text(0) : "") + "|" + query.text(1) + "|" + query.text(2) + "|" +
                                query.text(3));
        }
        std::sort(lines.begin(), lines.end());
        return lines;
    }

    void failEach(const fs::path& copy, const fs::path& folder) {
        lay(copy);
        const Lines before = stored(true);
        ASSERT_EQ(import(folder), Lines());
        const Lines expected = stored(false);
        const Lines after = stored(true);
        Lines staying;
        std::set_intersection(before.begin(), before.end(), after.begin(), after.end(), std::back_inserter(staying));
        const auto keeps = [&] {
            const Lines now = stored(true);
            return std::includes(now.begin(), now.end(), staying.begin(), staying.end());
        };
        bool isReached = true;
        for (int call = 1; isReached && !HasFailure(); ++call) {
            lay(copy);
            const Lines told = import(folder, call);
            isReached = codeOfFailure != 0;
            SCOPED_TRACE(std::to_string(call) + " " + testing::PrintToString(told));
            // What went well in another way need not be told.
            EXPECT_EQ(told.size(), told.empty() && stored(false) == expected ? 0U : 1U);
            for (const std::string& message : told)
                EXPECT_NE(message.find(std::strerror(codeOfFailure)), std::string::npos);
            EXPECT_TRUE(keeps());
            EXPECT_EQ(import(folder), Lines());
            EXPECT_TRUE(keeps());
            EXPECT_EQ(stored(false), expected);
            EXPECT_EQ(marks(), 1);
        }
    }

    std::int64_t marks() const {
        Database database((place / "camera.db").string());
        Query query = database.query("SELECT count(*) FROM camera_marks");
        query.step();
        return query.integer(0);
    }

    TempFolder own;
    const fs::path place = own / "place";
    const FailingDisk disk;  // none of whose calls fails, and which waits for no platter
    FilmHelper films;
    ImportOptions options;
    Lines log;
};

TEST_F(FailingFolderTest, LosesNothingAndTheNextImportGivesTheSame) {
    TestClip clip{1, {}};
    clip.width = 64;
    clip.height = 36;
    clip.write(own / "first/footage/more/20261118_080000.mp4");
    own.write("first/footage/camera.json", R"({"name":"Porch","timezone":"Asia/Tokyo"})");
    own.write("first/footage/events.json", R"([{"time":"2026-11-18T07:00:00Z","name":"bell"}])");
    own.write("first/footage/more/.list", R"([{"time":"2026-11-18T08:00:00Z","name":"gate"},
        {"time":"2026-11-18T09:00:00Z","name":"bell"}, {"time":"2026-11-18T10:00:00Z","name":"bell"}])");
    fs::create_symlink(".list", own / "first/footage/more/events.json");
    ASSERT_TRUE(Storage::open(own / "first/camera.db"));
    failEach(own / "first", place / "footage");
    if (HasFailure()) return;
    // What a first import has left, with its folder moved, other events and a list that is gone.
    ASSERT_TRUE(*std::move(*Storage::open(place / "camera.db"))->deleteEvent(1, 3));
    fs::rename(place / "footage", place / "moved");
    fs::remove(place / "moved/events.json");
    std::ofstream(place / "moved/more/.list") << R"([{"time":"2026-11-18T08:00:00Z","name":"gate"},
        {"time":"2026-11-18T09:00:00Z","name":"bell"}, {"time":"2026-11-18T10:00:00Z","name":"bell"},
        {"time":"2026-11-18T11:00:00Z","name":"late"}])";
    fs::rename(place, own / "second");
    failEach(own / "second", place / "moved");
}

TEST_F(FailingFolderTest, AFilmIsGoneOnlyWhereItIs) {
    own.write("place/film.mp4", "FILM");
    const auto storage = std::move(*Storage::open(own / "camera.db"));
    const auto camera = storage->cameraForFolder(fs::canonical(place), "Yard", "UTC")->id;
    ASSERT_FALSE(storage->storeRecording(camera, {"film.mp4", 4, 1, ""}, NewRecord{1000, 2000, ""}, {}));
    const AccessToken tokens("secret");
    Api api(
        *storage, tokens, [] { return 0; }, false);
    placeOfFailure = place.native();
    for (int call = 1;; ++call) {
        httplib::Request request;
        request.method = "GET";
        request.path = "/v1/cameras/" + std::to_string(camera) + "/records/1/video";
        request.headers.emplace("Authorization", "Bearer " + tokens.issueBearer(camera, 1));
        httplib::Response response;
        codeOfFailure = 0;
        accessesLeft = call;
        api.answer(request, response);
        accessesLeft = 0;
        EXPECT_TRUE(response.status == 200 || (codeOfFailure != 0 && response.status == 503)) << call << response.body;
        if (codeOfFailure == 0) break;
    }
}

}  // namespace
}  // namespace korvane
