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

QString text(const Path::Element& element) {
    if (const auto* move = std::get_if<Path::Move>(&element)) return QStringLiteral(" move ") + text(move->to);
    if (const auto* line = std::get_if<Path::Line>(&element)) return QStringLiteral(" line ") + text(line->to);
    return QStringLiteral(" shape");
}

}  // namespace

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

void RecordingCanvas::drawText(const TextLine& line, const Rect& inRect, const QColor& /*background*/) {
    note(QStringLiteral("text '%1' in %2").arg(line.string().text, text(inRect)));
}

Size RecordingCanvas::measureText(const TextLine& line) {
    ++measured_;
    const auto count = static_cast<double>(line.string().text.size());
    return count > 0 ? Size{6 * count, 12} : Size{};
}

}  // namespace korvane
