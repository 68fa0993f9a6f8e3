#include "korvane/toolkit/Control.h"

#include <gtest/gtest.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <sstream>

#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/toolkit/TapRecognizer.h"

namespace korvane {
namespace {

/// Notes each call by a letter and its x. It is as the letters of `is` say: n(o tracking), p(inches), w(heels).
class NotedControl : public Control {
  public:
    explicit NotedControl(QQuickItem* parent) : Control(parent) {
        setSize({800, 120});
        connect(this, &Control::valueChanged, [this] { note("v"); });
        addGestureRecognizer(tap);
    }
    bool beginTrackingWithTouch(Point at) override { return note("b", at), !has('n'); }
    bool continueTrackingWithTouch(Point at) override {
        note("m", at);
        if (at.x == 108) sendActionsForControlEvents(ControlEventValueChanged | 1);
        return at.x != 103;
    }
    void endTrackingWithTouch(Point at) override { note(isTracking() ? "?" : "e", at); }
    void cancelTrackingWithEvent() override { note(isTracking() || tap->state() != 5 ? "?" : "c"); }
    bool takesPinch() const override { return has('p'); }
    void pinched(Point at, Point before, double factor) override {
        note("p" + std::to_string(int(before.x)) + "*" + std::to_string(int(factor * 100 + 0.5)) + ">", at);
    }
    bool takesWheel() const override { return has('w'); }
    void wheelTurned(double delta, Point at) override { note("w" + std::to_string(int(delta)) + "@", at); }

    bool has(char letter) const { return is.find(letter) != std::string::npos; }
    void note(const std::string& what) {
        log += (log.empty() ? "" : " ") + what;
        if (onCall) onCall(what);
    }
    void note(const std::string& what, Point at) { note(what + std::to_string(int(at.x))); }

    std::string log, is;
    std::function<void(const std::string&)> onCall;
    std::shared_ptr<TapRecognizer> tap = std::make_shared<TapRecognizer>(
        [this](TapRecognizer& its) { note(its.state() == 3 ? "t" : "?", its.location()); });
};

struct Controls : testing::Test {
    /// Steps: d(own), m(ove), u(p), w(heel) of P(ointer), O(ther pointer) or a finger; +ms waits, h hides for a moment.
    std::string play(const std::string& script, int pointer = 0) {
        control->log.clear();
        std::istringstream steps(script);
        for (std::string step; control && steps >> step;) {
            char what = 0, who = 0;
            Point at{0, 60};
            std::sscanf(step.c_str(), "%c%c%lf,%lf", &what, &who, &at.x, &at.y);
            const int its = who == 'P' ? pointer : who == 'O' ? -1 - pointer : who - '0';
            if (what == '+') ui.advance(std::chrono::milliseconds(std::stoi(step)));
            if (what == 'd') ui.press(at, its);
            if (what == 'm') ui.move(at, its);
            if (what == 'u') ui.release(at, its);
            if (what == 'w') ui.wheel(at, {0, -120});
            for (const bool isShown : {false, true}) what == 'h' ? control->setVisible(isShown) : void();
        }
        return control ? control->log : "";
    }
    VirtualUi ui;
    QPointer<NotedControl> control = new NotedControl(ui.root());
};

TEST_F(Controls, FollowOnePointerOrPinchAndFindTaps) {
    for (const auto& [script, heard, is] : std::vector<std::array<std::string, 3>>{
             {"dP100 +500 uP100", "b100 e100 t100"},
             {"dP100 +501 uP100", "b100 e100"},
             {"dP100 mP110 mP104 uP104", "b100 m110 m104 e104 t104"},
             {"dP100 mP108,67 mP100 uP100", "b100 m108 v m100 e100"},
             {"dP100 mP104 uP104", "b100 t104", "n"},
             {"dP100 mP103 mP104 uP104", "b100 m103 t104"},
             {"dP100 mP102 h mP104 uP104", "b100 m102 c"},
             {"dP100 dO300 mO310 uO310 mP120 uP120 dO9 uO9", "b100 m120 e120 b9 e9 t9", "p"},
             {"dP100 d2300 uP100 m2310 u2310 dP7 uP7", "b100 e100 t100 b7 e7 t7"},
             {"d1100 d2200 m2300 m1200 u1200 m2400 u2400 dP9 uP9", "b100 c p150*200>200 p200*50>250 b9 e9 t9", "p"},
             {"d1100 d2100,110 m2100 m2102 u2102 d2300 u1100 dP5 uP5 u20", "b100 c p100*2>100 p100*200>101 b5 e5 t5",
              "p"},
             {"d1100 d2200 d3400 m3500 w1100 dO9 uO9 m10 u3500 u2200 u10", "b100 c p150*200>100", "pw"},
             {"d1100 d2200 h m1150 m2300 u1150 u2300 d28 u28", "b100 c b8 e8 t8", "p"}}) {
        for (const int pointer : {0, VirtualUi::mouse}) {
            control->is = is;
            EXPECT_EQ(play(script, pointer), heard) << script << pointer;
        }
    }
    control->onCall = [&](auto& call) { call == "e100" ? control->removeGestureRecognizer(control->tap) : void(); };
    EXPECT_EQ(play("dP100 uP100"), "b100 e100");
    EXPECT_EQ(control->tap->state(), 5);
}

TEST_F(Controls, ShareWithThoseAroundAndWithChildren) {
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nFlickable { width: 800; height: 120; contentWidth: 2000 }", {});
    const std::unique_ptr<QObject> flickable(component.create());
    qobject_cast<QQuickItem*>(flickable.get())->setParentItem(ui.root());
    control->setParentItem(flickable->property("contentItem").value<QQuickItem*>());
    control->setFiltersChildMouseEvents(true);
    auto* const child = new NotedControl(control);
    child->setHeight(100);
    for (const auto& [script, heard, childHeard, is, childIs] : std::vector<std::array<std::string, 5>>{
             {"dP500 mP496 uP496", "b500 m496 e496", "b500 t496", "", "n"},
             {"dP500 mP495 uP495", "b500 m495 e495 t495", "b500", "", "n"},
             {"dP500 mP460 mP400 mP300 uP300", "b500 m460 m400 m300 e300", "b500", "", "n"},
             {"dP500,110 mP460,110 mP400,110 uP400,110", "b500 m460 m400 e400", "", "", "n"},
             {"dP500 mP460 mP400 mP300 uP300", "b500 flicked", "b500", "n", "n"},
             {"d1500 d2520 m1400 m2420 u1400 u2420", "b500 p510*600>460 p460*17>410", "b500", "np", "n"},
             {"w170", "", "w60@70", "w", "w"},
             {"w170", "w60@70", "", "w", "n"}}) {
        for (const int pointer : {0, VirtualUi::mouse}) {
            control->is = is;
            child->is = childIs;
            play(script, pointer);
            if (flickable->property("contentX").toDouble() != 0) control->note("flicked");
            EXPECT_EQ(control->log, heard) << script << pointer;
            EXPECT_EQ(std::exchange(child->log, ""), childHeard) << script << pointer;
            flickable->setProperty("contentX", 0);
        }
    }
}

TEST_F(Controls, MayBeLetGoInEachCall) {
    for (const std::string moment : {"b100", "m108", "v", "e108", "c", "t90", "p150*200>200", "w60@70"}) {
        if (!control) control = new NotedControl(ui.root());
        control->is = "wp";
        control->onCall = [&](auto& call) { call == moment ? control->deleteLater() : void(); };
        play("w170 dP90 uP90 dP100 mP108 uP108 dP100 d1200 m1300 u10 uP0");
        EXPECT_FALSE(control) << moment << " did not come";
    }
}

}  // namespace
}  // namespace korvane
