#pragma once

#include <memory>
#include <vector>

#include "korvane/base/Geometry.h"
#include "korvane/toolkit/PointerInput.h"

namespace korvane {

class TapRecognizer;

/// An item that follows one pointer at a time, a finger or the left mouse button, and says when its value has changed.
/// Within each call that it makes it may be let go by deleteLater(), as is said at PointerInput. While it follows a
/// pointer nobody around gets that one, and once it has gone more than 4 points no child either. It leaves the wheel
/// and pinches alone unless a subclass takes them. Places are points of the item. Main thread only.
class Control : public PointerInput {
    Q_OBJECT
    QML_ANONYMOUS

  public:
    /// Bits of what actions are sent for; a number of the interface.
    enum ControlEvents : int { ControlEventValueChanged = 4096 };

    explicit Control(QQuickItem* parent = nullptr);
    ~Control() override;

    /// A pointer came down. With false it is not followed, and whoever is around may have it. Answers true.
    virtual bool beginTrackingWithTouch(Point at);
    /// Comes for each new place, the last one included. With false the pointer is followed no longer, and no call tells
    /// of its end. Answers true.
    virtual bool continueTrackingWithTouch(Point at);
    /// The pointer was lifted. Does nothing.
    virtual void endTrackingWithTouch(Point at);
    /// The pointer was taken away, by somebody around or by a second finger that begins a pinch, or the item was
    /// hidden or disabled. Does nothing.
    virtual void cancelTrackingWithEvent();

    /// From the answer of beginTrackingWithTouch() until the end, which is told without it.
    bool isTracking() const { return isTracking_; }

    /// Emits the signals of those bits; others are ignored.
    void sendActionsForControlEvents(int controlEvents);

    /// Has it look for taps in all pointers from the next one on, whether they are followed or not. Its action runs
    /// after endTrackingWithTouch(). What a child hears of to its end is none of its taps. Null is ignored,
    /// and adding one twice makes no difference.
    void addGestureRecognizer(std::shared_ptr<TapRecognizer> recognizer);
    /// What is not there is ignored. A touch that is under way becomes no tap.
    void removeGestureRecognizer(const std::shared_ptr<TapRecognizer>& recognizer);

  signals:
    void valueChanged();

  protected:
    void pointerBegan(Point at, double time) override;
    void pointerMoved(Point at, double time) override;
    void pointerEnded(Point at, double time, bool isForChild) override;
    void pointerCancelled() override;
    Claim pointerClaim() const override;
    bool takesWheel() const override { return false; }
    void wheelTurned(double delta, Point at) override;
    void wheelEnded() override;

  private:
    std::vector<std::shared_ptr<TapRecognizer>> recognizers_;
    Point pressed_;
    bool isTracking_ = false;
    bool isDragged_ = false;
};

}  // namespace korvane
