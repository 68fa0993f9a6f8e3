#pragma once

#include <QColor>
#include <QFont>
#include <QImage>
#include <utility>
#include <vector>

#include "korvane/toolkit/PaintedLayer.h"

namespace korvane {

/// The icons along the scale of a cell. One that would lie over the last drawn icon is left out, and their number is
/// written below it once a further icon is drawn. Setters ask for no repaint. Main thread only, except for drawing.
class ScrubberTimelineCellCustomDrawImagesLayer : public PaintedLayer {
  public:
    ScrubberTimelineCellCustomDrawImagesLayer();

    /// The colour of the numbers, and the fill colour while icons are drawn, which keep their own; white at first.
    const QColor& tintColor() const { return tintColor_; }
    void setTintColor(const QColor& color) { tintColor_ = color; }

    /// For each icon its place as a part of the width: 0 at the left, 1 at the right, and at these ends what lies
    /// beyond. A place that is no number shows and counts nothing.
    const std::vector<float>& positions() const { return positions_; }
    void setPositions(std::vector<float> positions) { positions_ = std::move(positions); }

    /// As many icons as positions. Where there are fewer, drawing ends with the last one and one line is logged.
    const std::vector<QImage>& images() const { return images_; }
    void setImages(std::vector<QImage> images) { images_ = std::move(images); }

    /// Of the numbers; the thin system font of 8 pixels at first.
    const QFont& font() const { return font_; }
    void setFont(const QFont& font) { font_ = font; }

    /// Empties positions and images.
    void clean();

    void drawInContext(Canvas& canvas) override;

  private:
    void drawCount(Canvas& canvas, int count, const Rect& belowIcon) const;

    QColor tintColor_ = Qt::white;
    std::vector<float> positions_;
    std::vector<QImage> images_;
    QFont font_;
    bool lackIsLogged_ = false;
};

}  // namespace korvane
