#pragma once

#include <QQuickItem>
#include <memory>

#include "korvane/base/Geometry.h"
#include "korvane/base/LifeToken.h"
#include "korvane/base/Scheduler.h"

namespace korvane {

struct ToolkitContext;

/// An item that hears of pointers as one stream: began, moved..., ended or cancelled. It is the stream of the first
/// finger that comes down, until that is lifted, or of the left mouse button; a pen comes as that button. With
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

    /// The wheel was turned by that many points, positive to the right or down. A burst is over when it has not been
    /// turned for 150 ms; a pointer that begins cuts it off without wheelEnded(). Not while a finger is down.
    virtual void wheelTurned(double delta) = 0;
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
    void begin(Point at, double time);
    void move(Point at, double time);
    void end(Point at, double time, bool isForChild);
    void cancel();
    void keepAsClaimed();
    bool isTaken() const { return pointerClaim() == Claim::Taken; }
    bool handleTouch(QTouchEvent* event, bool isForChild);
    bool filterMouse(QMouseEvent* event);

    const std::shared_ptr<ToolkitContext> context_;
    Point last_;
    int touchId_ = -1;
    Scheduler::TimerId wheelTimer_ = 0;
    LifeToken life_;
};

}  // namespace korvane
