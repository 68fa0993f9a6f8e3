#pragma once

#include <QColor>
#include <optional>

#include "korvane/toolkit/PaintedLayer.h"
#include "korvane/toolkit/TextLine.h"

namespace korvane {

/// A layer that shows one line of text, from the top of its frame. A text that stays the same is measured and laid out
/// once, however often it is set and drawn. Main thread only, except for drawing.
class TextLayer : public PaintedLayer {
  public:
    /// Its alignment does not count, the layer's does; nor does a colour that is invalid.
    const AttributedString& string() const { return string_; }
    void setString(const AttributedString& string);

    /// A TextAlignment, left at first; other values count as left.
    std::int64_t alignmentMode() const { return alignmentMode_; }
    void setAlignmentMode(std::int64_t mode);

    /// The colour of a text that has none; transparent at first.
    const QColor& foregroundColor() const { return foregroundColor_; }
    void setForegroundColor(const QColor& color);

    /// The size that the text needs on a canvas of the kind that it is drawn on.
    Size preferredFrameSize(Canvas& canvas) const;

    void drawInContext(Canvas& canvas) override;

  private:
    void layOutAnew(bool keepsSize);

    AttributedString string_;
    std::int64_t alignmentMode_ = TextAlignmentLeft;
    QColor foregroundColor_ = Qt::transparent;
    TextLine line_;  // the text as it is drawn
    mutable std::optional<Size> size_;
};

}  // namespace korvane
