#pragma once

#include "korvane/views/timeline/Presentation/ReloadingCollectionView.h"

namespace korvane {

/// Hears of the strip's layout passes. Main thread.
class ScrubberTimelineCollectionViewDelegate {
  public:
    virtual ~ScrubberTimelineCollectionViewDelegate() = default;
    virtual void OnScrubberTimelineCollectionViewLayoutSubviews() {}
};

/// The timeline strip. Main thread only.
class ScrubberTimelineCollectionView : public ReloadingCollectionView {
    Q_OBJECT
    QML_ELEMENT

  public:
    using ReloadingCollectionView::ReloadingCollectionView;

    /// Not owned; must be taken away (null) before it dies. Told of passes that no reload waits for.
    void setScrubberTimelineDelegate(ScrubberTimelineCollectionViewDelegate* delegate) { passDelegate_ = delegate; }

  protected:
    void tellLayoutPass() override {
        if (passDelegate_) passDelegate_->OnScrubberTimelineCollectionViewLayoutSubviews();
    }

  private:
    ScrubberTimelineCollectionViewDelegate* passDelegate_ = nullptr;
};

}  // namespace korvane
