#include "korvane/apps/browser/Glyph.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <array>

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

// To the left; mirrored it is the one to the right.
void drawChevron(QPainter& painter, const QColor& color, double x) {
    strokeWith(painter, color);
    painter.drawPolyline(QPolygonF({{x + 6.5, 5.5}, {x, 12}, {x + 6.5, 18.5}}));
}

void drawFirst(QPainter& painter, const QColor& color) {
    drawChevron(painter, color, 10.5);
    painter.drawLine(QPointF(6.5, 6), QPointF(6.5, 18));
}

void mirror(QPainter& painter) {
    painter.translate(grid, 0);
    painter.scale(-1, 1);
}

void drawDelete(QPainter& painter, const QColor& color) {
    strokeWith(painter, color);
    painter.drawLine(QPointF(4.5, 6.5), QPointF(19.5, 6.5));
    painter.drawPolyline(QPolygonF({{9, 6.5}, {9.6, 3.8}, {14.4, 3.8}, {15, 6.5}}));
    painter.drawPolyline(QPolygonF({{6.5, 6.5}, {7.4, 20}, {16.6, 20}, {17.5, 6.5}}));
    painter.drawLine(QPointF(10.3, 10.5), QPointF(10.5, 16));
    painter.drawLine(QPointF(13.7, 10.5), QPointF(13.5, 16));
}

// A piece of film.
void drawRecordings(QPainter& painter, const QColor& color) {
    strokeWith(painter, color);
    painter.drawRoundedRect(QRectF(3.5, 5, 17, 14), 2, 2);
    painter.drawLine(QPointF(8, 5), QPointF(8, 19));
    painter.drawLine(QPointF(16, 5), QPointF(16, 19));
    for (const double y : {9.7, 14.3}) {
        painter.drawLine(QPointF(3.5, y), QPointF(8, y));
        painter.drawLine(QPointF(16, y), QPointF(20.5, y));
    }
}

// Cards that lie on each other.
void drawGroup(QPainter& painter, const QColor& color) {
    strokeWith(painter, color);
    painter.drawRoundedRect(QRectF(3.5, 11, 17, 9), 2, 2);
    painter.drawLine(QPointF(5.5, 7.5), QPointF(18.5, 7.5));
    painter.drawLine(QPointF(7.5, 4), QPointF(16.5, 4));
}

// A list, and what plays it.
void drawPlayOn(QPainter& painter, const QColor& color) {
    strokeWith(painter, color);
    painter.drawLine(QPointF(3.5, 6), QPointF(18, 6));
    painter.drawLine(QPointF(3.5, 12), QPointF(11, 12));
    painter.drawLine(QPointF(3.5, 18), QPointF(11, 18));
    painter.setBrush(color);
    painter.drawPolygon(QPolygonF({{15, 11}, {21, 15}, {15, 19}}));
}

// A bar with ticks, and the mark through it.
void drawTimeline(QPainter& painter, const QColor& color) {
    strokeWith(painter, color);
    painter.drawRoundedRect(QRectF(2.5, 7, 19, 10), 2.5, 2.5);
    painter.drawLine(QPointF(12, 3.5), QPointF(12, 20.5));
    for (const double x : {7.3, 16.7}) painter.drawLine(QPointF(x, 10.5), QPointF(x, 13.5));
}

// Cards side by side.
void drawEvents(QPainter& painter, const QColor& color) {
    strokeWith(painter, color);
    painter.drawRoundedRect(QRectF(7.5, 6, 9, 12), 2, 2);
    painter.drawPolyline(QPolygonF({{3, 7}, {4.5, 7}, {4.5, 17}, {3, 17}}));
    painter.drawPolyline(QPolygonF({{21, 7}, {19.5, 7}, {19.5, 17}, {21, 17}}));
}

// An axis with ticks, and a knob on it.
void drawRuler(QPainter& painter, const QColor& color) {
    strokeWith(painter, color);
    painter.drawLine(QPointF(2.5, 19), QPointF(21.5, 19));
    for (const double x : {4.5, 8.3, 15.7, 19.5}) painter.drawLine(QPointF(x, 15), QPointF(x, 19));
    painter.drawLine(QPointF(12, 9), QPointF(12, 19));
    painter.setBrush(color);
    painter.drawEllipse(QPointF(12, 6), 2.8, 2.8);
}

// What lies between two borders.
void drawRange(QPainter& painter, const QColor& color) {
    strokeWith(painter, color);
    for (const double x : {3.5, 20.5}) painter.drawLine(QPointF(x, 5.5), QPointF(x, 18.5));
    painter.drawLine(QPointF(7.5, 12), QPointF(16.5, 12));
    painter.drawPolyline(QPolygonF({{10, 9}, {7, 12}, {10, 15}}));
    painter.drawPolyline(QPolygonF({{14, 9}, {17, 12}, {14, 15}}));
}

// Sliders.
void drawSettings(QPainter& painter, const QColor& color) {
    strokeWith(painter, color);
    const std::array<QPointF, 3> knobs{QPointF(15, 6), QPointF(8.5, 12), QPointF(15, 18)};
    for (const QPointF& knob : knobs) {
        painter.drawLine(QPointF(3.5, knob.y()), QPointF(knob.x() - 2.4, knob.y()));
        painter.drawLine(QPointF(knob.x() + 2.4, knob.y()), QPointF(20.5, knob.y()));
        painter.drawEllipse(knob, 2.4, 2.4);
    }
}

void drawHelp(QPainter& painter, const QColor& color) {
    strokeWith(painter, color);
    painter.drawEllipse(QPointF(12, 12), 9, 9);
    QPainterPath hook(QPointF(9.2, 9.8));
    hook.cubicTo({9.2, 5.6}, {15, 5.9}, {14.8, 9.8});
    hook.cubicTo({14.7, 11.9}, {12, 11.9}, {12, 14});
    painter.drawPath(hook);
    painter.drawPoint(QPointF(12, 17));
}

void draw(QPainter& painter, Glyph::Shape shape, const QColor& color) {
    switch (shape) {
        case Glyph::Play:
            return drawPlay(painter, color);
        case Glyph::Pause:
            return drawPause(painter, color);
        case Glyph::Sound:
            return drawSound(painter, color);
        case Glyph::Muted:
            return drawMuted(painter, color);
        case Glyph::Close:
            return drawClose(painter, color);
        case Glyph::Last:
            mirror(painter);
            [[fallthrough]];
        case Glyph::First:
            return drawFirst(painter, color);
        case Glyph::Next:
            mirror(painter);
            [[fallthrough]];
        case Glyph::Previous:
            return drawChevron(painter, color, 8.5);
        case Glyph::Delete:
            return drawDelete(painter, color);
        case Glyph::Recordings:
            return drawRecordings(painter, color);
        case Glyph::Group:
            return drawGroup(painter, color);
        case Glyph::PlayOn:
            return drawPlayOn(painter, color);
        case Glyph::Timeline:
            return drawTimeline(painter, color);
        case Glyph::Events:
            return drawEvents(painter, color);
        case Glyph::Ruler:
            return drawRuler(painter, color);
        case Glyph::Range:
            return drawRange(painter, color);
        case Glyph::Settings:
            return drawSettings(painter, color);
        case Glyph::Help:
            return drawHelp(painter, color);
    }
}

}  // namespace

Glyph::Glyph(QQuickItem* parent) : QQuickPaintedItem(parent) {
    connect(this, &Glyph::changed, this, [this] { update(); });
}

QImage Glyph::image(Shape shape, int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / grid, size / grid);
    draw(painter, shape, Qt::white);
    return image;
}

void Glyph::paint(QPainter* painter) {
    const double scale = std::min(width(), height()) / grid;
    painter->setRenderHint(QPainter::Antialiasing);
    painter->translate((width() - grid * scale) / 2, (height() - grid * scale) / 2);
    painter->scale(scale, scale);
    draw(*painter, shape_, color_);
}

}  // namespace korvane
