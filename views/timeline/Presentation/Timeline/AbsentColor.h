#pragma once

#include <QColor>

namespace korvane {

/// What is drawn in a colour that may be absent.
inline QColor orClear(const QColor& color) {
    return color.isValid() ? color : QColor(Qt::transparent);
}

}  // namespace korvane
