#pragma once

#include <QFont>
#include <QStaticText>
#include <optional>
#include <utility>

#include "korvane/base/Geometry.h"
#include "korvane/toolkit/AttributedString.h"

namespace korvane {

/// One line of text with its layout, which is made when first asked for and then kept. Line breaks count as spaces. One
/// thread at a time.
class TextLine {
  public:
    TextLine() = default;
    // Not explicit: whatever takes a line takes a text that is drawn only once, too.
    TextLine(AttributedString string) : string_(std::move(string)) {}

    const AttributedString& string() const { return string_; }

    /// The font of the text, with its kerning.
    QFont font() const;

    /// Made for the font's size in points; it serves every scale.
    const QStaticText& layout() const;

    /// Points; zeros for an empty text.
    Size size() const;

  private:
    AttributedString string_;
    mutable std::optional<QStaticText> layout_;
};

}  // namespace korvane
