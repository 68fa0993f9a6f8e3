#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <memory>
#include <vector>

#include "tests/toolkit/StripFixture.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

struct CollectionViewPointer : StripTest {};

TEST_F(CollectionViewPointer, SlowDragFollowsTheFingerAndEndsAtRest) {
    strip->setContentOffset({2000, 0});
    log.clear();
    ui.touchDrag({500, 60}, {380, 60}, 480ms, true);
    EXPECT_EQ(log, (Log{"begin", "scroll", "end"}));
    EXPECT_DOUBLE_EQ(x(), 2110) << "120 points less the threshold";
    EXPECT_GT(draggedScrolls, 10);
    ui.advance(500ms);
    EXPECT_DOUBLE_EQ(x(), 2110);
    expectCellsInPlace();
}

TEST_F(CollectionViewPointer, FlickDeceleratesInOrder) {
    for (const bool byMouse : {false, true}) {
        strip->setContentOffset({2000, 0});
        log.clear();
        if (byMouse) {
            ui.mousePress({600, 60});
            for (int i = 1; i <= 10; ++i) {
                ui.advance(16ms);
                ui.mouseMove({600.0 - 16 * i, 60});
            }
            ui.mouseRelease({440, 60});
        } else {
            ui.touchDrag({600, 60}, {440, 60}, 160ms);
        }
        EXPECT_EQ(log, (Log{"begin", "scroll", "end, decelerates", "decelerating"}));
        EXPECT_TRUE(strip->isDecelerating());
        const double lifted = x();
        EXPECT_DOUBLE_EQ(lifted, 2150);
        ui.advance(160ms);
        EXPECT_GT(x(), lifted + 80);
        expectCellsInPlace();
        rest();
        EXPECT_EQ(log, (Log{"begin", "scroll", "end, decelerates", "decelerating", "scroll", "stopped"}));
        EXPECT_NEAR(x(), lifted + 500, 60) << "about a point per ms over half a second's worth";
        expectCellsInPlace();
    }
}

TEST_F(CollectionViewPointer, TapSelectsWhatIsUnderTheFinger) {
    struct Case {
        const char* name;
        Point at;
        Log log;
    };
    // At offset 391 the first inner cell begins at the left edge of the view.
    strip->setContentOffset({391 + 3, 0});
    ASSERT_EQ(strip->layoutAttributesForItemAtIndexPath(1)->x, 394);
    for (const auto& c : std::vector<Case>{
             {"first", {5, 60}, {"select 1"}}, {"third", {2 * 137 + 1, 60}, {"select 3"}}, {"gap", {135, 60}, {}}}) {
        log.clear();
        ui.tap(c.at);
        EXPECT_EQ(log, c.log) << c.name;
    }
    log.clear();
    ui.mousePress({5, 60});
    ui.mouseRelease({5, 60});
    EXPECT_EQ(log, Log{"select 1"});
    log.clear();
    ui.touchDrag({5, 20}, {6, 80}, 160ms);
    EXPECT_EQ(log, Log{}) << "a vertical stroke is neither a tap nor a drag";
}

TEST_F(CollectionViewPointer, CatchInMidFlightStopsAndDragsOn) {
    strip->setContentOffset({2000, 0});
    ui.touchDrag({600, 60}, {440, 60}, 160ms);
    ui.advance(160ms);
    log.clear();
    const double caughtAt = x();
    ui.touchPress({300, 60});
    EXPECT_EQ(log, Log{"begin"}) << "no end of the deceleration is told: a drag has begun instead";
    ui.advance(200ms);
    EXPECT_EQ(x(), caughtAt);
    ui.touchMove({295, 60});
    EXPECT_DOUBLE_EQ(x(), caughtAt + 5);
    ui.advance(100ms);
    ui.touchRelease({295, 60});
    EXPECT_EQ(log, (Log{"begin", "scroll", "end"})) << "and no tap";
}

TEST_F(CollectionViewPointer, AnimationIsCaughtWhereItIsSeen) {
    strip->setContentOffset({2000, 0});
    ui.settle();
    animateKeyframes(
        1.0,
        [this] {
            strip->setContentOffset({5000, 0});
        },
        [this](bool finished) { note(finished ? "done" : "cut"); });
    log.clear();
    ui.advance(496ms);
    EXPECT_EQ(x(), 5000);
    EXPECT_FALSE(strip->isDragging());
    EXPECT_EQ(log, Log{}) << "the value set changed once, when the animation began";
    const double seen = strip->seenContentOffset().x;
    ASSERT_NEAR(seen, 3500, 60);
    expectCellsInPlace();
    ui.touchPress({300, 60});
    EXPECT_EQ(x(), seen);
    EXPECT_EQ(log, (Log{"scroll", "cut", "begin"}));
    ui.touchRelease({300, 60});
    EXPECT_EQ(log, (Log{"scroll", "cut", "begin", "end"}));
    ui.advance(1000ms);
    EXPECT_EQ(x(), seen);
}

TEST_F(CollectionViewPointer, CreepingStripStillTakesTapsAndDrags) {
    strip->setContentOffset({394, 0});
    ui.settle();
    const auto play = [this] {
        animateKeyframes(
            1.0,
            [this] {
                strip->setContentOffset({x() + 6, 0});
            },
            [this](bool) { note("tick"); });
        ui.advance(496ms);
        log.clear();
    };
    play();
    ui.tap({137 + 60, 60});
    EXPECT_EQ(log, Log{"select 2"});
    ui.advance(600ms);
    play();
    const double seen = strip->seenContentOffset().x;
    ui.touchPress({300, 60});
    EXPECT_EQ(log, Log{});
    ui.touchMove({280, 60});
    EXPECT_EQ(log, (Log{"scroll", "tick", "begin", "scroll"}));
    EXPECT_NEAR(x(), seen + 10, 1e-9);
    ui.touchRelease({280, 60});
}

TEST_F(CollectionViewPointer, RubberBandAtBothEnds) {
    struct Case {
        const char* name;
        double start;
        Point from;
        Point to;
    };
    const double end = strip->contentSize().width - 800;
    for (const auto& c : std::vector<Case>{{"left", 0, {100, 60}, {500, 60}}, {"right", end, {700, 60}, {300, 60}}}) {
        strip->setContentOffset({c.start, 0});
        ui.settle();
        log.clear();
        ui.touchDrag(c.from, c.to, 640ms, true);
        EXPECT_EQ(log, (Log{"begin", "scroll", "end, decelerates", "decelerating"})) << c.name;
        const double pulled = std::abs(x() - c.start);
        EXPECT_GT(pulled, 100) << c.name;
        EXPECT_LT(pulled, 220) << c.name;
        expectCellsInPlace();
        ui.grab();
        rest();
        EXPECT_EQ(x(), c.start) << c.name;
        EXPECT_EQ(log.back(), "stopped") << c.name;
        expectCellsInPlace();
    }
}

TEST_F(CollectionViewPointer, ResizeInEachPhaseKeepsThePlace) {
    for (const std::string phase : {"drag", "deceleration", "rubber band"}) {
        strip->setSize({800, 120});
        ui.settle();
        strip->setContentOffset({phase == "rubber band" ? strip->contentSize().width - 800 : 3000, 0});
        ui.settle();
        if (phase == "deceleration") {
            ui.touchDrag({600, 60}, {440, 60}, 160ms);
            ui.advance(64ms);
        } else {
            ui.touchPress({700, 60});
            ui.advance(200ms);
            ui.touchMove({400, 60});
            ui.advance(200ms);
        }
        const double before = x();
        strip->setSize({500, 90});
        ui.settle();
        EXPECT_EQ(x(), before) << phase << ": no jump";
        expectCellsInPlace();
        if (phase != "deceleration") {
            ui.touchMove({390, 60});
            ui.advance(200ms);
            ui.touchRelease({390, 60});
        }
        rest();
        EXPECT_LE(x(), strip->contentSize().width - 500) << phase;
        expectCellsInPlace();
    }
}

TEST_F(CollectionViewPointer, WheelBurstIsOneDrag) {
    strip->setContentOffset({2000, 0});
    log.clear();
    ui.wheel({400, 60}, {0, -120});
    EXPECT_TRUE(strip->isDragging());
    EXPECT_EQ(x(), 2060) << "a vertical wheel turns a horizontal strip";
    ui.advance(96ms);
    ui.wheel({400, 60}, {120, 0});
    EXPECT_EQ(x(), 2000);
    ui.wheel({400, 60}, {0, 0}, {-7, 2});
    EXPECT_EQ(x(), 2007) << "pixels as they are";
    EXPECT_EQ(log, (Log{"begin", "scroll"}));
    ui.advance(128ms);
    EXPECT_EQ(log, (Log{"begin", "scroll"}));
    ui.advance(32ms);
    EXPECT_EQ(log, (Log{"begin", "scroll", "end"}));
    ui.wheel({400, 60}, {0, 120 * 200});
    EXPECT_EQ(x(), 0) << "no rubber band for a wheel";
    ui.advance(200ms);
    ui.wheel({400, 60}, {0, 0});
    EXPECT_FALSE(strip->isDragging());
}

TEST_F(CollectionViewPointer, SecondFingerIsNobody) {
    strip->setContentOffset({2000, 0});
    log.clear();
    ui.touchPress({500, 60}, 0);
    ui.touchMove({450, 60}, 0);
    ui.touchPress({100, 60}, 1);
    ui.touchMove({300, 60}, 1);
    EXPECT_DOUBLE_EQ(x(), 2040);
    ui.touchRelease({300, 60}, 1);
    EXPECT_TRUE(strip->isDragging());
    ui.advance(100ms);
    ui.touchRelease({450, 60}, 0);
    EXPECT_EQ(log, (Log{"begin", "scroll", "end"}));
}

/// A child that wants the mouse and touch for itself.
class Button : public QQuickItem {
  public:
    explicit Button(QQuickItem* parent) : QQuickItem(parent) {
        setAcceptedMouseButtons(Qt::LeftButton);
        setAcceptTouchEvents(true);
    }
    int clicks = 0;
    int lost = 0;

  protected:
    void mousePressEvent(QMouseEvent*) override {}
    void mouseMoveEvent(QMouseEvent*) override {}
    void mouseReleaseEvent(QMouseEvent*) override { ++clicks; }
    void mouseUngrabEvent() override { ++lost; }
    void touchEvent(QTouchEvent* event) override {
        if (event->type() == QEvent::TouchEnd) ++clicks;
    }
    void touchUngrabEvent() override { ++lost; }
};

TEST_F(CollectionViewPointer, DragIsTakenOverFromAChildAndItsTapIsLeft) {
    strip->setContentOffset({394, 0});
    ui.settle();
    auto* button = new Button(strip->cellForItemAtIndexPath(2));
    button->setSize({134, 120});
    for (const bool byTouch : {false, true}) {
        button->clicks = button->lost = 0;
        strip->setContentOffset({394, 0});
        ui.settle();
        log.clear();
        byTouch ? ui.tap({200, 60}) : (ui.mousePress({200, 60}), ui.mouseRelease({200, 60}));
        EXPECT_EQ(button->clicks, 1) << byTouch;
        EXPECT_EQ(log, (Log{})) << "the child's tap is not the strip's, by touch " << byTouch;
        if (byTouch) {
            ui.touchDrag({200, 60}, {160, 60}, 160ms, true);
        } else {
            ui.mousePress({200, 60});
            for (const double to : {195.0, 185.0, 170.0, 160.0}) {
                ui.advance(100ms);
                ui.mouseMove({to, 60});
            }
            ui.advance(100ms);
            ui.mouseRelease({160, 60});
        }
        EXPECT_EQ(log, (Log{"begin", "scroll", "end"})) << "by touch " << byTouch;
        EXPECT_DOUBLE_EQ(x(), 424) << byTouch;
        EXPECT_EQ(button->clicks, 1) << byTouch;
        EXPECT_FALSE(strip->isDragging());
    }
}

TEST_F(CollectionViewPointer, SharesItsTouchesWithAFlickableAround) {
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nFlickable { width: 800; height: 120; contentWidth: 2000; contentHeight: 900 }",
                      {});
    const std::unique_ptr<QObject> flickable(component.create());
    auto* outer = qobject_cast<QQuickItem*>(flickable.get());
    ASSERT_TRUE(outer);
    outer->setParentItem(ui.root());
    strip->setParentItem(outer->property("contentItem").value<QQuickItem*>());
    for (const bool byTouch : {false, true}) {
        const auto stroke = [&](Point from, Point by) {
            byTouch ? ui.touchPress(from) : ui.mousePress(from);
            for (int i = 1; i <= 40; ++i) {
                ui.advance(16ms);
                const Point to{from.x + by.x * i / 40, from.y + by.y * i / 40};
                byTouch ? ui.touchMove(to) : ui.mouseMove(to);
            }
            ui.advance(200ms);
            const Point end{from.x + by.x, from.y + by.y};
            byTouch ? ui.touchRelease(end) : ui.mouseRelease(end);
            ui.advance(1000ms);
        };
        QMetaObject::invokeMethod(outer, "cancelFlick");
        outer->setProperty("contentY", 0);
        ui.advance(500ms);
        strip->setContentOffset({2000, 0});
        log.clear();
        stroke({600, 60}, {-200, 4});
        EXPECT_EQ(log, (Log{"begin", "scroll", "end"})) << byTouch;
        EXPECT_DOUBLE_EQ(x(), 2190) << byTouch;
        EXPECT_EQ(outer->property("contentX").toDouble(), 0) << "stolen, by touch " << byTouch;
        log.clear();
        stroke({300, 110}, {4, -100});
        EXPECT_EQ(log, Log{}) << "by touch " << byTouch;
        EXPECT_GT(outer->property("contentY").toDouble(), 40) << "not left to it, by touch " << byTouch;
    }
    strip->setParentItem(ui.root());
}

TEST_F(CollectionViewPointer, GrabTakenAwayEndsTheDrag) {
    strip->setContentOffset({2000, 0});
    log.clear();
    ui.mousePress({500, 60});
    ui.mouseMove({440, 60});
    ASSERT_TRUE(strip->isDragging());
    strip->ungrabMouse();
    EXPECT_EQ(log, (Log{"begin", "scroll", "end"}));
    ui.mouseRelease({440, 60});
    EXPECT_EQ(log.size(), 3u);
    ui.touchPress({500, 60});
    ui.touchMove({440, 60});
    strip->setVisible(false);
    ui.settle();
    EXPECT_FALSE(strip->isDragging());
    strip->setVisible(true);
    ui.touchRelease({440, 60});
    log.clear();
    ui.touchDrag({500, 60}, {400, 60}, 160ms, true);
    EXPECT_EQ(log, (Log{"begin", "scroll", "end"})) << "and the next one begins afresh";
}

TEST_F(CollectionViewPointer, ReloadDuringADragLeavesTheFingerItsStrip) {
    strip->setContentOffset({2000, 0});
    ui.touchPress({500, 60});
    ui.touchMove({450, 60});
    base = 100'000;
    strip->reloadData();
    ui.settle();
    expectCellsInPlace();
    EXPECT_DOUBLE_EQ(x(), 2040);
    ui.touchMove({440, 60});
    EXPECT_DOUBLE_EQ(x(), 2050);
    count = 0;
    strip->reloadData();
    ui.settle();
    ui.touchMove({430, 60});
    EXPECT_TRUE(strip->isDragging());
    ui.touchRelease({430, 60});
    rest();
    EXPECT_EQ(x(), 0);
    ui.tap({400, 60});
}

TEST_F(CollectionViewPointer, StripMayDieInEachCallback) {
    for (const std::string moment :
         {"begin", "scroll", "end, decelerates", "decelerating", "flight", "stopped", "select 15"}) {
        if (!strip) makeStrip(1000);
        strip->setContentOffset({2000, 0});
        ui.settle();
        // Qt still holds an item that gets a pointer event.
        const bool isInEvent = moment != "flight" && moment != "stopped";
        const auto die = [&] {
            isInEvent ? strip->deleteLater() : delete strip;
            strip = nullptr;
        };
        onEvent = {{moment, die}};
        int steps = 0;
        onScroll = [&] {
            if (!strip) return;
            const bool isFlight = strip->isDecelerating();
            if ((moment == "scroll" && ++steps == 2) || (moment == "flight" && isFlight && ++steps == 3)) die();
        };
        if (moment == "select 15") {
            ui.tap({400, 60});
        } else {
            ui.touchDrag({600, 60}, {440, 60}, 160ms);
            for (int i = 0; i < 300 && strip; ++i) ui.advance(16ms);
        }
        EXPECT_FALSE(strip) << moment << " did not come";
        onEvent.clear();
        onScroll = nullptr;
        ui.advance(100ms);
    }
}

}  // namespace
}  // namespace korvane
