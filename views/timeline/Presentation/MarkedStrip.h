#pragma once

#include <QPointer>
#include <QQuickItem>
#include <functional>

#include "korvane/base/Geometry.h"
#include "korvane/base/LifeToken.h"
#include "korvane/toolkit/CollectionView.h"
#include "korvane/toolkit/IndexPath.h"

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

    /// The same, in a gap the nearer neighbour; nothing for an empty strip.
    IndexPath nearestIndexPath() const;

    /// 0 when the item rests on the mark.
    double offsetBetweenPointerAndItemBegin(IndexPath indexPath) const;

    /// The content offset at which that is `offset`.
    double contentOffsetAt(IndexPath indexPath, double offset) const;

    Point baseOffset() const;
    void setBaseOffsetX(double x);

    /// Brings an item to the mark, in `fixedAnimationTime` seconds, or at a speed of its own for 0.001 and below, then
    /// calls `completion` while this lives, with false when something else has taken the strip over. Nothing at all for
    /// the first item and for no item.
    void scrollToPointer(IndexPath indexPath, double fixedAnimationTime,
                         std::function<void(bool hasFinished)> completion);

    /// Width of a spacer item that lets its neighbour rest on the mark.
    double headWidth() const;
    double tailWidth() const;

  private:
    bool isPrepared() const;
    Point pointer() const;
    Rect inContainer(const QQuickItem* item) const;

    QPointer<QQuickItem> container_;
    QPointer<CollectionView> strip_;
    QPointer<QQuickItem> mark_;
    LifeToken life_;
};

}  // namespace korvane
