#pragma once

#include <QImage>
#include <QQuickRenderControl>
#include <QQuickRenderTarget>
#include <QQuickWindow>
#include <cstddef>
#include <memory>

#include "views/timeline/Presentation/Scrubber/ScrubberCell.h"
#include "views/timeline/Presentation/Scrubber/ScrubberCollectionView.h"
#include "views/timeline/ScrubberView.h"

namespace korvane {

/// An event strip of 800 x 120 that is drawn by the software renderer into an image.
class Stage {
  public:
    explicit Stage(const std::shared_ptr<KorvaneService>& service)
        : window_(&control_), target_(800, 120, QImage::Format_ARGB32_Premultiplied) {
        window_.resize(800, 120);
        window_.contentItem()->setSize({800, 120});
        window_.setRenderTarget(QQuickRenderTarget::fromPaintDevice(&target_));
        view = std::make_unique<ScrubberView>(TimelineEnvironment{nullptr, service}, Rect{}, window_.contentItem());
        view->applyConfig();
    }

    ScrubberCollectionView& strip() const {
        return *qvariant_cast<ScrubberCollectionView*>(view->contentView()->property("scrubberEventsCollectionView"));
    }

    void draw() {
        control_.polishItems();
        control_.sync();
        control_.render();
    }

    std::size_t cells() const { return static_cast<std::size_t>(strip().findChildren<ScrubberCell*>().size()); }

  private:
    QQuickRenderControl control_;
    QQuickWindow window_;
    QImage target_;

  public:
    std::unique_ptr<ScrubberView> view;
};

}  // namespace korvane
