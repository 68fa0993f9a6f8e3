#pragma once

#include <cstdint>

#include "korvane/toolkit/IndexPath.h"

namespace korvane {

class CollectionView;
class CollectionViewCell;

/// Gives a collection view its content. Called on the main thread.
class CollectionViewDataSource {
  public:
    virtual ~CollectionViewDataSource() = default;

    /// A view shows section 0 only; 0 sections show nothing.
    virtual std::int64_t numberOfSectionsInCollectionView(CollectionView& /*view*/) { return 1; }

    /// Asked in every preparation of the layout. A negative number counts as 0.
    virtual std::int64_t collectionViewNumberOfItemsInSection(CollectionView& view, std::int64_t section) = 0;

    /// A cell from CollectionView::dequeueReusableCell() of `view`, filled. Null leaves the place empty.
    virtual CollectionViewCell* collectionViewCellForItemAtIndexPath(CollectionView& view, IndexPath indexPath) = 0;

    /// Where that which `cell` shows stands now that items have come or gone. Nothing when it is gone or its place is
    /// not known: the cell is recycled then. Leaves the view alone.
    virtual IndexPath collectionViewIndexPathOfCell(CollectionView& /*view*/, const CollectionViewCell& /*cell*/) {
        return std::nullopt;
    }

    /// Fills `cell`, which shows this item already, with what the item is now. The call may change and destroy the
    /// view.
    virtual void collectionViewReconfigureCell(CollectionView& /*view*/, CollectionViewCell& /*cell*/,
                                               IndexPath /*indexPath*/) {}
};

}  // namespace korvane
