// Keeps the rule that time and threads' waits come from a Scheduler: looks at the sources for what goes around it.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// A match names its line; comments do not count.
const std::regex& banned() {
    static const std::regex pattern(
        R"((^|[^A-Za-z0-9_])(now|sleep|usleep|nanosleep|msleep|clock_gettime|gettimeofday|difftime)\s*\()"
        R"(|\btime\s*\(\s*(nullptr|NULL|0|&))"
        R"(|sleep_for|sleep_until|wait_for\b|wait_until|try_lock_for|try_lock_until|timed_wait)"
        R"(|\bQTimer\b|\bQBasicTimer\b|\bQElapsedTimer\b|\bQDeadlineTimer\b|\bstartTimer\s*\(|\bTimer\s*\{)"
        R"(|currentMSecsSinceEpoch|currentSecsSinceEpoch|currentDateTime)"
        R"(|\bqWait\w*|\bqSleep\b|\bQTRY_\w+)");
    return pattern;
}

bool breaksTheRule(const std::string& line) {
    return std::regex_search(line.substr(0, line.find("//")), banned());
}

std::vector<std::string> offences(const fs::path& root) {
    // Programs of their own and the two rooms that make the clocks are exempt.
    static const std::set<std::string> rooms = {"calendar", "client", "fuzz", "tests", "views"};
    static const std::set<std::string> kinds = {".cpp", ".h", ".qml", ".js"};
    std::vector<std::string> found;
    for (const auto& room : rooms) {
        std::error_code missing;
        for (const auto& entry : fs::recursive_directory_iterator(root / room, missing)) {
            const std::string name = fs::relative(entry.path(), root).generic_string();
            if (name.starts_with("tests/base/") || !kinds.count(entry.path().extension().string())) continue;
            std::ifstream file(entry.path());
            for (std::string line; std::getline(file, line);) {
                if (breaksTheRule(line)) found.push_back(name + ": " + line);
            }
        }
    }
    return found;
}

TEST(NoRealTime, LooksForTheRightWords) {
    for (const char* line : {"auto t = std::chrono::steady_clock::now();", "std::this_thread::sleep_for(1s);",
                             "    sleep(1);", "condition.wait_for(lock, 1s);", "auto t = std::time(nullptr);",
                             "QTimer::singleShot(0, [] {});", "QTRY_COMPARE(a, b);", "    Timer { interval: 5 }",
                             "let t = Date.now()", "QDateTime::currentDateTimeUtc()"}) {
        EXPECT_TRUE(breaksTheRule(line)) << line;
    }
}

TEST(NoRealTime, NobodyGoesAroundTheScheduler) {
    const fs::path root = KORVANE_SOURCE_DIR;
    ASSERT_TRUE(fs::exists(root / "base" / "Scheduler.h"));
    EXPECT_EQ(offences(root), std::vector<std::string>{});
}

}  // namespace
