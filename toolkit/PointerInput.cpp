#include "korvane/toolkit/PointerInput.h"

#include <QMouseEvent>
#include <QPointer>
#include <QTouchEvent>
#include <QWheelEvent>
#include <cmath>

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
    const QPointer<PointerInput> self(this);  // a grab may be taken away outside of events
    pointerCancelled();
    if (self) keepAsClaimed();
}

// A Flickable around the item sees each event first, so the grab must be kept before its threshold is reached.
void PointerInput::keepAsClaimed() {
    const bool isKept = pointerClaim() != Claim::Shared;
    setKeepMouseGrab(isKept);
    setKeepTouchGrab(isKept);
}

void PointerInput::mousePressEvent(QMouseEvent* event) {
    begin(toPoint(event->position()), timeOf(*event));
}

void PointerInput::mouseMoveEvent(QMouseEvent* event) {
    move(toPoint(event->position()), timeOf(*event));
}

void PointerInput::mouseReleaseEvent(QMouseEvent* event) {
    end(toPoint(event->position()), timeOf(*event), false);
}

void PointerInput::mouseUngrabEvent() {
    cancel();
}

void PointerInput::touchEvent(QTouchEvent* event) {
    event->setAccepted(handleTouch(event, false));
}

void PointerInput::touchUngrabEvent() {
    cancel();
}

// True when the event is not for anybody else.
bool PointerInput::handleTouch(QTouchEvent* event, bool isForChild) {
    if (event->type() == QEvent::TouchCancel) {
        cancel();
        return !isForChild;
    }
    for (qsizetype i = 0; i < event->pointCount(); ++i) {
        auto& point = event->point(i);
        const Point at = toPoint(mapFromScene(point.scenePosition()));
        if (point.state() == QEventPoint::Pressed && touchId_ < 0) {
            touchId_ = point.id();
            begin(at, timeOf(*event));
        } else if (point.id() != touchId_) {
            continue;
        } else if (point.state() == QEventPoint::Released) {
            touchId_ = -1;
            const bool wasTaken = isTaken();
            end(at, timeOf(*event), isForChild);
            return !isForChild || wasTaken;
        } else {
            move(at, timeOf(*event));
        }
        if (isForChild && isTaken()) event->setExclusiveGrabber(point, this);
    }
    return !isForChild || isTaken();
}

bool PointerInput::filterMouse(QMouseEvent* event) {
    const Point at = toPoint(mapFromScene(event->scenePosition()));
    const bool wasTaken = isTaken();
    if (event->type() == QEvent::MouseButtonPress) {
        if (event->button() == Qt::LeftButton) begin(at, timeOf(*event));
    } else if (event->type() == QEvent::MouseMove) {
        move(at, timeOf(*event));
    } else {
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
    event->accept();
    if (delta == 0 || touchId_ >= 0) return;
    context_->scheduler->cancel(wheelTimer_);
    wheelTimer_ = context_->scheduler->after(wheelQuietTime, life_.guard([this] { wheelEnded(); }));
    wheelTurned(-delta);
}

}  // namespace korvane
