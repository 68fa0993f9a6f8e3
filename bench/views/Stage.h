#pragma once

#include <QImage>
#include <QQuickRenderControl>
#include <QQuickRenderTarget>
#include <QQuickWindow>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "korvane/toolkit/ImageView.h"
#include "korvane/views/timeline/Presentation/Scrubber/ScrubberCell.h"
#include "korvane/views/timeline/Presentation/Scrubber/ScrubberCollectionView.h"
#include "korvane/views/timeline/ScrubberView.h"

namespace korvane {

/// A window of 800 x 120 that is drawn by the software renderer into an image.
class Screen {
  public:
    Screen() : window_(&control_), target_(800, 120, QImage::Format_ARGB32_Premultiplied) {
        window_.resize(800, 120);
        window_.contentItem()->setSize({800, 120});
        window_.setRenderTarget(QQuickRenderTarget::fromPaintDevice(&target_));
    }

    QQuickItem* root() { return window_.contentItem(); }

    void draw() {
        control_.polishItems();
        control_.sync();
        control_.render();
    }

  private:
    QQuickRenderControl control_;
    QQuickWindow window_;
    QImage target_;
};

/// An event strip on it.
class Stage : public Screen {
  public:
    explicit Stage(const std::shared_ptr<KorvaneService>& service) {
        view = std::make_unique<ScrubberView>(TimelineEnvironment{nullptr, service}, Rect{}, root());
        view->applyConfig();
    }

    ScrubberCollectionView& strip() const {
        return *qvariant_cast<ScrubberCollectionView*>(view->contentView()->property("scrubberEventsCollectionView"));
    }

    std::size_t cells() const { return static_cast<std::size_t>(strip().findChildren<ScrubberCell*>().size()); }

    /// Every cell on screen shows an event that has come from the service.
    bool isFilled() const {
        const auto visible = strip().indexPathsForVisibleItems();
        return visible.size() > 2 && std::all_of(visible.begin(), visible.end(), [&](std::int64_t item) {
                   const auto* cell = qobject_cast<ScrubberCell*>(strip().cellForItemAtIndexPath(item));
                   const auto event = cell ? cell->getEvent() : nullptr;
                   return event && event->type() != ScrubberEventTypePending && event == view->getEvent(item);
               });
    }

    /// Every cell on screen shows its picture. The newest requests are loaded first, so one may come late.
    bool showsPictures() const {
        const auto visible = strip().indexPathsForVisibleItems();
        return std::all_of(visible.begin(), visible.end(), [&](std::int64_t item) {
            const auto* cell = strip().cellForItemAtIndexPath(item);
            const bool isSpacer = item == 0 || item == view->getEventsCount() - 1;
            return isSpacer ||
                   (cell && !qvariant_cast<ImageView*>(cell->property("previewImageView"))->image().isNull());
        });
    }

    std::unique_ptr<ScrubberView> view;
};

}  // namespace korvane
