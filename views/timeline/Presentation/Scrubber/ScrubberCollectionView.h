#pragma once

#include "korvane/views/timeline/Presentation/ReloadingCollectionView.h"

namespace korvane {

/// Hears of the strip's layout passes. Main thread.
class ScrubberCollectionViewDelegate {
  public:
    virtual ~ScrubberCollectionViewDelegate() = default;
    virtual void OnScrubberCollectionViewLayoutSubviews() {}
};

/// The event strip. Main thread only.
class ScrubberCollectionView : public ReloadingCollectionView {
    Q_OBJECT
    QML_ELEMENT

  public:
    using ReloadingCollectionView::ReloadingCollectionView;

    /// Not owned; must be taken away (null) before it dies. Told of passes that no reload waits for.
    void setScrubberDelegate(ScrubberCollectionViewDelegate* delegate) { scrubberDelegate_ = delegate; }

  protected:
    void tellLayoutPass() override {
        if (scrubberDelegate_) scrubberDelegate_->OnScrubberCollectionViewLayoutSubviews();
    }

  private:
    ScrubberCollectionViewDelegate* scrubberDelegate_ = nullptr;
};

}  // namespace korvane
