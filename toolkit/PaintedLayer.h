#pragma once

#include <QColor>
#include <QStringList>
#include <memory>
#include <vector>

#include "korvane/base/Geometry.h"

namespace korvane {

class Canvas;

/// A part of a painted item with a place of its own, drawn with the item and not by itself. A change of what it shows
/// asks for one repaint of the item. Points, in the coordinates of the layer that it lies in. Main thread only, except
/// that drawing belongs to the thread that draws the item while the main thread waits.
class PaintedLayer {
  public:
    PaintedLayer() = default;
    virtual ~PaintedLayer();
    PaintedLayer(const PaintedLayer&) = delete;
    PaintedLayer& operator=(const PaintedLayer&) = delete;

    const Rect& frame() const { return frame_; }
    void setFrame(const Rect& frame);
    /// The whole layer in its own coordinates.
    Rect bounds() const { return {0, 0, frame_.width, frame_.height}; }

    /// A hidden layer is not drawn, nor is what lies in it.
    bool isHidden() const { return isHidden_; }
    void setHidden(bool isHidden);

    /// Behind what the layer draws; transparent at first.
    const QColor& backgroundColor() const { return backgroundColor_; }
    void setBackgroundColor(const QColor& color);

    /// Shared with the caller. It is drawn after those added before, and leaves the layer that it lay in. Null, and a
    /// layer that would lie in itself, are refused with a log line.
    void addSublayer(const std::shared_ptr<PaintedLayer>& layer);
    const std::vector<std::shared_ptr<PaintedLayer>>& sublayers() const { return sublayers_; }

    /// Names of actions without an animation. Nothing here animates by itself; the names are kept for those who look.
    const QStringList& disabledActions() const { return disabledActions_; }
    void setDisabledActions(const QStringList& names) { disabledActions_ = names; }

    /// Asks for a repaint. Any number of calls before it, and those while it is under way, ask for one.
    void setNeedsDisplay();

    /// Draws the layer's own content, in its own coordinates, not clipped to its bounds.
    virtual void drawInContext(Canvas& canvas);

    /// Draws background, content and visible sublayers, in this order and in the layer's own coordinates. Whatever
    /// state a layer leaves the canvas in, the next one begins with that from before.
    void renderInContext(Canvas& canvas);

  protected:
    /// The outermost layer is asked for a repaint.
    virtual void displayNeeded() {}

  private:
    Rect frame_;
    QColor backgroundColor_ = Qt::transparent;
    std::vector<std::shared_ptr<PaintedLayer>> sublayers_;
    PaintedLayer* superlayer_ = nullptr;
    QStringList disabledActions_;
    bool isHidden_ = false;
    bool isRendering_ = false;
};

}  // namespace korvane
