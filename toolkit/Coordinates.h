#pragma once

#include "korvane/base/Geometry.h"

class QQuickItem;

namespace korvane {

/// Points and rectangles between the coordinates of two items of one window. A collection view's coordinates are those
/// of its content: they move with the content offset set. An item that is absent gives zeros. Main thread only.
Point convertPoint(Point point, const QQuickItem* from, const QQuickItem* to);
Rect convertRect(const Rect& rect, const QQuickItem* from, const QQuickItem* to);

/// The item's whole area in its own coordinates; of a collection view, the part of the content that shows.
Rect boundsOf(const QQuickItem* item);

/// Middle of the item, in its parent's coordinates.
Point centerOf(const QQuickItem* item);

}  // namespace korvane
