#include <array>
#include <random>
#include <vector>

#include "korvane/apps/browser/BrowserCommandLine.h"
#include "korvane/apps/browser/LogRedaction.h"
#include "korvane/apps/browser/RecordingCatalog.h"
#include "korvane/apps/browser/RecordingsReply.h"
#include "korvane/apps/browser/ServiceWatch.h"
#include "korvane/apps/browser/SoundQueue.h"
#include "korvane/base/VirtualScheduler.h"
#include "korvane/client/IcuHelpers.h"
#include "korvane/client/Status.h"
#include "korvane/toolkit/QtScheduler.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

TEST(ServiceWatchTest, TriesAgainLessAndLessOften) {
    VirtualScheduler scheduler;
    ServiceWatch watch(scheduler);
    std::vector<std::int64_t> tries;
    const auto begin = scheduler.utcNow();
    QObject::connect(&watch, &ServiceWatch::tryAgain, [&] {
        tries.push_back((scheduler.utcNow() - begin) / 1000);
        watch.lose();
    });
    watch.lose();
    watch.lose();  // each part of the window tells of the same loss
    scheduler.advance(100s);
    EXPECT_EQ(tries, (std::vector<std::int64_t>{1, 3, 7, 15, 31, 61, 91}));
    watch.find();
    watch.tryNow();
    scheduler.advance(32s);
    EXPECT_EQ(tries.back(), 91) << "what is found is not looked for";
    watch.lose();
    scheduler.advance(1s);
    EXPECT_EQ(tries.back(), 133) << "after a while it begins anew";
    for (const int status : {StatusTransportFailed + 0, StatusTimedOut + 0, 502, 504})
        EXPECT_TRUE(ServiceWatch::isLoss(status)) << status;
    for (const int status : {0, StatusTokenExpired + 0, 401, 500}) EXPECT_FALSE(ServiceWatch::isLoss(status)) << status;
}

TEST(SoundQueue, IsHeardAtItsMomentAndWithoutHolesWhileItFlows) {
    constexpr int piece = 21;  // ms
    constexpr int perMs = SoundQueue::rate / 1000;
    SoundQueue queue;
    // Each sample tells its ms; from 2000 to 3000 there is silence.
    for (int at = 1; at < 6'000; at += piece) {
        if (at > 2'000 && at < 3'000) continue;
        std::vector<std::int16_t> samples;
        for (int i = 0; i < piece * perMs; ++i)
            samples.insert(samples.end(), 2, static_cast<std::int16_t>(at + i / perMs));
        queue.add(at, std::move(samples));
    }
    std::array<std::int16_t, 10 * perMs * 2> heard{};
    std::minstd_rand random(3);
    int before = 0;
    for (int at = 100; at < 5'500; at += 10) {
        if (at == 4'000) at = 4'600;
        queue.take(at + static_cast<int>(random() % 11) - 5, heard);
        const int first = heard.front();
        if (at > 2'100 && at < 2'900) {
            EXPECT_EQ(first, 0) << at;
        } else if (first != 0) {
            EXPECT_NEAR(first, at, 60);
            const bool flows = before != 0 && at != 4'600;
            EXPECT_TRUE(!flows || std::abs(first - before - 10) <= 1) << at;
        }
        before = first;
    }
    queue.clear();
    queue.take(5'600, heard);
    EXPECT_EQ(heard, decltype(heard){});
}

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

TEST(BrowserCommandLine, TakesAFolderOrAToken) {
    const auto read = [](const std::vector<std::string>& words, const std::string& token = "") {
        const auto line = readBrowserCommandLine(words, token);
        return line.arguments.folder.value_or("").string() + "|" + line.arguments.token + "|" +
               line.arguments.capture.value_or("").string() + line.error;
    };
    EXPECT_EQ(read({"--capture=out", "films"}), "films||out");
    EXPECT_EQ(read({"films", "--capture", "out"}, "abc"), "films||out");
    EXPECT_EQ(read({"--token=a=b"}), "|a=b|");
    EXPECT_EQ(read({"--", "-films"}), "-films||");
    EXPECT_EQ(read({}), "||") << "the window asks";
    EXPECT_EQ(read({"--capture", "out"}, "abc"), "|abc|out");
    EXPECT_EQ(read({"--token", "-"}, "abc"), "|-|");
}

TEST(BrowserCommandLine, SaysWhatIsWrongWithoutTheToken) {
    const std::vector<std::string> cases[] = {
        {"a", "b"},           {"--token="},           {"films", "--token", "s3cret"},
        {"--tokens=s3cret"},  {"films", "--capture"}, {"films", "--size=390x844x2"},
        {"--capture", "out"},
    };
    for (const auto& words : cases) {
        const auto line = readBrowserCommandLine(words);
        EXPECT_NE(line.error, "") << words.size();
        EXPECT_EQ(line.error.find("s3cret"), std::string::npos) << line.error;
    }
}

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
                               {200, Kind::Inside, 1, 200},
                               {201, Kind::Inside, 2, 201},
                               {301, Kind::Gap, 3, 500},
                               {650, Kind::Inside, 3, 650},
                               {870, Kind::Inside, 5, 870},
                               {1001, Kind::Unknown, 0, 0},
                           });
    catalog.clear();
    // Out of order, and one that ends before it starts.
    catalog.add(1000, {recording(2, 2000, 2100), recording(9, 1500, 1400), recording(1, 1000, 1100)}, false);
    expectAnswers(catalog, {{1050, Kind::Inside, 1, 1050}, {1450, Kind::Gap, 2, 2000}});
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

TEST(RecordingsReply, TakesWhatIsWholeAndPassesOverTheRest) {
    QtScheduler scheduler;
    const IcuHelpers helpers(scheduler);
    const Reply reply = Reply::parse(R"({"meta": {"total_count": 9}, "objects": [
        {"ID": 3, "Start": "2026-11-18T07:00:00.000Z", "end": "2026-11-18T07:00:03.500Z", "url": "http://h/3"},
        {"id": 5, "start": "soon", "end": "2026-11-18T08:00:03Z", "url": "http://h/5"},
        {"id": 7, "start": "2026-11-18T08:00:00Z", "end": "2026-11-18T08:00:03Z", "url": ""}, null, 1, []]})");
    const RecordingsPage page = readRecordings(reply, helpers);
    ASSERT_EQ(page.recordings.size(), 1U);
    EXPECT_EQ(page.recordings[0].end - page.recordings[0].start, 3500);
    EXPECT_TRUE(page.hasMore);
    for (const char* text : {"null", "7", R"({"objects": {}})", R"({"meta": 1, "objects": []})"})
        EXPECT_TRUE(readRecordings(Reply::parse(text), helpers).recordings.empty()) << text;
}

}  // namespace
}  // namespace korvane::test
