#include "korvane/views/timeline/Presentation/ReloadingCollectionView.h"

#include <QPointer>
#include <utility>

namespace korvane {

void ReloadingCollectionView::reloadDataWithCompletion(std::function<void()> completion) {
    reloadDataCompletionBlock_ = std::move(completion);
    reloadData();
}

void ReloadingCollectionView::layoutSubviews() {
    const QPointer<ReloadingCollectionView> self(this);
    CollectionView::layoutSubviews();
    if (!self) return;
    if (visibleIndexes_) {
        getVisibleItems(visibleItems_);
        visibleIndexes_->exchange(visibleItems_);
    }
    if (reloadDataCompletionBlock_) {
        const auto completion = reloadDataCompletionBlock_;
        completion();
        if (self) reloadDataCompletionBlock_ = nullptr;
    } else {
        tellLayoutPass();
    }
}

}  // namespace korvane
