#include "korvane/views/timeline/Presentation/ItemLooks.h"

#include <QGuiApplication>
#include <QHash>
#include <QScreen>
#include <QVariant>
#include <algorithm>
#include <cmath>

namespace korvane {
namespace {

constexpr int largestIconScale = 3;

Qt::Alignment horizontalAlignment(std::int64_t alignment) {
    if (alignment == TextAlignmentCenter) return Qt::AlignHCenter;
    return alignment == TextAlignmentRight ? Qt::AlignRight : Qt::AlignLeft;
}

}  // namespace

void setBackgroundColor(QQuickItem* item, const QColor& color) {
    if (!item) return;
    if (item->metaObject()->indexOfProperty("backgroundColor") >= 0) {
        item->setProperty("backgroundColor", color);
    } else if (item->metaObject()->indexOfProperty("color") >= 0) {
        item->setProperty("color", color);
    }
}

void setAttributedText(QQuickItem* label, const AttributedString& text) {
    if (!label) return;
    QFont font = text.font;
    font.setLetterSpacing(QFont::AbsoluteSpacing, text.kerning);
    label->setProperty("text", text.text);
    label->setProperty("font", font);
    label->setProperty("color", text.color);
    label->setProperty("horizontalAlignment", static_cast<int>(horizontalAlignment(text.alignment)));
}

void clearText(QQuickItem* label) {
    if (label) label->setProperty("text", QString());
}

QImage imageNamed(const QString& name) {
    static QHash<QString, QImage> known;
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const double ratio = screen ? screen->devicePixelRatio() : 1.0;
    const int scale = std::clamp(static_cast<int>(std::ceil(ratio)), 1, largestIconScale);
    const QString suffix = scale > 1 ? QStringLiteral("@%1x").arg(scale) : QString();
    const QString path = QStringLiteral(":/Korvane/Timeline/images/%1%2.png").arg(name, suffix);
    auto found = known.find(path);
    if (found == known.end()) {
        QImage image(path);
        image.setDevicePixelRatio(scale);
        found = known.insert(path, image);
    }
    return *found;
}

QImage builtInEventTypeImage(const QString& name) {
    if (name == u"motion") return imageNamed(QStringLiteral("scrubberEventTypeMotion"));
    if (name == u"doorbell") return imageNamed(QStringLiteral("scrubberEventTypeDoorbellMissed"));
    return {};
}

}  // namespace korvane
