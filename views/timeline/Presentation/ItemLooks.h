#pragma once

#include <QColor>
#include <QImage>
#include <QQuickItem>
#include <QString>

#include "korvane/toolkit/AttributedString.h"

namespace korvane {

/// What widgets set on items that their interface files offer, whatever kind of item that is. Null items are skipped.
/// Main thread only.

/// The item's property "backgroundColor", or its "color" without one.
void setBackgroundColor(QQuickItem* item, const QColor& color);

/// Text, font, colour and alignment of a Text item.
void setAttributedText(QQuickItem* label, const AttributedString& text);

/// An empty text; the attributes stay.
void clearText(QQuickItem* label);

/// One of the library's own icons by its name, sharp on the main screen; null for an unknown name.
QImage imageNamed(const QString& name);

/// The icon that the library has for an event's lower-case name; null where it has none.
QImage builtInEventTypeImage(const QString& name);

}  // namespace korvane
