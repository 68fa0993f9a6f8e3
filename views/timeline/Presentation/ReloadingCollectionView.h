#pragma once

#include <functional>
#include <memory>

#include "korvane/toolkit/CollectionView.h"
#include "korvane/views/timeline/Presentation/VisibleIndexes.h"

namespace korvane {

/// A collection view that tells when a reload has been laid out, and which items are on screen. Main thread only.
class ReloadingCollectionView : public CollectionView {
    Q_OBJECT

  public:
    using CollectionView::CollectionView;

    /// reloadData(), with `completion` after the next layout pass, when cells and layout attributes are valid. A second
    /// call before that pass replaces the first one's completion, which then never runs; so does a call from within a
    /// completion lose its own.
    void reloadDataWithCompletion(std::function<void()> completion);

    /// Takes the visible items in after each layout pass; null ends that.
    void setVisibleIndexes(std::shared_ptr<VisibleIndexes> indexes) { visibleIndexes_ = std::move(indexes); }

  protected:
    void layoutSubviews() override;
    /// A pass that no reload has waited for is over.
    virtual void tellLayoutPass() = 0;

  private:
    std::function<void()> reloadDataCompletionBlock_;
    std::shared_ptr<VisibleIndexes> visibleIndexes_;
    std::vector<std::int64_t> visibleItems_;  // memory for the next layout pass
};

}  // namespace korvane
