#pragma once

#include <QColor>
#include <QFont>
#include <QString>
#include <cstdint>

namespace korvane {

/// How text lies in its line. The values are fixed.
enum TextAlignment : std::int64_t {
    TextAlignmentLeft = 0,
    TextAlignmentCenter = 1,
    TextAlignmentRight = 2,
};

/// A text with one set of attributes over its whole length.
struct AttributedString {
    QString text;
    /// A TextAlignment; other values count as left.
    std::int64_t alignment = TextAlignmentLeft;
    QFont font;
    QColor color;
    /// Points added between neighbouring characters.
    double kerning = 0;

    bool operator==(const AttributedString&) const = default;
};

}  // namespace korvane
