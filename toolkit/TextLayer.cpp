#include "korvane/toolkit/TextLayer.h"

#include "korvane/toolkit/Canvas.h"

namespace korvane {

void TextLayer::setString(const AttributedString& string) {
    if (string_ == string) return;
    string_ = string;
    layOutAnew(false);
}

void TextLayer::setAlignmentMode(std::int64_t mode) {
    if (alignmentMode_ == mode) return;
    alignmentMode_ = mode;
    layOutAnew(true);
}

void TextLayer::setForegroundColor(const QColor& color) {
    if (foregroundColor_ == color) return;
    foregroundColor_ = color;
    layOutAnew(true);
}

Size TextLayer::preferredFrameSize(Canvas& canvas) const {
    if (!size_) size_ = canvas.measureText(line_);
    return *size_;
}

void TextLayer::drawInContext(Canvas& canvas) {
    if (!string_.text.isEmpty()) canvas.drawText(line_, bounds());
}

void TextLayer::layOutAnew(bool keepsSize) {
    AttributedString drawn = string_;
    drawn.alignment = alignmentMode_;
    if (!drawn.color.isValid()) drawn.color = foregroundColor_;
    line_ = TextLine(drawn);
    if (!keepsSize) size_.reset();
    setNeedsDisplay();
}

}  // namespace korvane
