#include "apps/browser/Glyph.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>

namespace korvane {

namespace {

// All on a grid of 24 x 24.
constexpr double grid = 24;

void strokeWith(QPainter& painter, const QColor& color) {
    painter.setPen(QPen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

void drawPlay(QPainter& painter, const QColor& color) {
    // The round join softens the corners of the solid triangle.
    painter.setPen(QPen(color, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(color);
    painter.drawPolygon(QPolygonF({{8.5, 5.5}, {19, 12}, {8.5, 18.5}}));
}

void drawPause(QPainter& painter, const QColor& color) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawRoundedRect(QRectF(6.5, 5, 3.6, 14), 1.2, 1.2);
    painter.drawRoundedRect(QRectF(13.9, 5, 3.6, 14), 1.2, 1.2);
}

void drawSpeaker(QPainter& painter, const QColor& color) {
    strokeWith(painter, color);
    painter.setBrush(color);
    painter.drawPolygon(QPolygonF({{3.5, 9.5}, {7, 9.5}, {11.5, 5.5}, {11.5, 18.5}, {7, 14.5}, {3.5, 14.5}}));
    painter.setBrush(Qt::NoBrush);
}

void drawSound(QPainter& painter, const QColor& color) {
    drawSpeaker(painter, color);
    // Angles are in sixteenths of a degree.
    painter.drawArc(QRectF(10.5, 8, 6, 8), -60 * 16, 120 * 16);
    painter.drawArc(QRectF(9, 4.5, 11.5, 15), -55 * 16, 110 * 16);
}

void drawMuted(QPainter& painter, const QColor& color) {
    drawSpeaker(painter, color);
    painter.drawLine(QPointF(15.5, 9.5), QPointF(20.5, 14.5));
    painter.drawLine(QPointF(20.5, 9.5), QPointF(15.5, 14.5));
}

void drawClose(QPainter& painter, const QColor& color) {
    strokeWith(painter, color);
    painter.drawLine(QPointF(6.5, 6.5), QPointF(17.5, 17.5));
    painter.drawLine(QPointF(17.5, 6.5), QPointF(6.5, 17.5));
}

}  // namespace

Glyph::Glyph(QQuickItem* parent) : QQuickPaintedItem(parent) {
    connect(this, &Glyph::changed, this, [this] { update(); });
}

void Glyph::paint(QPainter* painter) {
    const double scale = std::min(width(), height()) / grid;
    painter->setRenderHint(QPainter::Antialiasing);
    painter->translate((width() - grid * scale) / 2, (height() - grid * scale) / 2);
    painter->scale(scale, scale);
    switch (shape_) {
        case Play:
            return drawPlay(*painter, color_);
        case Pause:
            return drawPause(*painter, color_);
        case Sound:
            return drawSound(*painter, color_);
        case Muted:
            return drawMuted(*painter, color_);
        case Close:
            return drawClose(*painter, color_);
    }
}

}  // namespace korvane
