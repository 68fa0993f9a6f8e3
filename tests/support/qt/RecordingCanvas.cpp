#include "korvane/tests/support/qt/RecordingCanvas.h"

namespace korvane {
namespace {

QString text(double value) {
    return QString::number(value, 'g', 8);
}

QString text(Point point) {
    return text(point.x) + u',' + text(point.y);
}

QString text(const Rect& rect) {
    return QStringLiteral("%1 %2x%3").arg(text(Point{rect.x, rect.y}), text(rect.width), text(rect.height));
}

QString text(const QColor& color) {
    return color.alpha() == 0 ? QStringLiteral("clear") : color.name(QColor::HexArgb);
}

QString text(const Path::Element& element) {
    if (const auto* move = std::get_if<Path::Move>(&element)) return QStringLiteral(" move ") + text(move->to);
    if (const auto* line = std::get_if<Path::Line>(&element)) return QStringLiteral(" line ") + text(line->to);
    if (const auto* oval = std::get_if<Path::Ellipse>(&element)) return QStringLiteral(" ellipse ") + text(oval->rect);
    const auto& shape = std::get<Path::RoundedRect>(element);
    const QString round = QStringLiteral(" corners %1 radii %2x%3");
    const QString ends = round.arg(QString::number(shape.corners), text(shape.radii.width), text(shape.radii.height));
    return QStringLiteral(" rect ") + text(shape.rect) + (shape.corners ? ends : QString());
}

}  // namespace

void RecordingCanvas::setFillColor(const QColor& color) {
    note("fill color " + text(color));
}

void RecordingCanvas::setStrokeColor(const QColor& color) {
    note("stroke color " + text(color));
}

void RecordingCanvas::setLineWidth(double width) {
    note("line width " + text(width));
}

void RecordingCanvas::setLineCap(LineCap cap) {
    note(cap == LineCap::Round ? "line cap round" : cap == LineCap::Square ? "line cap square" : "line cap butt");
}

void RecordingCanvas::setLineJoin(LineJoin join) {
    note(join == LineJoin::Round ? "line join round" : join == LineJoin::Bevel ? "line join bevel" : "line join miter");
}

void RecordingCanvas::addPath(const Path& path) {
    QString line = QStringLiteral("path");
    for (const Path::Element& element : path.elements()) line += text(element);
    note(line);
}

void RecordingCanvas::fillRect(const Rect& rect) {
    note("fill rect " + text(rect));
}

void RecordingCanvas::fillEllipse(const Rect& inRect) {
    note("fill ellipse " + text(inRect));
}

void RecordingCanvas::drawImage(const QImage& image, const Rect& inRect) {
    note("image " + image.text(QStringLiteral("name")) + " in " + text(inRect));
}

void RecordingCanvas::drawText(const TextLine& line, const Rect& inRect, const QColor& background) {
    const AttributedString& string = line.string();
    note(QStringLiteral("text '%1' in %2 aligned %3, %4 on %5")
             .arg(string.text, text(inRect), QString::number(string.alignment), text(string.color), text(background)));
}

Size RecordingCanvas::measureText(const TextLine& line) {
    ++measured_;
    const auto count = static_cast<double>(line.string().text.size());
    return count > 0 ? Size{6 * count, 12} : Size{};
}

void RecordingCanvas::saveState() {
    ++savedStates_;
    note("save");
}

void RecordingCanvas::restoreState() {
    if (savedStates_ > 0) --savedStates_;
    note("restore");
}

void RecordingCanvas::translate(Point by) {
    note("translate " + text(by));
}

}  // namespace korvane
