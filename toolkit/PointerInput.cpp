#include "korvane/toolkit/PointerInput.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPointer>
#include <QTouchEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <utility>

#include "korvane/toolkit/ToolkitContext.h"

namespace korvane {
namespace {

constexpr double wheelStep = 60;    // points for one notch
constexpr double wheelNotch = 120;  // in the event's unit, eighths of a degree
constexpr std::chrono::milliseconds wheelQuietTime(150);

double timeOf(const QInputEvent& event) {
    return static_cast<double>(event.timestamp());
}

Point toPoint(QPointF at) {
    return {at.x(), at.y()};
}

Point middleOf(Point a, Point b) {
    return {(a.x + b.x) / 2, (a.y + b.y) / 2};
}

double fingerDistance(Point a, Point b) {
    return std::max(1.0, std::hypot(a.x - b.x, a.y - b.y));
}

}  // namespace

PointerInput::PointerInput(QQuickItem* parent) : QQuickItem(parent), context_(ToolkitContext::current()) {
    setAcceptTouchEvents(true);
    setAcceptedMouseButtons(Qt::LeftButton);
}

PointerInput::~PointerInput() {
    context_->scheduler->cancel(wheelTimer_);
}

void PointerInput::begin(Point at, double time) {
    last_ = at;
    context_->scheduler->cancel(wheelTimer_);
    pointerBegan(at, time);
    keepAsClaimed();
}

void PointerInput::move(Point at, double time) {
    if (at == last_) return;
    last_ = at;
    pointerMoved(at, time);
    keepAsClaimed();
}

void PointerInput::end(Point at, double time, bool isForChild) {
    move(at, time);
    pointerEnded(at, time, isForChild);
    keepAsClaimed();
}

void PointerInput::cancel() {
    touchId_ = -1;
    isMouse_ = false;
    pinch_.reset();
    const QPointer<PointerInput> self(this);  // a grab may be taken away outside of events
    pointerCancelled();
    if (self) keepAsClaimed();
}

// A Flickable around the item sees each event first, so the grab must be kept before its threshold is reached.
void PointerInput::keepAsClaimed() {
    const bool isKept = pinch_ || pointerClaim() != Claim::Shared;
    setKeepMouseGrab(isKept);
    setKeepTouchGrab(isKept);
}

// The end of a button may go by unseen where a child got it, so the flag alone does not tell.
bool PointerInput::isMouseDown() const {
    return isMouse_ && QGuiApplication::mouseButtons().testFlag(Qt::LeftButton);
}

// Further buttons come too while the left one is down.
void PointerInput::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || isFingerDown()) return;
    isMouse_ = true;
    begin(toPoint(event->position()), timeOf(*event));
}

void PointerInput::mouseMoveEvent(QMouseEvent* event) {
    if (isMouse_) move(toPoint(event->position()), timeOf(*event));
}

void PointerInput::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !isMouse_) return;
    isMouse_ = false;
    end(toPoint(event->position()), timeOf(*event), false);
}

void PointerInput::mouseUngrabEvent() {
    if (isMouse_ || !isFingerDown()) cancel();
}

void PointerInput::touchEvent(QTouchEvent* event) {
    event->setAccepted(handleTouch(event, false));
}

void PointerInput::touchUngrabEvent() {
    if (!isMouseDown()) cancel();
}

// True when the event is not for anybody else.
bool PointerInput::handleTouch(QTouchEvent* event, bool isForChild) {
    if (event->type() == QEvent::TouchCancel) {
        touchUngrabEvent();
        return !isForChild;
    }
    bool wasTaken = false;
    for (qsizetype i = 0; i < event->pointCount(); ++i) {
        auto& finger = event->point(i);
        const bool isLift = finger.state() == QEventPoint::Released;
        const bool isTakenBefore = isTaken();
        if (!handleFinger(finger, timeOf(*event), isForChild)) continue;
        if (isLift) {
            wasTaken = wasTaken || isTakenBefore;
        } else if (isForChild && isTaken()) {
            event->setExclusiveGrabber(finger, this);
        }
    }
    if (pinch_) followPinch();
    return !isForChild || wasTaken || isTaken();
}

// False when the finger is nobody.
bool PointerInput::handleFinger(const QEventPoint& finger, double time, bool isForChild) {
    const Point at = toPoint(mapFromScene(finger.scenePosition()));
    const bool isLift = finger.state() == QEventPoint::Released;
    if (finger.state() == QEventPoint::Pressed && !isFingerDown() && !isMouseDown()) {
        touchId_ = finger.id();
        isMouse_ = false;
        begin(at, time);
    } else if (finger.state() == QEventPoint::Pressed && touchId_ >= 0 && finger.id() != touchId_) {
        if (!takesPinch()) return false;
        beginPinch(finger.id(), at);
    } else if (pinch_) {
        const auto found = std::find(pinch_->ids.begin(), pinch_->ids.end(), finger.id());
        if (found == pinch_->ids.end()) return false;
        const auto index = static_cast<std::size_t>(found - pinch_->ids.begin());
        pinch_->places[index] = at;
        if (isLift) pinch_->ids[index] = -1;
    } else if (finger.id() != touchId_) {
        return false;
    } else if (isLift) {
        touchId_ = -1;
        end(at, time, isForChild);
    } else {
        move(at, time);
    }
    return true;
}

void PointerInput::beginPinch(int secondId, Point at) {
    pinch_ = Pinch{{touchId_, secondId}, {last_, at}, middleOf(last_, at), fingerDistance(last_, at)};
    touchId_ = -1;
    pointerCancelled();
    keepAsClaimed();
}

// After all fingers of an event have their places.
void PointerInput::followPinch() {
    Pinch& pinch = *pinch_;
    const Point middle = middleOf(pinch.places[0], pinch.places[1]);
    const double distance = fingerDistance(pinch.places[0], pinch.places[1]);
    const Point middleBefore = std::exchange(pinch.middle, middle);
    const double factor = distance / std::exchange(pinch.distance, distance);
    const bool isToBeTold = pinch.isWhole && (middle != middleBefore || factor != 1);
    pinch.isWhole = pinch.ids[0] >= 0 && pinch.ids[1] >= 0;
    if (pinch.ids[0] < 0 && pinch.ids[1] < 0) pinch_.reset();
    if (isToBeTold) pinched(middle, middleBefore, factor);
    keepAsClaimed();
}

bool PointerInput::filterMouse(QMouseEvent* event) {
    const Point at = toPoint(mapFromScene(event->scenePosition()));
    const bool wasTaken = isTaken();
    if (event->type() == QEvent::MouseButtonPress) {
        isMouse_ = event->button() == Qt::LeftButton || isMouse_;
        if (event->button() == Qt::LeftButton) begin(at, timeOf(*event));
    } else if (event->type() == QEvent::MouseMove) {
        move(at, timeOf(*event));
    } else {
        isMouse_ = false;
        end(at, timeOf(*event), true);
        return wasTaken;
    }
    if (isTaken() && !wasTaken) event->setExclusiveGrabber(event->point(0), this);
    return isTaken();
}

bool PointerInput::childMouseEventFilter(QQuickItem* item, QEvent* event) {
    const bool isKept = item->keepMouseGrab() || item->keepTouchGrab();
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseMove:
        case QEvent::MouseButtonRelease:
            return !isKept && filterMouse(static_cast<QMouseEvent*>(event));
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::TouchEnd:
        case QEvent::TouchCancel:
            return !isKept && handleTouch(static_cast<QTouchEvent*>(event), true);
        case QEvent::UngrabMouse:
            // When this item itself took the grab, the stream goes on.
            if (!isTaken()) cancel();
            return false;
        default:
            return QQuickItem::childMouseEventFilter(item, event);
    }
}

void PointerInput::wheelEvent(QWheelEvent* event) {
    const QPoint pixels = event->pixelDelta();
    const QPointF turned = pixels.isNull() ? QPointF(event->angleDelta()) * (wheelStep / wheelNotch) : QPointF(pixels);
    const double delta = std::abs(turned.x()) >= std::abs(turned.y()) ? turned.x() : turned.y();
    event->setAccepted(takesWheel());
    if (!event->isAccepted() || delta == 0 || isFingerDown()) return;
    context_->scheduler->cancel(wheelTimer_);
    wheelTimer_ = context_->scheduler->after(wheelQuietTime, life_.guard([this] { wheelEnded(); }));
    wheelTurned(-delta, toPoint(event->position()));
}

}  // namespace korvane
