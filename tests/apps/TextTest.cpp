#include <gtest/gtest.h>

#include "korvane/apps/browser/LogRedaction.h"
#include "korvane/apps/browser/StatusText.h"
#include "korvane/client/Status.h"

namespace korvane {
namespace {

TEST(Redacted, HidesWhatOpensACamera) {
    for (const auto& [text, expected] : std::vector<std::pair<std::string, std::string>>{
             {"", ""},
             {"all is well", "all is well"},
             {"cannot open http://h/v?access=abc-_.D%3D", "cannot open http://h/v?access=..."},
             {"\"http://h/v?access=abc&limit=1\" and access=x.", "\"http://h/v?access=...&limit=1\" and access=..."},
             {"access=", "access=..."},
         }) {
        EXPECT_EQ(redacted(text), expected);
    }
}

TEST(StatusText, WritesCountsAndDurations) {
    EXPECT_EQ(countText(0, "event"), "0 events");
    EXPECT_EQ(countText(1, "recording"), "1 recording");
    EXPECT_EQ(countText(1'000'000, "event"), "1,000,000 events");
    for (const auto& [duration, expected] : std::vector<std::pair<std::int64_t, QString>>{
             {0, "0 s"},
             {59'999, "59 s"},
             {60'000, "1 min"},
             {3'600'000, "1 h"},
             {3'900'000, "1 h 5 min"},
             {47LL * 3'600'000, "47 h"},
             {48LL * 3'600'000, "2 days"},
         }) {
        EXPECT_EQ(durationText(duration), expected);
    }
}

TEST(EventText, NamesEventsForAPerson) {
    ScrubberEvent::Fields event;
    EXPECT_EQ(eventText(event), "");
    event.name = "line_crossing";
    EXPECT_EQ(eventText(event), "Line crossing");
    for (const char* name : {"motion", "doorbell", "motion"}) {
        event.childs.push_back(ScrubberEvent::build());
        event.childs.back()->setName(name);
    }
    EXPECT_EQ(eventText(event), "Motion, Doorbell");
}

}  // namespace
}  // namespace korvane
