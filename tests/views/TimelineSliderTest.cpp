#include "korvane/views/timeline/Presentation/Timeline/TimelineSlider.h"

#include <gtest/gtest.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <random>

#include "korvane/base/Log.h"
#include "korvane/client/IcuHelpers.h"
#include "korvane/tests/support/qt/RecordingCanvas.h"
#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/toolkit/PaintedItem.h"
#include "korvane/toolkit/PaintedLayer.h"
#include "korvane/views/timeline/Model/Ruler/RulerSectors.h"
#include "korvane/views/timeline/TimelineTypes.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

/// A ruler of 320 x 40 points, as QML makes it, and what it has told.
struct Ruler : TimelineSliderDelegate {
    Ruler() {
        slider.setParentItem(ui.root());
        slider.setSize({320, 40});
        slider.setTimelineDelegate(this);
        slider.setCenterTime(1000);
        QObject::connect(&slider, &Control::valueChanged, [this] { note("changed"); });
        QObject::connect(&slider, &TimelineSlider::timeScaleChanged, [this](float) { note("scaled"); });
    }

    void updateTimeline(TimeSec start, TimeSec /*end*/) override { note("fetch", start); }
    void makePositionVisible(TimeSec time, float /*position*/) override { note("follow", time); }
    void startPositionChanging(TimeSec time, float position) override { note("start", time, position); }
    void continuePositionChanging(TimeSec time, float position) override { note("continue", time, position); }
    void endPositionChanging(TimeSec time, float position) override { note("end", time, position); }

    template <typename... Numbers>
    void note(const char* what, Numbers... numbers) {
        std::ostringstream line;
        line << what;
        ((line << ' ' << numbers), ...);
        told += line.str() + "; ";
    }
    std::string take() { return std::exchange(told, {}); }
    void drag(Point from, Point to) {
        ui.press(from);
        ui.move(to);
        ui.advance(600ms);
        ui.release(to);
    }
    /// The picture's lines that begin with `kind`.
    std::string drawn(const std::string& kind) {
        RecordingCanvas canvas;
        qobject_cast<PaintedItem*>(slider.childItems().first())->layer().renderInContext(canvas);
        std::string result;
        for (const std::string& line : canvas.lines()) result += line.starts_with(kind) ? line + "; " : "";
        return result;
    }

    VirtualUi ui{320, 40};
    TimelineSlider slider;
    std::string told;
};

TEST(TimelineSlider, IsMadeByQmlOrWithAFrame) {
    registerTimelineTypes();
    Ruler ruler;
    QQmlEngine engine;
    engine.addImportPath(":/");
    QQmlComponent component(&engine);
    component.setData("import Korvane.Timeline\nTimelineSlider { width: 320; height: 40 }", QUrl("qrc:/ruler.qml"));
    const std::unique_ptr<QObject> made(component.create());
    auto* const fromQml = qobject_cast<TimelineSlider*>(made.get());
    ASSERT_TRUE(fromQml) << component.errorString().toStdString();
    TimelineSlider framed(Rect{0, 0, 320, 40});
    EXPECT_EQ(fromQml->timeScale(), 1);
    EXPECT_EQ(framed.timeScale(), 0);
    EXPECT_EQ(fromQml->curvatiousness(), 0);
    EXPECT_EQ(framed.curvatiousness(), 1);
    ruler.slider.setParentItem(nullptr);
    for (TimelineSlider* const slider : {fromQml, &framed}) {
        slider->setParentItem(ruler.ui.root());
        slider->setTimelineDelegate(&ruler);
        slider->setCurrentPosition(5);
        ruler.ui.grab();
        RecordingCanvas canvas;
        qobject_cast<PaintedItem*>(slider->childItems().first())->layer().renderInContext(canvas);
        const auto& lines = canvas.lines();
        const bool isRed = std::find(lines.begin(), lines.end(), "stroke color #ffff0000") != lines.end();
        EXPECT_EQ(isRed, slider == &framed);
        ruler.take();
        ruler.ui.tap({160, 30});
        EXPECT_EQ(ruler.take().empty(), slider == &framed);
        slider->clean();
        slider->setParentItem(nullptr);
    }
}

TEST(TimelineSlider, TurnsTouchesIntoTimes) {
    struct Case {
        float scale;
        std::optional<RulerRange> range;
        TimeSec position;
        Point from, to;
        TimeSec center;
        const char* told;
    };
    const RulerRange wide{500, 1200};
    // The knob of a position stands at 5 + position - 845 in a ruler that shows a second a point.
    for (const Case& c : {
             Case{1, {}, 0, {160, 30}, {170, 30}, 990, "changed; "},
             Case{20, {}, 0, {160, 30}, {170, 30}, 800, "changed; "},
             Case{1, {}, 0, {160, 30}, {160.04, 30}, 1000, "changed; "},
             Case{1, wide, 0, {160, 30}, {200, 30}, 960, "changed; "},
             Case{1, wide, 0, {160, 30}, {100, 30}, 1000, ""},
             Case{1, {}, 1000, {155, 20}, {165, 20}, 1000, "start 0 155; continue 1005 165; end 1005 165; "},
             Case{1, {}, 1000, {146, 20}, {146, 20}, 1000, "start 0 146; end 986 146; "},
             Case{1, {}, 1000, {143, 20}, {143, 20}, 1000, ""},
             Case{1, {}, 1000, {161, 20}, {161, 20}, 1000, ""},
             Case{1, wide, 1000, {155, 20}, {165, 20}, 990, "start 0 155; changed; continue 995 165; end 995 165; "},
         }) {
        Ruler ruler;
        if (c.range) ruler.slider.setRange(c.range->start_range, c.range->end_range);
        ruler.slider.setTimeScale(c.scale);
        ruler.slider.setCenterTime(1000);
        ruler.slider.setCurrentPosition(c.position);
        ruler.drawn("");
        ruler.take();
        ruler.slider.beginTrackingWithTouch(c.from);
        if (c.to != c.from) ruler.slider.continueTrackingWithTouch(c.to);
        ruler.slider.endTrackingWithTouch(c.to);
        EXPECT_EQ(ruler.slider.getCenterTime(), c.center) << c.told;
        EXPECT_EQ(ruler.take(), c.told);
    }
}

TEST(TimelineSlider, SetsThePositionByATapAlone) {
    Ruler ruler;
    const std::string set = "start 0 200; continue 1040 200; end 1040 200; ";
    ruler.ui.tap({200, 30});
    EXPECT_EQ(ruler.take(), set);
    ruler.slider.setRange(900, 1000);
    ruler.slider.setCenterTime(1000);
    ruler.ui.tap({200, 30});
    EXPECT_EQ(ruler.take(), set) << "outside of the range";
    ruler.slider.unsetRange();
    ruler.drag({200, 30}, {200, 30});
    EXPECT_EQ(ruler.take(), "") << "held too long for a tap";
    ruler.drag({200, 30}, {170, 30});
    EXPECT_EQ(ruler.take(), "changed; ");
    EXPECT_EQ(ruler.slider.getCenterTime(), 1030);
}

TEST(TimelineSlider, TracesWhereAFingerLifts) {
    const std::tuple<std::optional<RulerRange>, const char*, const char*> rows[] = {
        {std::nullopt, "Europe/Berlin", "Set position 1000 (time 01:16:40 (Jan 01))"},
        {RulerRange{0, 2000}, "Nowhere/Land", "Set position 1000 (time 00:16:40 (Jan 01)) in range"},
        {RulerRange{0, 800}, "UTC", "No set position 1000 (time 00:16:40 (Jan 01)) out of range"}};
    for (const auto& [range, zone, expected] : rows) {
        Ruler ruler;
        if (range) ruler.slider.setRange(range->start_range, range->end_range);
        ruler.slider.setCenterTime(1000);
        ruler.slider.setTimeZone(zone);
        ruler.slider.setHelpers(std::make_shared<IcuHelpers>(ruler.ui.scheduler()));
        std::string last;
        const LogSink before = setLogSink([&](std::string_view line) { last = line; });
        const int level = KSDK_LogLevel.exchange(1);
        ruler.slider.beginTrackingWithTouch({160, 30});
        ruler.slider.endTrackingWithTouch({160, 30});
        KSDK_LogLevel = level;
        setLogSink(before);
        EXPECT_EQ(last, std::string("TimelineSlider: ") + expected);
    }
}

TEST(TimelineSlider, StandsWhereItIsTold) {
    Ruler ruler;
    TimelineSlider& slider = ruler.slider;
    EXPECT_EQ(slider.nextSector(), 310);
    EXPECT_EQ(slider.getCenterTime(), 1310);
    slider.setRange(1000, 5000);
    EXPECT_EQ(slider.getCenterTime(), 1155);
    EXPECT_EQ(slider.prevSector(), 310);
    EXPECT_EQ(slider.setSector(7), 310);
    EXPECT_EQ(slider.getCenterTime(), 1155);
    slider.setTimeScale(20);
    EXPECT_EQ(slider.getCenterTime(), 3000);
    slider.unsetRange();
    EXPECT_EQ(slider.setSector(7), 6200);
    EXPECT_EQ(slider.getCenterTime(), 7);
}

TEST(TimelineSlider, FollowsUnlessTheUserScrolls) {
    Ruler ruler;
    ruler.slider.setCurrentPosition(1155);
    ruler.drawn("");
    ruler.ui.press({30, 30});
    ruler.slider.setCurrentPosition(1156);
    ruler.drawn("");
    ruler.ui.release({30, 30});
    ruler.drawn("");
    ruler.take();
    ruler.slider.ensureVisible(true);
    ruler.drawn("");
    EXPECT_EQ(ruler.take(), "follow 1156; ");
    ruler.slider.setCurrentPosition(1100);
    ruler.drawn("");
    ruler.slider.setCurrentPosition(1156);
    ruler.drawn("");
    EXPECT_EQ(ruler.take(), "follow 1156; ");
    ruler.slider.setCurrentPosition(1100);
    ruler.drawn("");
    ruler.slider.setZoomEnabled(true);
    ruler.slider.setTimeScale(2);
    ruler.ui.wheel({0, 20}, {0, 120});
    ruler.drawn("");
    EXPECT_EQ(ruler.take(), "scaled; changed; ") << "a zoom leaves the position behind";
}

TEST(TimelineSlider, RepaintsOnceOnTheMainThread) {
    Ruler ruler;
    const auto sectors = std::make_shared<RulerSectors>();
    ruler.slider.setRecords(sectors);
    ruler.ui.settle();
    ruler.ui.grab();
    ruler.take();
    for (int i = 0; i < 3; ++i) {
        ruler.ui.scheduler().runInBackground([&] {
            ruler.slider.setCurrentPosition(1100);
            ruler.slider.timelineReload();
            ruler.slider.updateTimelineData();
        });
    }
    EXPECT_EQ(ruler.take(), "");
    ruler.ui.settle();
    EXPECT_EQ(ruler.take(), "fetch 0; fetch 0; fetch 0; ");
    ruler.ui.grab();
    EXPECT_EQ(ruler.take(), "fetch 0; ");
    ruler.ui.grab();
    EXPECT_EQ(ruler.take(), "") << "nothing to repaint";
    const std::function<void()> changes[] = {[&] { ruler.slider.setTrackColor(Qt::red); },
                                             [&] { ruler.slider.setKnobImage(QImage(2, 2, QImage::Format_RGB32)); },
                                             [&] { ruler.slider.setTrackFillMode(1); },
                                             [&] { ruler.slider.setTrackFillMode(1); },
                                             [&] { ruler.slider.setTrackColor(Qt::red); },
                                             [&] { ruler.slider.setTimeZone("UTC"); }};
    for (const auto& change : changes) {
        change();
        ruler.ui.grab();
        EXPECT_EQ(ruler.take(), &change - changes < 3 ? "fetch 0; " : "") << &change - changes;
    }
}

TEST(TimelineSlider, ZoomsAroundTheFingers) {
    for (unsigned seed = 1; seed <= 30; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
        Ruler ruler;
        TimelineSlider& slider = ruler.slider;
        slider.setTimeScale(static_cast<float>(1 + below(100)));
        const auto timeAt = [&](double x) {
            return RulerWindow{slider.getCenterTime(), slider.timeScale(), 320}.timeAt(x);
        };
        ruler.ui.wheel({50, 20}, {0, 120});
        EXPECT_EQ(ruler.take(), "") << "not until it is switched on";
        slider.setZoomEnabled(true);
        const double x = below(320);
        const TimeSec under = timeAt(x);
        for (int i = 0; i < 20; ++i) {
            const float scale = slider.timeScale();
            const bool isIn = below(2) == 0;
            ruler.ui.wheel({x, 20}, {0, isIn ? 120 : -120});
            ASSERT_EQ(timeAt(x), under);
            ASSERT_TRUE(isIn ? slider.timeScale() <= scale : slider.timeScale() >= scale);
            ASSERT_TRUE(slider.timeScale() >= 1 && slider.timeScale() <= 120);
        }
        ruler.ui.press({100, 30}, 0);
        ruler.ui.press({200, 30}, 1);
        const TimeSec middle = timeAt(150);
        int first = 100, second = 200;
        for (int i = 0; i < 20; ++i) {
            ruler.ui.move({static_cast<double>(first = below(150)), 30}, 0);
            ruler.ui.move({static_cast<double>(second = 160 + below(150)), 30}, 1);
            ASSERT_EQ(timeAt((first + second) / 2.0), middle);
        }
        ruler.ui.release({static_cast<double>(first), 30}, 0);
        ruler.ui.release({static_cast<double>(second), 30}, 1);
        slider.setRange(0, 100'000);
        ruler.take();
        ruler.ui.wheel({50, 20}, {0, 120});
        EXPECT_EQ(ruler.take(), "") << "in a range";
    }
}

TEST(TimelineSlider, LetsGoOfTheKnobWhenAPinchBegins) {
    Ruler ruler;
    ruler.slider.setZoomEnabled(true);
    ruler.slider.setCurrentPosition(1000);
    ruler.drawn("");
    ruler.ui.press({155, 20}, 0);
    ruler.ui.press({200, 30}, 1);
    EXPECT_EQ(ruler.take(), "start 0 155; end 995 155; ");
}

TEST(TimelineSlider, IsSilentOnceCleaned) {
    Ruler ruler;
    TimelineSlider& slider = ruler.slider;
    slider.setRecords(std::make_shared<RulerSectors>());
    slider.setZoomEnabled(true);
    slider.setCurrentPosition(1000);
    slider.timelineReload();
    ruler.ui.press({155, 20});
    ruler.take();
    slider.clean();
    slider.clean();
    ruler.ui.move({165, 20});
    ruler.ui.release({165, 20});
    ruler.ui.tap({160, 30});
    ruler.ui.wheel({50, 20}, {0, 120});
    slider.setTimelineDelegate(&ruler);
    slider.setRange(0, 10);
    slider.unsetRange();
    slider.setTimeScale(3);
    slider.nextSector();
    slider.setTrackColor(Qt::red);
    slider.setTimeZone("UTC");
    slider.updateTimelineData();
    slider.setCurrentPosition(7);
    slider.trackingMode(true);
    slider.ensureVisible(true);
    ruler.ui.settle();
    ruler.ui.grab();
    EXPECT_EQ(ruler.take(), "");
    EXPECT_EQ(ruler.drawn("fill"), "");
}

}  // namespace
}  // namespace korvane
