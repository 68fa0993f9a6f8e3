#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <tuple>

#include "korvane/base/Log.h"
#include "korvane/base/UtcTime.h"
#include "korvane/base/VirtualScheduler.h"
#include "korvane/client/IcuHelpers.h"
#include "korvane/tests/support/qt/RecordingCanvas.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderDelegate.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderProgressLayer.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderScaleLayer.h"

namespace korvane {
namespace {

constexpr TimeSec sectorLength = RulerSectors::sectorLength;

/// The lines that begin with one of `kinds`.
std::string drawn(PaintedLayer& layer, const std::vector<std::string>& kinds = {""}) {
    RecordingCanvas canvas;
    layer.drawInContext(canvas);
    std::string result;
    for (const std::string& line : canvas.lines()) {
        for (const std::string& kind : kinds) result += line.starts_with(kind) ? line + '\n' : "";
    }
    return result;
}

TimeSec utc(const char* text) {
    return *parseUtc(text) / 1000;
}

TEST(TimelineSliderScaleLayer, DrawsTicksLabelsAndAxisInTurn) {
    TimelineSliderScaleLayer layer;
    layer.setFrame({0, 0, 130, 40});
    layer.setCenterTime(1060);
    layer.setLineWidth(3);
    layer.setStrokeWidth(2);
    layer.setStrokeStepWidth(60);
    layer.setColorStroke(QColor(1, 2, 3));
    layer.setColorTextBackground(QColor(4, 5, 6));
    const std::string color = "stroke color #ff010203\nstroke\n";
    const std::string axis =
        "line width 3\nline join round\nline cap round\npath move 11.5,20 line 118.5,20\n"
        "stroke color clear\nstroke\n";
    const std::string upper = "line width 2\npath move 30,10 line 30,20\n" + color;
    const std::string upper2 = "line width 2\npath move 90,10 line 90,20\n" + color;
    EXPECT_EQ(drawn(layer), upper + upper2 + axis) << "without texts";
    layer.setTimeFormatter([](TimeSec time, const QString& format, const QString& zone) {
        return format == u"HH:mm (MMM dd)" && zone.isEmpty() ? QStringLiteral("t%1").arg(time) : QString();
    });
    const std::string look = " 30x12 aligned 1, #ff000000 on #ff040506\n";
    EXPECT_EQ(drawn(layer), upper + "line width 2\npath move 30,30 line 30,20\n" + color + "text 't1020' in 15,32" +
                                look + upper2 + "line width 2\npath move 90,30 line 90,20\n" + color +
                                "text 't1080' in 75,0" + look + axis);
    EXPECT_EQ(layer.getSector(), 120);
}

TEST(TimelineSliderScaleLayer, WritesTrueTimesInItsZone) {
    VirtualScheduler scheduler;
    setenv("TZ", "Asia/Kolkata", 1);
    struct Case {
        const char *center, *zone;
        float scale;
        int naming, position;
        const char* labels;
    };
    for (const Case& c : {
             Case{"2026-03-08T07:00:00Z", "America/New_York", 60, 0, 0,
                  "00:00@30 01:00@90- 03:00@150 04:00@210- 05:00@270 "},
             Case{"2026-11-01T06:00:00Z", "America/New_York", 60, 0, 1,
                  "00:00@30- 01:00@90- 01:00@150- 02:00@210- 03:00@270- "},
             Case{"2026-03-29T01:00:00Z", "Europe/Berlin", 20, 1, 2, "01:20@30 03:00@150 03:40@270 "},
             Case{"2026-06-01T12:00:00Z", "Nowhere/Land", 1, 1, 7, "17:28@30- 17:30@150- 17:32@270- "},
             Case{"2026-06-01T12:00:00Z", "", 120, 1, 0, "13:30@30 17:30@150 21:30@270 "},
             Case{"2026-06-01T12:00:00Z", "UTC", 0.01F, 0, 0, ""},
         }) {
        TimelineSliderScaleLayer layer;
        layer.setFrame({0, 0, 320, 40});
        layer.setStrokeStepWidth(60);
        layer.setTimeFormatter(TimelineSliderScaleLayer::formatterOf(std::make_shared<IcuHelpers>(scheduler)));
        layer.setTimeFormat("HH:mm");
        layer.setTimeZone(c.zone);
        layer.setCenterTime(utc(c.center));
        layer.setTimeScale(c.scale);
        layer.setStrokeTextNamingType(c.naming);
        layer.setStrokeTextPositionType(c.position);
        QString seen;
        for (const QString& line : QString::fromStdString(drawn(layer, {"text"})).split(u'\n', Qt::SkipEmptyParts)) {
            const QStringList place = line.section(u' ', 3, 3).split(u',');
            seen += line.section(u'\'', 1, 1) + u'@' + place[0] + (place[1] == u"0" ? "- " : " ");
        }
        EXPECT_EQ(seen.toStdString(), c.labels) << c.center << c.zone;
    }
    unsetenv("TZ");
}

TEST(TimelineSliderScaleLayer, LaysOutATextOnceWhileItIsInView) {
    TimelineSliderScaleLayer layer;
    layer.setFrame({0, 0, 320, 40});
    layer.setStrokeStepWidth(60);
    std::multiset<TimeSec> asked;
    layer.setTimeFormatter([&](TimeSec time, const QString&, const QString&) {
        asked.insert(time);
        return QString::number(time);
    });
    RecordingCanvas canvas;
    const auto drawAt = [&](TimeSec center) {
        layer.setCenterTime(center);
        layer.drawInContext(canvas);
    };
    for (TimeSec center = 100'000; center < 100'600; center += 7) drawAt(center);
    EXPECT_EQ(asked.size(), std::set<TimeSec>(asked.begin(), asked.end()).size());
    EXPECT_EQ(canvas.measured(), static_cast<int>(asked.size()));
    drawAt(900'000);
    asked.clear();
    drawAt(100'500);
    EXPECT_GE(asked.size(), 5U) << "what has left the view is not kept";
    const std::function<void()> changes[] = {[&] { layer.setTimeFormat("H"); }, [&] { layer.setTimeZone("UTC"); },
                                             [&] { layer.setColorText(Qt::red); }};
    for (const auto& change : changes) {
        asked.clear();
        change();
        drawAt(100'500);
        EXPECT_GE(asked.size(), 5U);
    }
}

/// A front layer over 1000 to 1310, a second a point, in the present of its clock, with who owns it.
struct Front : TimelineSliderDelegate {
    explicit Front(TimeSec now = 1'700'000'000)
        : layer(std::make_shared<VirtualScheduler>(1, now * 1000)), sectors(std::make_shared<RulerSectors>()) {
        layer.setFrame({0, 0, 320, 40});
        layer.setCenterTime(1155);
        layer.setTrackWidth(4);
        layer.setFillColor(QColor(1, 2, 3));
        layer.setKnobColor(QColor(4, 5, 6));
        layer.setRecords(sectors);
        layer.setTimelineDelegate(this);
    }
    ~Front() override { layer.clean(); }

    void updateTimeline(TimeSec start, TimeSec end) override {
        asked.push_back(start);
        EXPECT_EQ(end, start + sectorLength);
        EXPECT_EQ(sectors->updateTimeline(start, end), open.insert(start).second ? 1U : 0U);
    }
    void makePositionVisible(TimeSec time, float position) override {
        EXPECT_EQ(time, layer.getCurrentPosition());
        EXPECT_EQ(position, layer.getLatestCurrentPositionX());
        ++jumps;
    }
    void startPositionChanging(TimeSec, float) override {}
    void continuePositionChanging(TimeSec, float) override {}
    void endPositionChanging(TimeSec, float) override {}

    void answer(TimeSec start, const std::optional<std::vector<TimelinePair>>& periods) {
        auto timeline = std::make_shared<Timeline>(start * 1000, (start + sectorLength) * 1000);
        timeline->setPeriods(std::vector<TimelinePair>());
        for (const TimelinePair& p : periods.value_or(std::vector<TimelinePair>())) {
            auto all = *timeline->periods();
            all.emplace_back(p.start() * 1000, p.end() * 1000);
            timeline->setPeriods(all);
        }
        sectors->updateTimeline(start, start + sectorLength);
        sectors->answer({start, 0}, periods ? timeline : nullptr);
        open.erase(start);
    }

    TimelineSliderProgressLayer layer;
    std::shared_ptr<RulerSectors> sectors;
    std::vector<TimeSec> asked;
    std::set<TimeSec> open;
    int jumps = 0;
};

TEST(TimelineSliderProgressLayer, DrawsStretchesAndKnob) {
    const std::string knob =
        "line width 2\nstroke color #ff040506\nfill color #ffffffff\npath ellipse %,12 16x16\n"
        "stroke\nfill ellipse %,12 16x16\nfill color #ff040506\npath ellipse $,18 4x4\nstroke\n"
        "fill ellipse $,18 4x4\n";
    const auto knobAt = [&](int x) {
        QString text = QString::fromStdString(knob);
        return text.replace('%', QString::number(x - 8)).replace('$', QString::number(x - 2)).toStdString();
    };
    const std::tuple<std::vector<TimelinePair>, int, TimeSec, std::string> rows[] = {
        {{{1100, 1200}, {1250, 1255}}, 0, 0, "fill rect 110,18 90x4\nfill rect 260,18 1x4\n"},
        {{{900, 1100}, {1200, 2000}}, 0, -1, "fill rect 10,18 90x4\nfill rect 210,18 100x4\n"},
        {{{900, 1310}}, 0, 0, ""},
        {{{1000, 1310}}, 5, 0, ""},
        {{{900, 1311}}, 2, 1100, "fill rect 10,18 300x4\n" + knobAt(100)},
        {{{1050, 1150}, {1200, 1300}}, 1, 1120, "fill rect 60,18 60x4\n" + knobAt(120)},
        {{{1050, 1150}}, 1, 0, ""},
        {{{1050, 1150}}, 1, 1058, knobAt(58)},
    };
    for (const auto& [periods, mode, position, expected] : rows) {
        Front front;
        front.answer(0, periods);
        front.layer.setTrackFillMode(mode);
        front.layer.setCurrentPosition(position);
        EXPECT_EQ(drawn(front.layer), "fill color #ff010203\n" + expected);
        EXPECT_EQ(front.layer.getLatestCurrentPositionX(), position > 0 ? position - 1000 : -1);
        EXPECT_EQ(front.layer.getLatestCurrentPositionY(), position > 0 ? 20 : -1);
        EXPECT_TRUE(front.asked.empty());
    }
    Front front;
    QImage image(20, 10, QImage::Format_RGB32);
    image.setText("name", "k");
    front.layer.setKnobImage(image);
    front.layer.setCurrentPosition(1100);
    EXPECT_EQ(drawn(front.layer, {"image", "fill rect"}), "image k in 90,15 20x10\n");
    front.layer.setRecords(nullptr);
    EXPECT_EQ(drawn(front.layer), "image k in 90,15 20x10\n");
    EXPECT_EQ(front.asked, std::vector<TimeSec>{0});
}

TEST(TimelineSliderProgressLayer, FollowsAPositionThatRunsOff) {
    enum Order { Nothing, Track, Release, Ensure, LetGo };
    const std::vector<std::tuple<Order, TimeSec, int>> roads[] = {
        {{Nothing, 1310, 0}, {Nothing, 1311, 1}, {Nothing, 1312, 0}, {Nothing, 1300, 0}, {Nothing, 1312, 1}},
        {{Nothing, 1200, 0}, {Track, 1311, 0}, {Release, 1311, 0}, {Nothing, 1311, 0}},
        {{Nothing, 9000, 0}, {Ensure, 9000, 1}, {Nothing, 9000, 1}, {Nothing, 1200, 0}, {LetGo, 1311, 0}},
        {{Nothing, 5, 0}, {Nothing, 1311, 1}},
        {{Nothing, 1200, 0}, {Nothing, 0, 0}, {Nothing, 1311, 0}},
        {{Track, 1400, 0}, {Ensure, 1400, 0}, {Release, 1400, 1}},
    };
    for (const auto& road : roads) {
        Front front;
        for (const auto& [order, position, jumps] : road) {
            if (order == Track || order == Release) front.layer.trackingMode(order == Track);
            if (order == Ensure) front.layer.ensureVisible(true);
            if (order == LetGo) front.layer.letPositionGo();
            front.layer.setCurrentPosition(position);
            front.jumps = 0;
            EXPECT_NE(drawn(front.layer, {"fill ellipse"}).empty(), position > 0);
            EXPECT_EQ(front.jumps, jumps) << &road - roads << " at " << position;
        }
    }
}

TEST(TimelineSliderProgressLayer, AsksAnewForTheSectorAtTheLeft) {
    const std::tuple<TimeSec, TimeSec, std::vector<TimeSec>> rows[] = {
        {1155, 50'000, {0}},  {10'900, 50'000, {0}}, {10'955, 50'000, {10'800}}, {21'755, 21'600, {21'600}},
        {21'755, 21'599, {}}, {-5000, 50'000, {}},   {-200, 50'000, {}}};
    for (const auto& [center, now, asked] : rows) {
        Front front(now);
        front.layer.setCenterTime(center);
        front.layer.updateTimelineData();
        EXPECT_EQ(front.asked, asked) << center;
    }
}

TEST(TimelineSliderProgressLayer, ShowsWhatIsKnownOfSectorsWhenAsked) {
    Front front(5 * sectorLength + 100);
    front.layer.setTimeScale(sectorLength / 50.0F);
    front.layer.setCenterTime(3 * sectorLength + sectorLength / 10);
    front.answer(0, {{{108, 109}}});
    front.answer(5 * sectorLength, std::vector<TimelinePair>());
    front.answer(sectorLength, std::vector<TimelinePair>());
    front.answer(2 * sectorLength, std::nullopt);
    front.sectors->updateTimeline(3 * sectorLength, 4 * sectorLength);
    front.layer.setTimelineDelegate(nullptr);
    EXPECT_EQ(drawn(front.layer, {"fill rect"}), "fill rect 10.5,18 1x4\n");
    front.layer.setShowsSectorStates(true);
    std::string dashes;
    for (const int x : {160, 170, 180, 190, 200})
        dashes += "fill color #a03d8bff\nfill rect " + std::to_string(x) + ",18 6x4\n";
    EXPECT_EQ(drawn(front.layer, {"fill"}),
              "fill color #a08e8e93\nfill rect 60,19 50x2\nfill color #d0e5533d\nfill rect 110,18 50x4\n" + dashes +
                  "fill color #a08e8e93\nfill rect 260,19 0.46295166x2\nfill color #ff010203\nfill rect 10.5,18 1x4\n");
    front.layer.setTimeScale(10'000);
    EXPECT_EQ(drawn(front.layer, {"fill color"}), "fill color #ff010203\n") << "sectors too narrow to tell apart";
}

TEST(TimelineSliderProgressLayer, AsksForWhatItLacksAndEnds) {
    const LogSink before = setLogSink([](std::string_view) {});
    for (unsigned seed = 1; seed <= 8; ++seed) {
        std::mt19937_64 random(seed);
        const auto below = [&](std::uint64_t n) { return static_cast<TimeSec>(random() % n); };
        constexpr TimeSec now = 40 * sectorLength + 777;
        Front front(now);
        for (int step = 0; step < 60; ++step) {
            const float absurd[] = {0, -1, NAN, INFINITY, 1e-30F, 30'000, 1e30F};
            const bool isAbsurd = below(60) == 0;
            front.layer.setTimeScale(isAbsurd ? absurd[below(7)] : static_cast<float>(1 + below(400)));
            front.layer.setCenterTime(below(50 * sectorLength) - 5 * sectorLength);
            if (below(60) == 0) front.layer.setCenterTime(static_cast<TimeSec>(random()));
            front.layer.setFrame({0, 0, static_cast<double>(below(1000)), 40});
            front.layer.setShowsSectorStates(below(2) == 0);
            front.layer.setCurrentPosition(below(now));
            front.asked.clear();
            const auto records = front.sectors->snapshot();
            drawn(front.layer);
            ASSERT_LE(front.asked.size(), std::size_t{TimelineSliderProgressLayer::mostSectorsADraw});
            for (std::size_t i = 0; i < front.asked.size(); ++i) {
                ASSERT_EQ(front.asked[i] % sectorLength, 0);
                ASSERT_LE(front.asked[i], now);
                ASSERT_TRUE(i == 0 || front.asked[i] > front.asked[i - 1]);
                ASSERT_FALSE(records->contains(front.asked[i]));
            }
            const auto request = front.sectors->next();
            const auto kind = below(4);
            if (!request || kind == 0) continue;
            std::vector<TimelinePair> periods;
            if (kind > 1) periods = {{request->start + 5, request->start + 700}, {request->start + 800, now}};
            front.answer(request->start, kind == 3 ? std::nullopt : std::optional(periods));
        }
    }
    setLogSink(before);
}

}  // namespace
}  // namespace korvane
