#include "korvane/views/timeline/Utils/TimelineUtils.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QRectF>
#include <QScreen>
#include <algorithm>
#include <cmath>

#include "korvane/views/timeline/Model/TimelineSearch.h"

namespace korvane {
namespace {

constexpr double largestImageSide = 4096;

/// The value of the hexadecimal digits that `text` begins with, held at the largest 32-bit value.
std::uint32_t scanHexadecimal(const QString& text) {
    std::uint64_t value = 0;
    for (const QChar character : text) {
        const int digit = QString(character).toInt(nullptr, 16);
        if (digit == 0 && character != u'0') break;
        value = std::min<std::uint64_t>(value * 16 + static_cast<std::uint64_t>(digit), 0xffffffffU);
    }
    return static_cast<std::uint32_t>(value);
}

}  // namespace

std::int32_t TimelineUtils::indexElement(const Timeline* timeline, std::int64_t byTime) {
    return korvane::indexElement(timeline, byTime);
}

QColor TimelineUtils::colorFromHexString(const QString& string, double andAlpha) {
    QString digits = string;
    digits.remove(u'#');
    if (digits.size() == 3) {
        QString doubled;
        for (const QChar digit : std::as_const(digits)) doubled.append(digit).append(digit);
        digits = doubled;
    }
    if (digits.size() == 6) digits.append(u"ff");
    const std::uint32_t value = scanHexadecimal(digits);
    const auto channel = [value](int shift) { return static_cast<float>((value >> shift) & 0xffU) / 255.0F; };
    const double alpha = std::isfinite(andAlpha) ? std::clamp(andAlpha, 0.0, 1.0) : 1.0;
    return QColor::fromRgbF(channel(24), channel(16), channel(8), static_cast<float>(alpha));
}

AttributedString TimelineUtils::prepareAttributedString(const QString& string, std::int64_t withAligment,
                                                        const QFont& withFont, const QColor& withColor,
                                                        double withKerning) {
    return {string, withAligment, withFont, withColor, withKerning};
}

QImage TimelineUtils::emojiToImage(const QString& string, double imageSize, double fontSize) {
    if (!(imageSize > 0 && imageSize <= largestImageSide)) return {};
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const double ratio = screen ? screen->devicePixelRatio() : 1.0;
    const int side = std::max(1, static_cast<int>(std::lround(imageSize * ratio)));
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);

    QFont font;
    font.setBold(true);
    font.setPixelSize(std::clamp(static_cast<int>(std::lround(fontSize)), 1, static_cast<int>(largestImageSide)));
    const QSizeF size = QFontMetricsF(font).size(Qt::TextSingleLine, string);

    QPainter painter(&image);
    painter.setFont(font);
    painter.drawText(QRectF(QPointF((imageSize - size.width()) * 0.5, (imageSize - size.height()) * 0.5), size),
                     Qt::AlignHCenter | Qt::AlignTop | Qt::TextSingleLine, string);
    return image;
}

}  // namespace korvane
