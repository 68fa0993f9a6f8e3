#include "korvane/toolkit/Coordinates.h"

#include <QQuickItem>

#include "korvane/toolkit/CollectionView.h"

namespace korvane {
namespace {

Point origin(const QQuickItem* item) {
    const auto* strip = qobject_cast<const CollectionView*>(item);
    return strip ? strip->contentOffset() : Point();
}

}  // namespace

Point convertPoint(Point point, const QQuickItem* from, const QQuickItem* to) {
    if (!from || !to) return {};
    const Point out = origin(from);
    const Point in = origin(to);
    const QPointF mapped = from->mapToItem(to, QPointF(point.x - out.x, point.y - out.y));
    return {mapped.x() + in.x, mapped.y() + in.y};
}

Rect convertRect(const Rect& rect, const QQuickItem* from, const QQuickItem* to) {
    if (!from || !to) return {};
    const Point out = origin(from);
    const Point in = origin(to);
    const QRectF mapped = from->mapRectToItem(to, QRectF(rect.x - out.x, rect.y - out.y, rect.width, rect.height));
    return {mapped.x() + in.x, mapped.y() + in.y, mapped.width(), mapped.height()};
}

Rect boundsOf(const QQuickItem* item) {
    if (!item) return {};
    const Point at = origin(item);
    return {at.x, at.y, item->width(), item->height()};
}

Point centerOf(const QQuickItem* item) {
    if (!item) return {};
    return {item->x() + item->width() / 2, item->y() + item->height() / 2};
}

}  // namespace korvane
