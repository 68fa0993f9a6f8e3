#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>

#include "korvane/base/Log.h"
#include "korvane/base/SaturatingTime.h"
#include "korvane/base/UtcTime.h"
#include "korvane/base/VirtualScheduler.h"
#include "korvane/client/IcuHelpers.h"
#include "korvane/tests/views/RulerHost.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderProgressLayer.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderScaleLayer.h"

namespace korvane::test {
namespace {

constexpr TimeSec length = RulerSectors::sectorLength;
using Pairs = std::vector<TimelinePair>;

/// A back layer with ticks 60 points apart, and the times of the texts that it has asked for.
struct Back : TimelineSliderScaleLayer {
    explicit Back(double width) {
        setFrame({0, 0, width, 40});
        setStrokeStepWidth(60);
        setTimeFormatter([this](TimeSec time, auto&, auto&) { return QString::number(*asked.insert(time)); });
    }
    std::multiset<TimeSec> asked;
};

TEST(TimelineSliderScaleLayer, DrawsTicksAndAxis) {
    Back layer(130);
    layer.setCenterTime(1060);
    layer.setLineWidth(3);
    EXPECT_EQ(drawn(layer, "path"),
              "path move 30,10 line 30,20\npath move 30,30 line 30,20\npath move 90,10 line 90,20\n"
              "path move 90,30 line 90,20\npath move 11.5,20 line 118.5,20\n");
}

TEST(TimelineSliderScaleLayer, LaysOutATextOnceWhileItIsInView) {
    Back layer(800);
    layer.setCenterTime(1000);
    drawn(layer);
    const auto first = layer.asked.size();
    layer.setCenterTime(1060);
    drawn(layer);
    EXPECT_EQ(layer.asked.size(), first + 1);
}

TEST(TimelineSliderScaleLayer, WritesTrueTimesInItsZone) {
    VirtualScheduler scheduler;
    setenv("TZ", "Asia/Kolkata", 1);
    const std::tuple<const char*, const char*, float, int, int, const char*> rows[] = {
        {"2026-03-08T07", "America/New_York", 60, 0, 0, "00 39,32; 01 99,0; 03 159,32; 04 219,0; 05 279,32; "},
        {"2026-11-01T06", "America/New_York", 60, 0, 1, "00 39,0; 01 99,0; 01 159,0; 02 219,0; 03 279,0; "},
        {"2026-03-29T01", "Europe/Berlin", 20, 1, 2, "0120 33,32; 0300 153,32; 0340 273,32; "},
        {"2026-06-01T12", "Nowhere/Land", 1, 1, 7, "1728 33,0; 1730 153,0; 1732 273,0; "},
        {"2026-06-01T12", "", 120, 1, 0, "1330 33,32; 1730 153,32; 2130 273,32; "},
        {"2026-06-01T12", "UTC", 0.01F, 0, 0, ""}};
    for (const auto& [center, zone, scale, naming, position, labels] : rows) {
        Back layer(320);
        layer.setTimeFormatter(TimelineSliderScaleLayer::formatterOf(std::make_shared<IcuHelpers>(scheduler)));
        layer.setTimeFormat(scale == 60 ? "HH" : "HHmm");
        layer.setTimeZone(zone);
        layer.setCenterTime(*parseUtc(std::string(center) + ":00:00Z") / 1000);
        layer.setTimeScale(scale);
        layer.setStrokeTextNamingType(naming);
        layer.setStrokeTextPositionType(position);
        QString seen;
        for (const QString& line : QString::fromStdString(drawn(layer, "text")).split(u'\n', Qt::SkipEmptyParts)) {
            seen += line.section(u'\'', 1, 1) + u' ' + line.section(u' ', 3, 3) + "; ";
        }
        EXPECT_EQ(seen.toStdString(), labels) << center << zone;
    }
    unsetenv("TZ");
}

/// A front layer over 1000 to 1310, a second a point, with who owns it.
struct Front : RulerHost {
    explicit Front(TimeSec now = 1'700'000'000) : layer(std::make_shared<VirtualScheduler>(1, now * 1000)) {
        layer.setFrame({0, 0, 320, 40});
        layer.setCenterTime(1155);
        layer.setTrackWidth(4);
        layer.setRecords(sectors);
        layer.setTimelineDelegate(this);
    }
    void answer(TimeSec start, Pairs periods, bool isFailure = false) {
        sectors->updateTimeline(start, start + length);
        const auto ms = [](TimeSec time) { return saturatingMultiply(time, 1000); };
        auto timeline = std::make_shared<Timeline>(ms(start), ms(start + length));
        for (TimelinePair& p : periods) p = {ms(p.start()), ms(p.end())};
        timeline->setPeriods(periods);
        sectors->answer({start, 0}, isFailure ? nullptr : timeline);
    }
    const std::shared_ptr<RulerSectors> sectors = std::make_shared<RulerSectors>();
    TimelineSliderProgressLayer layer;
};

TEST(TimelineSliderProgressLayer, FollowsAPositionThatRunsOff) {
    // Before each draw: t and r switch tracking mode, e orders once, l lets the position go. Then where it is.
    const std::vector<std::tuple<char, TimeSec, int>> roads[] = {
        {{' ', 1310, 0}, {' ', 1311, 1}, {' ', 1312, 0}, {' ', 5, 0}, {' ', 1312, 1}},
        {{' ', 1200, 0}, {'t', 1311, 0}, {'r', 1311, 0}, {' ', 1200, 0}, {' ', 0, 0}, {' ', 1311, 0}},
        {{' ', 9000, 0}, {'e', 9000, 1}, {' ', 9000, 1}, {' ', 1200, 0}, {'l', 1311, 0}},
        {{'t', 1400, 0}, {'e', 1400, 0}, {'r', 1400, 1}}};
    for (const auto& road : roads) {
        Front front;
        front.layer.setRecords(nullptr);
        for (const auto& [order, position, jumps] : road) {
            if (order == 't' || order == 'r') front.layer.trackingMode(order == 't');
            if (order == 'e') front.layer.ensureVisible(true);
            if (order == 'l') front.layer.letPositionGo();
            front.layer.setCurrentPosition(position);
            EXPECT_NE(drawn(front.layer, "fill ellipse").empty(), position > 0);
            EXPECT_NE(front.take().empty(), jumps > 0) << &road - roads << " at " << position;
        }
    }
}

TEST(TimelineSliderProgressLayer, ShowsWhatIsKnownOfSectorsWhenAsked) {
    Front front(5 * length + 108);
    front.layer.setTimeScale(length / 50.0F);
    front.layer.setCenterTime(3 * length + length / 10);
    front.answer(0, {{108, 109}});
    front.answer(length, {});
    front.answer(2 * length, {}, true);
    front.answer(5 * length, {});
    front.sectors->updateTimeline(3 * length, 4 * length);
    std::string expected = "fill rect 10.5,18 1x4\n";
    EXPECT_EQ(drawn(front.layer, "fill rect"), expected);
    front.layer.setShowsSectorStates(true);
    expected += "fill rect 60,19 50x2\nfill rect 110,18 50x4\n";
    for (int x = 160; x < 210; x += 10) expected += "fill rect " + std::to_string(x) + ",18 6x4\n";
    EXPECT_EQ(drawn(front.layer, "fill rect"), expected + "fill rect 260,19 0.5x2\n");
}

TEST(TimelineSliderProgressLayer, AsksForWhatItLacksAndEnds) {
    const LogSink before = setLogSink([](std::string_view) {});
    constexpr TimeSec now = 40 * length + 777;
    for (unsigned seed = 1; seed <= 8; ++seed) {
        std::mt19937_64 random(seed);
        const auto below = [&](std::uint64_t n) { return static_cast<TimeSec>(random() % n); };
        Front front(now);
        std::set<TimeSec> open;
        for (int step = 0; step < 60; ++step) {
            const float absurd[] = {0, -1, NAN, INFINITY, 1e-30F, 30'000, 1e30F};
            front.layer.setTimeScale(below(30) == 0 ? absurd[below(7)] : static_cast<float>(1 + below(400)));
            front.layer.setCenterTime(below(50) == 0 ? static_cast<TimeSec>(random()) : below(45 * length));
            front.layer.setFrame({0, 0, static_cast<double>(below(1000)), 40});
            const auto records = front.sectors->snapshot();
            drawn(front.layer);
            std::istringstream told(front.take());
            std::string word, end;
            int count = 0;
            for (TimeSec start = 0, last = 0; told >> word >> start >> end; last = start, ++count) {
                ASSERT_TRUE(end == "10800;" && start % length == 0 && start <= now && (start > last || count == 0));
                ASSERT_FALSE(records->contains(start));
                ASSERT_EQ(front.sectors->updateTimeline(start, start + length), open.insert(start).second ? 1U : 0U);
            }
            ASSERT_LE(count, TimelineSliderProgressLayer::mostSectorsADraw);
            const auto request = front.sectors->next();
            if (!request || below(4) == 0) continue;
            const Pairs some{{request->start + 5, request->start + 700}, {request->start + 800, now}};
            front.answer(request->start, below(2) == 0 ? Pairs() : some, below(3) == 0);
            open.erase(request->start);
        }
    }
    setLogSink(before);
}

}  // namespace
}  // namespace korvane::test
