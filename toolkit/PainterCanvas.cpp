#include "korvane/toolkit/PainterCanvas.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "korvane/toolkit/DevicePixels.h"

namespace korvane {
namespace {

constexpr double quarterTurn = 90;     // degrees
constexpr double textSlack = 0.5;      // points that a text may be wider than its rectangle, for rounding errors
constexpr double farthestPlace = 1e6;  // points; far beyond any surface, and far below what overflows

bool isDrawable(Point point) {
    return std::abs(point.x) <= farthestPlace && std::abs(point.y) <= farthestPlace;
}

bool isDrawable(const Rect& rect) {
    return isDrawable(Point{rect.x, rect.y}) && isDrawable(Point{rect.width, rect.height}) && rect.width > 0 &&
           rect.height > 0;
}

QRectF toQt(const Rect& rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

void addRoundedRect(QPainterPath& path, const QRectF& rect, const Path::RoundedRect& shape) {
    const double rx = std::min(shape.radii.width, rect.width() / 2);
    const double ry = std::min(shape.radii.height, rect.height() / 2);
    const QPointF middle = rect.center();
    const auto corner = [&](RectCorner which, QPointF at, double fromAngle) {
        if ((shape.corners & which) == 0 || !(rx > 0 && ry > 0)) return path.lineTo(at);
        const double x = at.x() > middle.x() ? at.x() - 2 * rx : at.x();
        const double y = at.y() > middle.y() ? at.y() - 2 * ry : at.y();
        path.arcTo(QRectF(x, y, 2 * rx, 2 * ry), fromAngle, -quarterTurn);
    };
    path.moveTo(middle.x(), rect.top());
    corner(RectCornerTopRight, rect.topRight(), quarterTurn);
    corner(RectCornerBottomRight, rect.bottomRight(), 0);
    corner(RectCornerBottomLeft, rect.bottomLeft(), -quarterTurn);
    corner(RectCornerTopLeft, rect.topLeft(), 2 * quarterTurn);
    path.closeSubpath();
}

const Point* endOf(const Path::Element& element) {
    if (const auto* move = std::get_if<Path::Move>(&element)) return &move->to;
    if (const auto* line = std::get_if<Path::Line>(&element)) return &line->to;
    return nullptr;
}

/// Gives each point of the lines a place, by itself and its neighbours on the line, and each rectangle its own.
template <typename PlacePoint, typename PlaceRect>
QPainterPath converted(const Path& path, const PlacePoint& placePoint, const PlaceRect& placeRect) {
    QPainterPath result;
    result.setFillRule(Qt::WindingFill);
    const auto& elements = path.elements();
    bool continues = false;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (const auto* shape = std::get_if<Path::RoundedRect>(&elements[i])) {
            if (isDrawable(shape->rect)) addRoundedRect(result, placeRect(shape->rect), *shape);
        } else if (const auto* ellipse = std::get_if<Path::Ellipse>(&elements[i])) {
            if (isDrawable(ellipse->rect)) result.addEllipse(toQt(ellipse->rect));
        } else {
            const Point* const at = endOf(elements[i]);
            const bool isLine = std::holds_alternative<Path::Line>(elements[i]);
            const bool goesOn = i + 1 < elements.size() && std::holds_alternative<Path::Line>(elements[i + 1]);
            const bool isGood = isDrawable(*at);
            if (isGood) {
                const Point* const before = isLine ? endOf(elements[i - 1]) : nullptr;
                const QPointF place = placePoint(*at, before, goesOn ? endOf(elements[i + 1]) : nullptr);
                isLine&& continues ? result.lineTo(place) : result.moveTo(place);
            }
            continues = isGood;
        }
    }
    return result;
}

Qt::PenCapStyle toQt(LineCap cap) {
    if (cap == LineCap::Round) return Qt::RoundCap;
    return cap == LineCap::Square ? Qt::SquareCap : Qt::FlatCap;
}

Qt::PenJoinStyle toQt(LineJoin join) {
    if (join == LineJoin::Round) return Qt::RoundJoin;
    return join == LineJoin::Bevel ? Qt::BevelJoin : Qt::SvgMiterJoin;
}

}  // namespace

PainterCanvas::PainterCanvas(QPainter& painter) : painter_(painter) {
    painter_.save();
    painter_.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    painter_.setPen(Qt::NoPen);
}

PainterCanvas::~PainterCanvas() {
    restoreStatesTo(0);
    painter_.restore();
}

void PainterCanvas::fillPath() {
    fill(std::exchange(path_, {}));
}

void PainterCanvas::fillRect(const Rect& rect) {
    if (!isDrawable(rect)) return;
    painter_.fillRect(DevicePixels(painter_.deviceTransform()).rect(rect), state_.fillColor);
}

void PainterCanvas::fillEllipse(const Rect& inRect) {
    Path path;
    path.addEllipseInRect(inRect);
    fill(path);
}

void PainterCanvas::fill(const Path& path) {
    const DevicePixels pixels(painter_.deviceTransform());
    const auto placePoint = [](Point at, const Point*, const Point*) { return QPointF(at.x, at.y); };
    const auto placeRect = [&](const Rect& rect) { return pixels.rect(rect); };
    painter_.fillPath(converted(path, placePoint, placeRect), state_.fillColor);
}

void PainterCanvas::strokePath() {
    const Path path = std::exchange(path_, {});
    if (!(state_.lineWidth > 0 && state_.lineWidth <= farthestPlace)) return;
    const DevicePixels pixels(painter_.deviceTransform());
    const double width = state_.lineWidth;
    const auto placePoint = [&](Point at, const Point* before, const Point* after) {
        const auto runsAlong = [&](double Point::*axis) {
            return (before && before->*axis == at.*axis) || (after && after->*axis == at.*axis);
        };
        const bool isUpright = runsAlong(&Point::x);
        const bool isLevel = runsAlong(&Point::y);
        return QPointF(isUpright ? pixels.lineX(at.x, width) : (isLevel ? pixels.edgeX(at.x) : at.x),
                       isLevel ? pixels.lineY(at.y, width) : (isUpright ? pixels.edgeY(at.y) : at.y));
    };
    const auto placeRect = [&](const Rect& rect) {
        return QRectF(QPointF(pixels.lineX(rect.x, width), pixels.lineY(rect.y, width)),
                      QPointF(pixels.lineX(rect.right(), width), pixels.lineY(rect.bottom(), width)));
    };
    QPainterPathStroker stroker;
    stroker.setWidth(pixels.lineWidth(width));
    stroker.setCapStyle(toQt(state_.cap));
    stroker.setJoinStyle(toQt(state_.join));
    QPainterPath outline = stroker.createStroke(converted(path, placePoint, placeRect));
    outline.setFillRule(Qt::WindingFill);
    painter_.fillPath(outline, state_.strokeColor);
}

void PainterCanvas::drawImage(const QImage& image, const Rect& inRect) {
    if (image.isNull() || !isDrawable(inRect)) return;
    const DevicePixels pixels(painter_.deviceTransform());
    const QRectF target = pixels.pictureRect(inRect);
    const QSize size = pixels.pixelSize(target);
    const bool shrinks = size.width() < image.width() && size.height() < image.height();
    const QImage& shown =
        shrinks ? image.scaled(size.expandedTo({1, 1}), Qt::IgnoreAspectRatio, Qt::SmoothTransformation) : image;
    painter_.drawImage(target, shown, QRectF(shown.rect()));
}

void PainterCanvas::drawText(const TextLine& text, const Rect& inRect, const QColor& background) {
    if (!isDrawable(inRect)) return;
    if (background.alpha() > 0) {
        painter_.fillRect(DevicePixels(painter_.deviceTransform()).rect(inRect), background);
    }
    const AttributedString& string = text.string();
    if (string.text.isEmpty()) return;
    std::optional<TextLine> shorter;
    if (text.size().width > inRect.width + textSlack) {
        AttributedString elided = string;
        elided.text = QFontMetricsF(text.font()).elidedText(string.text, Qt::ElideRight, inRect.width);
        shorter.emplace(elided);
    }
    const TextLine& line = shorter ? *shorter : text;
    const double room = inRect.width - line.size().width;
    const double part =
        string.alignment == TextAlignmentCenter ? 0.5 : (string.alignment == TextAlignmentRight ? 1 : 0);
    painter_.setFont(line.font());
    painter_.setPen(string.color.isValid() ? string.color : QColor(Qt::black));
    painter_.drawStaticText(QPointF(inRect.x + room * part, inRect.y), line.layout());
    painter_.setPen(Qt::NoPen);
}

void PainterCanvas::saveState() {
    saved_.push_back(state_);
    painter_.save();
}

void PainterCanvas::restoreState() {
    if (saved_.empty()) return;
    state_ = saved_.back();
    saved_.pop_back();
    painter_.restore();
}

void PainterCanvas::translate(Point by) {
    if (isDrawable(by)) painter_.translate(by.x, by.y);
}

}  // namespace korvane
