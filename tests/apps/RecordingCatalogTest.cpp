#include <gtest/gtest.h>

#include "korvane/apps/browser/RecordingCatalog.h"
#include "korvane/apps/browser/RecordingsReply.h"
#include "korvane/client/IcuHelpers.h"
#include "korvane/toolkit/QtScheduler.h"

namespace korvane {
namespace {

using Kind = RecordingCatalog::Kind;

Recording recording(std::int64_t id, TimeMs start, TimeMs end) {
    return {id, start, end, "http://127.0.0.1/" + std::to_string(id)};
}

struct Case {
    TimeMs moment;
    Kind kind;
    std::int64_t id;
    TimeMs position;
};

void expectAnswers(const RecordingCatalog& catalog, const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        const auto answer = catalog.find(c.moment);
        EXPECT_EQ(answer.kind, c.kind) << c.moment;
        if (answer.kind == Kind::Unknown) continue;
        EXPECT_EQ(answer.recording.id, c.id) << c.moment;
        EXPECT_EQ(answer.position, c.position) << c.moment;
    }
}

TEST(RecordingCatalog, FindsTheRecordingOfAMomentOrTheNextOne) {
    RecordingCatalog catalog;
    // 1 and 2 touch, a gap, then 3, within which lies 4, and 5 overlaps the end of 3.
    catalog.add(150,
                {recording(1, 100, 200), recording(2, 201, 300), recording(3, 500, 900), recording(4, 600, 700),
                 recording(5, 850, 1000)},
                false);
    expectAnswers(catalog, {
                               {149, Kind::Unknown, 0, 0},
                               {150, Kind::Inside, 1, 150},
                               {200, Kind::Inside, 1, 200},
                               {201, Kind::Inside, 2, 201},
                               {300, Kind::Inside, 2, 300},
                               {301, Kind::Gap, 3, 500},
                               {499, Kind::Gap, 3, 500},
                               {650, Kind::Inside, 3, 650},
                               {870, Kind::Inside, 5, 870},
                               {901, Kind::Inside, 5, 901},
                               {1000, Kind::Inside, 5, 1000},
                               {1001, Kind::Unknown, 0, 0},
                           });
}

TEST(RecordingCatalog, KnowsNothingPastAPageThatIsNotTheLast) {
    RecordingCatalog catalog;
    catalog.add(0, {recording(1, 100, 200), recording(2, 300, 400)}, true);
    expectAnswers(catalog, {{0, Kind::Gap, 1, 100}, {299, Kind::Gap, 2, 300}, {300, Kind::Unknown, 0, 0}});
    catalog.add(300, {recording(2, 300, 400), recording(3, 500, 600)}, false);
    expectAnswers(catalog, {{350, Kind::Inside, 2, 350}, {450, Kind::Gap, 3, 500}, {601, Kind::Unknown, 0, 0}});
    catalog.clear();
    expectAnswers(catalog, {{350, Kind::Unknown, 0, 0}});
}

TEST(RecordingCatalog, BearsOddPages) {
    RecordingCatalog catalog;
    catalog.add(0, {}, true);
    EXPECT_EQ(catalog.find(0).kind, Kind::Unknown);
    // Out of order, one that ends before it starts, and a page that is full of one start.
    catalog.add(1000, {recording(2, 2000, 2100), recording(9, 1500, 1400), recording(1, 1000, 1100)}, false);
    expectAnswers(catalog, {{1050, Kind::Inside, 1, 1050}, {1450, Kind::Gap, 2, 2000}});
    catalog.add(5000, {recording(7, 5000, 5100), recording(8, 5000, 5200)}, true);
    expectAnswers(catalog, {{5000, Kind::Inside, 8, 5000}, {5001, Kind::Unknown, 0, 0}});
    for (int page = 0; page < 1000; ++page) catalog.add(10'000 + page, {recording(page, 10'000 + page, 99'999)}, false);
    EXPECT_EQ(catalog.find(50'000).recording.id, 999);
}

TEST(RecordingsReply, TakesWhatIsWholeAndPassesOverTheRest) {
    QtScheduler scheduler;
    const IcuHelpers helpers(scheduler);
    const Reply reply = Reply::parse(R"({"meta": {"total_count": 9}, "objects": [
        {"ID": 3, "Start": "2026-11-18T07:00:00.000Z", "end": "2026-11-18T07:00:03.500Z", "url": "http://h/3"},
        {"id": "x", "start": "2026-11-18T08:00:00Z", "end": "2026-11-18T08:00:03Z", "url": "http://h/4"},
        {"id": 5, "start": "soon", "end": "2026-11-18T08:00:03Z", "url": "http://h/5"},
        {"id": 6, "start": "2026-11-18T08:00:00Z", "end": 7, "url": "http://h/6"},
        {"id": 7, "start": "2026-11-18T08:00:00Z", "end": "2026-11-18T08:00:03Z", "url": ""}, null, 1, []]})");
    const RecordingsPage page = readRecordings(reply, helpers);
    ASSERT_EQ(page.recordings.size(), 2U);
    EXPECT_EQ(page.recordings[0].id, 3);
    EXPECT_EQ(page.recordings[0].end - page.recordings[0].start, 3500);
    EXPECT_EQ(page.recordings[1].url, "http://h/4");
    EXPECT_TRUE(page.hasMore);
    for (const char* text : {"null", "[]", "7", "{}", R"({"objects": {}})", R"({"meta": 1, "objects": []})",
                             R"({"meta": {"total_count": "many"}, "objects": []})"}) {
        const RecordingsPage odd = readRecordings(Reply::parse(text), helpers);
        EXPECT_TRUE(odd.recordings.empty()) << text;
        EXPECT_FALSE(odd.hasMore) << text;
    }
}

}  // namespace
}  // namespace korvane
