#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>

#include "korvane/tests/toolkit/StripFixture.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

struct CollectionViewPointer : StripTest {
    void glideTo(double to) {
        animateKeyframes(
            1.0,
            [&] {
                strip->setContentOffset({to, 0});
            },
            [this](bool finished) { note(finished ? "done" : "cut"); });
        log.clear();
    }
};

TEST_F(CollectionViewPointer, FlickDeceleratesInOrder) {
    for (const int pointer : {0, VirtualUi::mouse}) {
        start(2000);
        ui.drag({600, 60}, {440, 60}, 160ms, false, pointer);
        const double lifted = x();
        EXPECT_DOUBLE_EQ(lifted, 2150);
        rest();
        EXPECT_EQ(log, (Log{"begin", "scroll", "end, decelerates", "decelerating", "scroll", "stopped"}));
        EXPECT_NEAR(x(), lifted + 500, 60) << "about a point per ms over half a second's worth";
        expectCellsInPlace();
    }
}

TEST_F(CollectionViewPointer, TapSelectsWhatIsUnderTheFinger) {
    start(394);  // where the first inner cell begins; a gap does at 134
    for (const int pointer : {0, VirtualUi::mouse}) {
        for (const auto& [at, heard] : {std::pair(5, Log{"select 1"}), {275, {"select 3"}}, {135, {}}}) {
            log.clear();
            ui.tap({double(at), 60}, pointer);
            EXPECT_EQ(log, heard) << at;
        }
    }
}

TEST_F(CollectionViewPointer, WhatMovesIsCaughtWhereItIsSeenAndDragsOn) {
    for (const bool isFlick : {true, false}) {
        start(2000);
        if (isFlick) ui.drag({600, 60}, {440, 60}, 160ms);
        if (!isFlick) glideTo(5000);
        ui.advance(496ms);
        EXPECT_EQ(log.size(), isFlick ? 5U : 0U) << "an animation's value changed once, when it began";
        const double seen = strip->seenContentOffset().x;
        EXPECT_NEAR(seen, isFlick ? 2450 : 3500, 60);
        expectCellsInPlace();
        log.clear();
        ui.press({300, 60});
        EXPECT_EQ(log, isFlick ? Log{"begin"} : (Log{"scroll", "cut", "begin"})) << "and no end of the deceleration";
        ui.advance(200ms);
        EXPECT_EQ(x(), seen);
        ui.move({295, 60});
        EXPECT_DOUBLE_EQ(x(), seen + 5);
        ui.advance(100ms);
        log.clear();
        ui.release({295, 60});
        ui.advance(1000ms);
        EXPECT_EQ(log, Log{"end"}) << "and no tap";
        EXPECT_DOUBLE_EQ(x(), seen + 5);
    }
}

TEST_F(CollectionViewPointer, CreepingStripStillTakesTapsAndDrags) {
    start(394);
    glideTo(400);
    ui.advance(496ms);
    ui.tap({137 + 60, 60});
    EXPECT_EQ(log, Log{"select 2"});
    ui.advance(600ms);
    glideTo(406);
    ui.advance(496ms);
    const double seen = strip->seenContentOffset().x;
    ui.press({300, 60});
    EXPECT_EQ(log, Log{});
    ui.move({280, 60});
    EXPECT_EQ(log, (Log{"scroll", "cut", "begin", "scroll"}));
    EXPECT_NEAR(x(), seen + 10, 1e-9);
    ui.release({280, 60});
}

TEST_F(CollectionViewPointer, WheelBurstIsOneDrag) {
    start(2000);
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
    start(2000);
    ui.press({500, 60}, 0);
    ui.move({450, 60}, 0);
    ui.press({100, 60}, 1);
    ui.move({300, 60}, 1);
    EXPECT_DOUBLE_EQ(x(), 2040);
    ui.release({300, 60}, 1);
    EXPECT_TRUE(strip->isDragging());
    ui.advance(100ms);
    ui.release({450, 60}, 0);
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

  protected:
    void mousePressEvent(QMouseEvent*) override {}
    void mouseMoveEvent(QMouseEvent*) override {}
    void mouseReleaseEvent(QMouseEvent*) override { ++clicks; }
    void touchEvent(QTouchEvent* event) override {
        if (event->type() == QEvent::TouchEnd) ++clicks;
    }
};

TEST_F(CollectionViewPointer, DragIsTakenOverFromAChildAndItsTapIsLeft) {
    start(394);
    auto* button = new Button(strip->cellForItemAtIndexPath(2));
    button->setSize({134, 120});
    for (const int pointer : {0, VirtualUi::mouse}) {
        SCOPED_TRACE(pointer);
        button->clicks = 0;
        start(394);
        ui.tap({200, 60}, pointer);
        EXPECT_EQ(button->clicks, 1);
        EXPECT_EQ(log, Log{}) << "the child's tap is not the strip's";
        ui.drag({200, 60}, {160, 60}, 160ms, true, pointer);
        EXPECT_EQ(log, (Log{"begin", "scroll", "end"}));
        EXPECT_DOUBLE_EQ(x(), 424);
        EXPECT_EQ(button->clicks, 1);
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
    for (const int pointer : {VirtualUi::mouse, 0}) {
        SCOPED_TRACE(pointer);
        QMetaObject::invokeMethod(outer, "cancelFlick");
        outer->setProperty("contentY", 0);
        ui.advance(500ms);
        start(2000);
        ui.drag({600, 60}, {400, 64}, 640ms, true, pointer);
        ui.advance(1000ms);
        EXPECT_EQ(log, (Log{"begin", "scroll", "end"}));
        EXPECT_DOUBLE_EQ(x(), 2190);
        EXPECT_EQ(outer->property("contentX").toDouble(), 0) << "stolen";
        log.clear();
        ui.drag({300, 110}, {304, 10}, 640ms, true, pointer);
        ui.advance(1000ms);
        EXPECT_EQ(log, Log{});
        EXPECT_GT(outer->property("contentY").toDouble(), 40) << "not left to it";
    }
    strip->setParentItem(ui.root());
}

TEST_F(CollectionViewPointer, RubberBandAtBothEnds) {
    const double end = strip->contentSize().width - 800;
    for (const double edge : {0.0, end}) {
        SCOPED_TRACE(edge);
        start(edge);
        const double side = edge > 0 ? 1 : -1;
        ui.drag({400 + side * 300, 60}, {400 - side * 100, 60}, 640ms, true);
        EXPECT_EQ(log, (Log{"begin", "scroll", "end, decelerates", "decelerating"}));
        double pulled = std::abs(x() - edge);
        EXPECT_GT(pulled, 100);
        EXPECT_LT(pulled, 220);
        expectCellsInPlace();
        onScroll = [&] {
            EXPECT_LE(std::abs(x() - edge), pulled) << "springs back without a swing";
            pulled = std::abs(x() - edge);
        };
        rest();
        onScroll = nullptr;
        EXPECT_EQ(x(), edge);
        EXPECT_EQ(log.back(), "stopped");
        expectCellsInPlace();
    }
}

}  // namespace
}  // namespace korvane
