#pragma once

#include <QPointer>
#include <QQuickItem>
#include <functional>

#include "base/Geometry.h"
#include "base/LifeToken.h"
#include "toolkit/CollectionView.h"
#include "toolkit/IndexPath.h"

namespace korvane {

/// A strip that scrolls under a fixed centre mark: the geometry between the strip's content offset and the item under
/// the mark. The pointer is the mark's middle in content coordinates, by the offset set. Lengths are points. Items that
/// are absent count as zeros. Main thread only.
class MarkedStrip {
  public:
    MarkedStrip() = default;
    /// Not owned. `container` holds both.
    void setItems(QQuickItem* container, CollectionView* strip, QQuickItem* mark);

    /// The item under the mark; nothing in a gap or beyond the last.
    IndexPath indexPathFromPointer() const;

    /// 0 when the item rests on the mark.
    double offsetBetweenPointerAndItemBegin(IndexPath indexPath) const;

    Point baseOffset() const;
    void setBaseOffsetX(double x);

    /// Brings an item to the mark, in `fixedAnimationTime` seconds, or at a speed of its own for 0.001 and below, then
    /// calls `completion` while this lives. Nothing at all for the first item and for no item.
    void scrollToPointer(IndexPath indexPath, double fixedAnimationTime, std::function<void()> completion);

    /// Width of a spacer item that lets its neighbour rest on the mark.
    double headWidth() const;
    double tailWidth() const;

  private:
    Point pointer() const;
    Rect inContainer(const QQuickItem* item) const;

    QPointer<QQuickItem> container_;
    QPointer<CollectionView> strip_;
    QPointer<QQuickItem> mark_;
    LifeToken life_;
};

}  // namespace korvane
