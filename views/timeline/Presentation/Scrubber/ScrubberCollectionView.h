#pragma once

#include <functional>

#include "toolkit/CollectionView.h"

namespace korvane {

/// Hears of the strip's layout passes. Main thread.
class ScrubberCollectionViewDelegate {
  public:
    virtual ~ScrubberCollectionViewDelegate() = default;
    virtual void OnScrubberCollectionViewLayoutSubviews() {}
};

/// The event strip: a collection view that tells when a reload has been laid out. Main thread only.
class ScrubberCollectionView : public CollectionView {
    Q_OBJECT
    QML_ELEMENT

  public:
    explicit ScrubberCollectionView(QQuickItem* parent = nullptr);

    /// reloadData(), with `completion` after the next layout pass, when cells and layout attributes are valid. A second
    /// call before that pass replaces the first one's completion, which then never runs; so does a call from within a
    /// completion lose its own.
    void reloadDataWithCompletion(std::function<void()> completion);

    /// Not owned; must be taken away (null) before it dies. Told of passes that no reload waits for.
    void setScrubberDelegate(ScrubberCollectionViewDelegate* delegate) { scrubberDelegate_ = delegate; }

  protected:
    void layoutSubviews() override;

  private:
    ScrubberCollectionViewDelegate* scrubberDelegate_ = nullptr;
    std::function<void()> reloadDataCompletionBlock_;
};

}  // namespace korvane
