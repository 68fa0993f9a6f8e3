#include "korvane/views/timeline/Presentation/Timeline/TimelineSlider.h"

#include <gtest/gtest.h>

#include <random>

#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/tests/views/RulerHost.h"
#include "korvane/toolkit/PaintedItem.h"
#include "korvane/views/timeline/Model/Ruler/RulerSectors.h"

namespace korvane::test {
namespace {

/// A ruler of 320 x 40 points; without a frame it is made as QML makes it.
struct Ruler : RulerHost {
    explicit Ruler(bool hasFrame = false)
        : made(hasFrame ? std::make_unique<TimelineSlider>(Rect{0, 0, 320, 40}) : std::make_unique<TimelineSlider>()) {
        slider.setParentItem(ui.root());
        slider.setSize({320, 40});
        slider.setTimelineDelegate(this);
        slider.setCenterTime(1000);
        QObject::connect(&slider, &Control::valueChanged, [this] { told << "changed; "; });
        QObject::connect(&slider, &TimelineSlider::timeScaleChanged, [this](float) { told << "scaled; "; });
    }
    void updateTimeline(TimeSec start, TimeSec end) override {
        EXPECT_TRUE(ui.scheduler().isMainThread());
        RulerHost::updateTimeline(start, end);
    }
    std::string drawAt(TimeSec position) {
        slider.setCurrentPosition(position);
        picture = drawn(qobject_cast<PaintedItem*>(slider.childItems().first())->layer());
        return take();
    }
    VirtualUi ui{320, 40};
    std::unique_ptr<TimelineSlider> made;
    TimelineSlider& slider = *made;
    std::string picture;
};

TEST(TimelineSlider, StandsWhereItIsToldAndFollows) {
    Ruler ruler;
    TimelineSlider& slider = ruler.slider;
    EXPECT_EQ(slider.nextSector() + slider.getCenterTime(), 310 + 1310);
    slider.setRange(1000, 5000);
    EXPECT_EQ(slider.setSector(7) + slider.prevSector() + slider.getCenterTime(), 310 + 310 + 1155);
    slider.setTimeScale(20);
    EXPECT_EQ(slider.nextSector() + slider.getCenterTime(), 6200 + 3000);
    slider.unsetRange();
    slider.setTimeScale(1);
    slider.setSector(1000);
    ruler.drawAt(1155);
    ruler.ui.press({30, 30});
    EXPECT_EQ(ruler.drawAt(1156), "");
    ruler.ui.release({30, 30});
    EXPECT_EQ(ruler.drawAt(1156), "start 0 30; go 870 30; end 870 30; ");
    slider.ensureVisible(true);
    EXPECT_EQ(ruler.drawAt(1156), "follow 1156 311; ");
    ruler.drawAt(1150);
    slider.setZoomEnabled(true);
    slider.setTimeScale(2);
    ruler.ui.wheel({0, 20}, {0, 120});
    EXPECT_EQ(ruler.drawAt(1150), "scaled; changed; ");
}

TEST(TimelineSlider, RepaintsOnceOnTheMainThreadUntilCleaned) {
    Ruler ruler;
    TimelineSlider& slider = ruler.slider;
    slider.setRecords(std::make_shared<RulerSectors>());
    const auto repaints = [&] {
        ruler.ui.settle();
        ruler.ui.grab();
        return ruler.take();
    };
    repaints();
    ruler.ui.scheduler().runInBackground([&] {
        for (int i = 0; i < 3; ++i) slider.timelineReload();
        slider.setCurrentPosition(1000);
        slider.updateTimelineData();
    });
    EXPECT_EQ(repaints(), "fetch 0 10800; fetch 0 10800; ");
    for (const char* const told : {"fetch 0 10800; ", ""}) {
        slider.setTrackFillMode(1);
        slider.setTimeZone("UTC");
        EXPECT_EQ(repaints(), told);
    }
    slider.setZoomEnabled(true);
    ruler.ui.press({155, 20});
    slider.clean();
    ruler.take();
    ruler.ui.move({165, 20});
    ruler.ui.release({165, 20});
    ruler.ui.tap({160, 30});
    ruler.ui.wheel({50, 20}, {0, 120});
    slider.setTimelineDelegate(&ruler);
    slider.setRange(0, 10);
    slider.unsetRange();
    slider.nextSector();
    slider.setTrackColor(Qt::red);
    slider.updateTimelineData();
    EXPECT_EQ(repaints() + ruler.drawAt(7), "");
}

TEST(TimelineSlider, ZoomsAroundTheFingers) {
    for (unsigned seed = 1; seed <= 30; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&](int n) { return static_cast<double>(random() % static_cast<unsigned>(n)); };
        Ruler ruler;
        TimelineSlider& slider = ruler.slider;
        const auto at = [&](double x) {
            return RulerWindow{slider.getCenterTime(), slider.timeScale(), 320}.timeAt(x);
        };
        ruler.ui.wheel({50, 20}, {0, 120});
        slider.setZoomEnabled(true);
        slider.setRange(0, 100'000);
        ruler.ui.wheel({50, 20}, {0, 120});
        EXPECT_EQ(ruler.take(), "") << "not without leave, and not in a range";
        slider.unsetRange();
        slider.setCenterTime(1000);
        slider.setTimeScale(20);
        ruler.drawAt(1000);
        ruler.ui.press({155, 20}, 0);
        ruler.ui.press({225, 20}, 1);
        EXPECT_EQ(ruler.take(), "start 0 155; end 900 155; ") << "a pinch lets the knob go";
        const TimeSec middle = at(190);
        for (int i = 0; i < 20; ++i) {
            const double first = below(150), second = 160 + below(150);
            ruler.ui.move({first, 20}, 0);
            ruler.ui.move({second, 20}, 1);
            ASSERT_EQ(at((first + second) / 2.0), middle);
        }
        for (const int pointer : {0, 1}) ruler.ui.release({below(320), 20}, pointer);
        const double x = below(320);
        const TimeSec under = at(x);
        for (int i = 0; i < 20; ++i) {
            const float scale = slider.timeScale();
            const bool isIn = below(2) == 0;
            ruler.ui.wheel({x, 20}, {0, isIn ? 120 : -120});
            ASSERT_EQ(at(x), under);
            ASSERT_TRUE(isIn ? slider.timeScale() <= scale : slider.timeScale() >= scale);
            ASSERT_TRUE(slider.timeScale() >= 1 && slider.timeScale() <= 120);
        }
    }
}

TEST(TimelineSlider, TurnsTouchesIntoTimes) {
    using Row = std::tuple<float, bool, TimeSec, Point, Point, TimeSec, const char*>;
    for (const auto& [scale, isInRange, position, from, to, center, told] : {
             Row{20, false, 0, {160, 30}, {170, 30}, 800, "changed; "},
             Row{1, false, 0, {160, 30}, {160.04, 30}, 1000, "changed; "},
             Row{1, true, 0, {160, 30}, {100, 30}, 1000, ""},
             Row{1, false, 1000, {155, 20}, {165, 20}, 1000, "start 0 155; go 1005 165; end 1005 165; "},
             Row{1, true, 1000, {155, 20}, {165, 20}, 990, "start 0 155; changed; go 995 165; end 995 165; "},
         }) {
        Ruler ruler;
        if (isInRange) ruler.slider.setRange(500, 1200);
        ruler.slider.setTimeScale(scale);
        ruler.slider.setCenterTime(1000);
        ruler.drawAt(position);
        ruler.slider.beginTrackingWithTouch(from);
        if (to != from) ruler.slider.continueTrackingWithTouch(to);
        ruler.slider.endTrackingWithTouch(to);
        EXPECT_EQ(ruler.slider.getCenterTime(), center) << told;
        EXPECT_EQ(ruler.take(), told);
    }
}

}  // namespace
}  // namespace korvane::test
