#include "base/Log.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace korvane {
namespace {

class LogTest : public ::testing::Test {
  protected:
    void SetUp() override {
        before_ = setLogSink([this](std::string_view line) { lines.emplace_back(line); });
    }
    void TearDown() override {
        setLogSink(before_);
        KSDK_LogLevel = 0;
    }

    std::vector<std::string> lines;

  private:
    LogSink before_;
};

TEST_F(LogTest, TracesFromTheirLevelOn) {
    const struct {
        int level;
        std::vector<std::string> lines;
    } cases[] = {
        {-1, {}},
        {0, {}},
        {1, {"View: one 1"}},
        {3, {"View: one 1", "View: three"}},
        {7, {"View: one 1", "View: three", "View: Cell: seven 0.5"}},
    };
    for (const auto& c : cases) {
        lines.clear();
        KSDK_LogLevel = c.level;
        trace(1, "View", "one ", 1);
        trace(3, "View", "three");
        trace(7, "View: Cell", "seven ", 0.5);
        EXPECT_EQ(lines, c.lines) << "level " << c.level;
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
