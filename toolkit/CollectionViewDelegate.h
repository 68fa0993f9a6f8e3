#pragma once

#include <cstdint>
#include <optional>

#include "korvane/base/Geometry.h"
#include "korvane/toolkit/IndexPath.h"

namespace korvane {

class CollectionView;

/// Hears what happens to a collection view and decides on sizes. Called on the main thread. What tells of a tap or of
/// scrolling may change the view, and may destroy it: by deleteLater() where it comes from a pointer event (all but the
/// callbacks of a deceleration), because Qt still holds an item that gets an event. Questions for sizes and insets must
/// leave the view alone.
class CollectionViewDelegate {
  public:
    virtual ~CollectionViewDelegate() = default;

    /// A tap on an item.
    virtual void collectionViewDidSelectItemAtIndexPath(CollectionView& /*view*/, IndexPath /*indexPath*/) {}

    /// Asked for items 0, 1 and the last, in every preparation of the layout; all but the first and last have the size
    /// of item 1.
    virtual Size collectionViewLayoutSizeForItemAtIndexPath(CollectionView& /*view*/, IndexPath /*indexPath*/) {
        return {50, 50};
    }

    /// Nothing leaves it to the layout's sectionInset().
    virtual std::optional<EdgeInsets> collectionViewLayoutInsetForSectionAtIndex(CollectionView& /*view*/,
                                                                                 std::int64_t /*section*/) {
        return std::nullopt;
    }

    /// The content offset at which a new layout shows what the one before has shown; nothing leaves the strip where it
    /// is, within its new bounds. Asked in every preparation of the layout, when its frames are known. What is under
    /// way, a finger, a deceleration or an animation, goes on from there, and nobody hears of it as scrolling. Leaves
    /// the view alone.
    virtual std::optional<double> collectionViewContentOffsetInNewLayout(CollectionView& /*view*/) {
        return std::nullopt;
    }

    /// One drag: will begin dragging, did scroll..., did end dragging; and if that said that a deceleration follows:
    /// will begin decelerating, did scroll..., did end decelerating, which does not come when a finger catches the
    /// strip (a new drag begins) or the content offset is set meanwhile. A burst of wheel turns is such a drag
    /// too, and has no end either when the content offset is set meanwhile.
    virtual void scrollViewWillBeginDragging(CollectionView& /*view*/) {}

    /// The content offset has changed, by whatever cause. While an animation runs it holds its end value from the
    /// start.
    virtual void scrollViewDidScroll(CollectionView& /*view*/) {}
    /// A whole turn of the main loop has passed without a change of the content offset, after one with.
    virtual void scrollViewDidComeToStandstill(CollectionView& /*view*/) {}
    virtual void scrollViewDidEndDragging(CollectionView& /*view*/, bool /*willDecelerate*/) {}
    virtual void scrollViewWillBeginDecelerating(CollectionView& /*view*/) {}
    virtual void scrollViewDidEndDecelerating(CollectionView& /*view*/) {}
};

}  // namespace korvane
