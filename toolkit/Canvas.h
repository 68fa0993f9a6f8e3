#pragma once

#include <QColor>
#include <QImage>

#include "korvane/base/Geometry.h"
#include "korvane/toolkit/Path.h"
#include "korvane/toolkit/TextLine.h"

namespace korvane {

enum class LineCap { Butt, Round, Square };
enum class LineJoin { Miter, Round, Bevel };

/// A surface to draw on, with a current path, and a current state: fill colour, stroke colour, line width, cap, join
/// and origin. Colours are black, the line width is 1.0, ends are butt and joins mitred at first. Lengths are
/// points. What has a number that is not finite is not drawn. The thread that the surface belongs to.
class Canvas {
  public:
    Canvas() = default;
    virtual ~Canvas() = default;
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    virtual void setFillColor(const QColor& color) = 0;
    virtual void setStrokeColor(const QColor& color) = 0;
    /// A line of width 0 or below is not drawn.
    virtual void setLineWidth(double width) = 0;
    virtual void setLineCap(LineCap cap) = 0;
    virtual void setLineJoin(LineJoin join) = 0;

    /// Adds to the current path; the path's own line width is not taken over.
    virtual void addPath(const Path& path) = 0;
    /// Fills the current path with the fill colour, and empties it.
    virtual void fillPath() = 0;
    /// Strokes the current path with stroke colour, line width, cap and join of the canvas, and empties it.
    virtual void strokePath() = 0;

    /// These two leave the current path alone.
    virtual void fillRect(const Rect& rect) = 0;
    virtual void fillEllipse(const Rect& inRect) = 0;

    /// Scaled to the rectangle. A null image draws nothing.
    virtual void drawImage(const QImage& image, const Rect& inRect) = 0;

    /// From the top of the rectangle, aligned within its width as the text says; what is too wide for it ends in an
    /// ellipsis. The background fills the rectangle.
    virtual void drawText(const TextLine& text, const Rect& inRect, const QColor& background = Qt::transparent) = 0;
    /// The size that the text needs, on this canvas; zeros for an empty text.
    virtual Size measureText(const TextLine& text) = 0;

    /// The state is saved, the current path is not.
    virtual void saveState() = 0;
    /// Brings back what was saved last; nothing without that.
    virtual void restoreState() = 0;
    /// How many states are saved.
    virtual int savedStates() const = 0;
    /// Brings back until so many are left, for callers of code that may have saved more than it restored.
    void restoreStatesTo(int count) {
        while (savedStates() > count) restoreState();
    }

    /// Moves the origin.
    virtual void translate(Point by) = 0;
};

}  // namespace korvane
