#pragma once

#include <vector>

#include "korvane/toolkit/Canvas.h"

class QPainter;

namespace korvane {

/// Draws with a QPainter, antialiased. Edges of rectangles and images, and lines that run across or down, are moved to
/// the nearest device pixels, so that they are crisp and what touches leaves no seam; curves and text are not.
///
/// The painter belongs to the caller, and outlives the canvas, which leaves its state as it was. The painter's thread.
class PainterCanvas final : public Canvas {
  public:
    explicit PainterCanvas(QPainter& painter);
    ~PainterCanvas() override;

    void setFillColor(const QColor& color) override { state_.fillColor = color; }
    void setStrokeColor(const QColor& color) override { state_.strokeColor = color; }
    void setLineWidth(double width) override { state_.lineWidth = width; }
    void setLineCap(LineCap cap) override { state_.cap = cap; }
    void setLineJoin(LineJoin join) override { state_.join = join; }
    void addPath(const Path& path) override { path_.appendPath(path); }
    void fillPath() override;
    void strokePath() override;
    void fillRect(const Rect& rect) override;
    void fillEllipse(const Rect& inRect) override;
    void drawImage(const QImage& image, const Rect& inRect) override;
    void drawText(const TextLine& text, const Rect& inRect, const QColor& background) override;
    Size measureText(const TextLine& text) override { return text.size(); }
    void saveState() override;
    void restoreState() override;
    int savedStates() const override { return static_cast<int>(saved_.size()); }
    void translate(Point by) override;

  private:
    struct State {
        QColor fillColor = Qt::black;
        QColor strokeColor = Qt::black;
        double lineWidth = 1;
        LineCap cap = LineCap::Butt;
        LineJoin join = LineJoin::Miter;
    };
    void fill(const Path& path);

    QPainter& painter_;
    State state_;
    std::vector<State> saved_;
    Path path_;
};

}  // namespace korvane
