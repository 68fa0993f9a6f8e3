#include "views/timeline/Presentation/Scrubber/ScrubberCollectionView.h"

#include <QPointer>
#include <utility>

namespace korvane {

ScrubberCollectionView::ScrubberCollectionView(QQuickItem* parent) : CollectionView(parent) {}

void ScrubberCollectionView::reloadDataWithCompletion(std::function<void()> completion) {
    reloadDataCompletionBlock_ = std::move(completion);
    reloadData();
}

void ScrubberCollectionView::layoutSubviews() {
    const QPointer<ScrubberCollectionView> self(this);
    CollectionView::layoutSubviews();
    if (!self) return;
    if (reloadDataCompletionBlock_) {
        const auto completion = reloadDataCompletionBlock_;
        completion();
        if (self) reloadDataCompletionBlock_ = nullptr;
    } else if (scrubberDelegate_) {
        scrubberDelegate_->OnScrubberCollectionViewLayoutSubviews();
    }
}

}  // namespace korvane
