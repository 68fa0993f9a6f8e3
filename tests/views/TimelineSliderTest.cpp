#include "korvane/views/timeline/Presentation/Timeline/TimelineSlider.h"

#include <gtest/gtest.h>

#include <random>

#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/tests/views/RulerHost.h"
#include "korvane/toolkit/PaintedItem.h"
#include "korvane/views/timeline/Model/Ruler/RulerSectors.h"

namespace korvane::test {
namespace {

/// A ruler of 320 x 40 points.
struct Ruler : RulerHost {
    Ruler() {
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
        drawn(qobject_cast<PaintedItem*>(slider.childItems().first())->layer());
        return take();
    }
    VirtualUi ui{320, 40};
    TimelineSlider slider;
};

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

}  // namespace
}  // namespace korvane::test
