// What the strip answers to its collection view: how many items there are, their sizes, and what their cells show.
#include <utility>

#include "korvane/views/timeline/Binding/ScrubberStripView.h"

namespace korvane {

std::int64_t ScrubberStripView::collectionViewNumberOfItemsInSection(CollectionView& /*view*/,
                                                                     std::int64_t /*section*/) {
    return entries().count();
}

CollectionViewCell* ScrubberStripView::collectionViewCellForItemAtIndexPath(CollectionView& view, IndexPath indexPath) {
    CollectionViewCell* const dequeued = view.dequeueReusableCell(cellIdentifier(), indexPath);
    auto* const cell = qobject_cast<PlayingCell*>(dequeued);
    if (!cell) return dequeued;
    if (lastCell_ == cell) stopLastCell();  // it has been recycled, so it plays no longer
    fillCell(*cell, indexPath);
    return cell;
}

void ScrubberStripView::fillCell(PlayingCell& cell, IndexPath indexPath) {
    const auto entry = indexPath ? entries().at(*indexPath) : nullptr;
    cell.setOwner(this);
    cell.setEvent(isKeptPlaying(cell, entry) ? playing_ : entry);
    if (lastCell_ == &cell && playing_) playing_ = cell.getEvent();
    cell.setIndex(indexPath);
    cell.update();
}

IndexPath ScrubberStripView::collectionViewIndexPathOfCell(CollectionView& /*view*/, const CollectionViewCell& cell) {
    const auto* const shown = qobject_cast<const PlayingCell*>(&cell);
    const IndexPath index = shown ? indexPathOfCell(*shown) : std::nullopt;
    // Of several that are one group now, the playing cell stays.
    const bool isTaken = shown != lastCell_ && index && lastCell_ && index == indexPathOfCell(*lastCell_);
    return isTaken ? std::nullopt : index;
}

IndexPath ScrubberStripView::indexPathOfCell(const PlayingCell& cell) const {
    const auto event = cell.getEvent();
    if (!event) return std::nullopt;
    if (event->type() == ScrubberEventTypeHead) return 0;
    if (event->type() == ScrubberEventTypeLive) return entries().count() - 1;
    const std::int64_t index = indexOfEntry(event, cell.indexPath().value_or(-1));
    if (index < 0 && place_ && isKeptPlaying(cell, entries().at(place_->index))) return place_->index;
    return index >= 0 ? IndexPath(index) : std::nullopt;
}

void ScrubberStripView::collectionViewReconfigureCell(CollectionView& /*view*/, CollectionViewCell& cell,
                                                      IndexPath indexPath) {
    if (auto* const shown = qobject_cast<PlayingCell*>(&cell)) fillCell(*shown, indexPath);
}

std::optional<EdgeInsets> ScrubberStripView::collectionViewLayoutInsetForSectionAtIndex(CollectionView& /*view*/,
                                                                                        std::int64_t /*section*/) {
    return EdgeInsets{};
}

Size ScrubberStripView::collectionViewLayoutSizeForItemAtIndexPath(CollectionView& view, IndexPath indexPath) {
    const double height = view.height() - view.contentInset().top - view.contentInset().bottom;
    if (indexPath == IndexPath(0)) return {markedStrip_.headWidth(), height};
    if (indexPath == IndexPath(entries().count() - 1)) return {markedStrip_.tailWidth(), height};
    return {settings().cellWidth(), height};
}

double ScrubberStripView::scaleWidthOf(std::int64_t index) const {
    return strip_ ? strip_->layoutAttributesForItemAtIndexPath(index).value_or(Rect{}).width : 0;
}

bool ScrubberStripView::isPending(std::int64_t index) const {
    const auto event = entries().at(index);
    return event && event->type() == ScrubberEventTypePending;
}

void ScrubberStripView::askAround(std::int64_t index) {
    constexpr std::int64_t lookAhead = 24;
    const auto provider = entries().provider();
    if (!provider || entries().ownList()) return;
    for (const std::int64_t there : {index - lookAhead, index + lookAhead}) {
        if (isPending(there)) provider->checkPartNeedRequested(static_cast<std::uint64_t>(there), -1, -1);
    }
}

}  // namespace korvane
