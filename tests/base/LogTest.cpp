#include "korvane/base/Log.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace korvane {
namespace {

class LogTest : public ::testing::Test {
  protected:
    ~LogTest() override {
        setLogSink(before);
        KSDK_LogLevel = 0;
    }

    std::vector<std::string> lines;
    const LogSink before = setLogSink([this](std::string_view line) { lines.emplace_back(line); });
};

TEST_F(LogTest, TracesFromTheirLevelOn) {
    const std::vector<std::string> all = {"View: one 1", "View: three", "View: Cell: seven 0.5"};
    for (const auto& [level, count] : std::map<int, int>{{-1, 0}, {0, 0}, {1, 1}, {2, 1}, {3, 2}, {7, 3}}) {
        lines.clear();
        KSDK_LogLevel = level;
        trace(1, "View", "one ", 1);
        trace(3, "View", "three");
        trace(7, "View: Cell", "seven ", 0.5);
        EXPECT_EQ(lines, std::vector(all.begin(), all.begin() + count)) << "level " << level;
    }
}

TEST_F(LogTest, ErrorsComeAtEveryLevelAndStayOnOneLine) {
    logError("Provider: fill", "broken\r\nProvider: forged");
    EXPECT_EQ(lines, std::vector<std::string>{"Provider: fill: broken  Provider: forged"});
}

TEST_F(LogTest, SinkMayLogThrowAndReplaceItself) {
    setLogSink([this](std::string_view line) {
        lines.emplace_back(line);
        setLogSink([](std::string_view) { throw std::runtime_error("full"); });
        logError("inner", "dropped");
    });
    EXPECT_NO_THROW(logError("outer", "kept"));
    EXPECT_EQ(lines, std::vector<std::string>{"outer: kept"});
}

}  // namespace
}  // namespace korvane
