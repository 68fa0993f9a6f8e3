#pragma once

#include <QQuickItem>
#include <array>
#include <memory>
#include <optional>

#include "korvane/base/Geometry.h"
#include "korvane/base/LifeToken.h"
#include "korvane/base/Scheduler.h"

namespace korvane {

struct ToolkitContext;

/// An item that hears of pointers as one stream: began, moved..., ended or cancelled. It is the stream of the first
/// finger that comes down, until that is lifted, or of the left mouse button; a pen comes as that button. Further
/// pointers are ignored meanwhile, except for the second finger of a pinch. With
/// setFiltersChildMouseEvents() the stream holds pointers over its children too, and once claimed they are taken over.
/// Places are points of the item, times are those of the events in ms. Main thread only.
class PointerInput : public QQuickItem {
    Q_OBJECT
    QML_ANONYMOUS

  public:
    explicit PointerInput(QQuickItem* parent);
    ~PointerInput() override;

  protected:
    /// Who gets the pointer besides.
    enum class Claim {
        Shared,  ///< whoever wants it
        Kept,    ///< children, but no item around, such as a Flickable
        Taken,   ///< nobody
    };

    /// These may let the item go, by deleteLater(), because Qt still holds an item that gets an event.
    virtual void pointerBegan(Point at, double time) = 0;
    /// Comes for each new place, the last one included.
    virtual void pointerMoved(Point at, double time) = 0;
    /// `isForChild` when it came down on a child, which hears of the end too unless the pointer is taken.
    virtual void pointerEnded(Point at, double time, bool isForChild) = 0;
    /// Somebody else took the pointer away. Also comes when none is down.
    virtual void pointerCancelled() = 0;
    /// Asked after each of the above.
    virtual Claim pointerClaim() const = 0;

    /// Whether this item takes part in pinches; asked when a second finger comes down. With true that finger ends the
    /// first one's stream with pointerCancelled(), and nobody else gets the two from then on. A finger that stays down
    /// after the other is lifted is ignored.
    /// Two fingers pinch; holds already within the pointerCancelled() that ends the stream of the first one.
    bool isPinching() const { return pinch_.has_value(); }
    virtual bool takesPinch() const { return false; }
    /// The fingers of a pinch have moved: their middle now and at the last call (at first, when the second finger came
    /// down), and the factor by which their distance has grown since. The factor is finite and above 0, because
    /// distances below 1 point count as 1. Comes at most once for each event; a lift ends it without a call of its own.
    virtual void pinched(Point /*at*/, Point /*before*/, double /*factor*/) {}

    /// Whether this item takes the wheel; asked for each turn. With false the turn goes to whoever is around.
    virtual bool takesWheel() const { return true; }
    /// The wheel was turned by that many points, positive to the right or down, with the pointer at `at`. A burst is
    /// over when it has not been turned for 150 ms; a pointer that begins cuts it off without wheelEnded(). Not while a
    /// finger is down.
    virtual void wheelTurned(double delta, Point at) = 0;
    virtual void wheelEnded() = 0;

    /// What was current when the item was made.
    const std::shared_ptr<ToolkitContext>& context() const { return context_; }

    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void touchEvent(QTouchEvent* event) override;
    void touchUngrabEvent() override;
    void wheelEvent(QWheelEvent* event) override;
    bool childMouseEventFilter(QQuickItem* item, QEvent* event) override;

  private:
    /// Two fingers, and what was told of them last.
    struct Pinch {
        std::array<int, 2> ids;  // below 0 when lifted
        std::array<Point, 2> places;
        Point middle;
        double distance = 1;
        bool isWhole = true;
    };

    void begin(Point at, double time);
    void move(Point at, double time);
    void end(Point at, double time, bool isForChild);
    void cancel();
    void keepAsClaimed();
    bool isTaken() const { return pinch_ || pointerClaim() == Claim::Taken; }
    bool isFingerDown() const { return touchId_ >= 0 || pinch_; }
    bool isMouseDown() const;
    bool handleTouch(QTouchEvent* event, bool isForChild);
    bool handleFinger(const QEventPoint& finger, double time, bool isForChild);
    void beginPinch(int secondId, Point at);
    void followPinch();
    bool filterMouse(QMouseEvent* event);

    const std::shared_ptr<ToolkitContext> context_;
    Point last_;
    int touchId_ = -1;
    bool isMouse_ = false;  // the stream is the mouse's
    std::optional<Pinch> pinch_;
    Scheduler::TimerId wheelTimer_ = 0;
    LifeToken life_;
};

}  // namespace korvane
