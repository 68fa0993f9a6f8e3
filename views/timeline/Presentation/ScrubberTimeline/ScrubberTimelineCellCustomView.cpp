#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCellCustomView.h"

#include <QStringList>
#include <algorithm>
#include <array>

#include "korvane/toolkit/Canvas.h"

namespace korvane {
namespace {

constexpr double cornerRadius = 6.0;
constexpr double bandInset = 0.28;  // of the height, above and below the band
constexpr double textMargin = 4.0;
constexpr double tickWidth = 0.5;  // noted on the paths; a canvas strokes with its own width
constexpr double edgeWidth = 0.25;

void addLine(Path& path, Point from, Point to) {
    path.moveToPoint(from);
    path.addLineToPoint(to);
}

void appendEdge(Path& path, double x, const Rect& band, double width) {
    Path edge;
    addLine(edge, {x, band.y}, {x, band.bottom()});
    edge.setLineWidth(width);
    path.appendPath(edge);
}

}  // namespace

ScrubberTimelineCellCustomView::ScrubberTimelineCellCustomView(QQuickItem* parent)
    : PaintedItem(parent),
      startDateTimeLayer_(std::make_shared<TextLayer>()),
      endDateTimeLayer_(std::make_shared<TextLayer>()),
      eventTypeLayer2_(std::make_shared<ImagesLayer>()) {
    const std::array<std::shared_ptr<PaintedLayer>, 3> own{startDateTimeLayer_, endDateTimeLayer_, eventTypeLayer2_};
    for (const auto& each : own) {
        layer().addSublayer(each);
        removeAnimationFromLayer(*each);
    }
}

Rect ScrubberTimelineCellCustomView::barRect() const {
    const double left = isBeginOfGroup_ ? groupGap : 0.0;
    const double right = isEndOfGroup_ ? groupGap : 0.0;
    return {cellRect_.x + left, cellRect_.y, std::max(0.0, cellRect_.width - (left + right)), cellRect_.height};
}

void ScrubberTimelineCellCustomView::updateScaleRect() {
    corners_ = 0;
    if (isBeginOfGroup_) corners_ |= RectCornerTopLeft | RectCornerBottomLeft;
    if (isEndOfGroup_) corners_ |= RectCornerTopRight | RectCornerBottomRight;
    cornerRadii_ = corners_ != 0 ? Size{cornerRadius, cornerRadius} : Size{};
    scaleRect_ = barRect();
    const double inset = bandInset * scaleRect_.height;
    scaleRect_.y += inset;
    scaleRect_.height -= 2 * inset;
}

Path ScrubberTimelineCellCustomView::ticks() const {
    const auto [x, y, w, h] = scaleRect_;
    const double edge = isBeginOfGroup_ || isEndOfGroup_ ? 0.0 : edgeWidth;
    Path path;
    if (!isBeginOfGroup_) appendEdge(path, x, scaleRect_, edge);
    path.setLineWidth(tickWidth);
    addLine(path, {x + w * 0.25, y + h * 0.25}, {x + w * 0.25, y + h * 3.0 * 0.25});
    addLine(path, {x + w * 0.5, y}, {x + w * 0.5, y + h});
    addLine(path, {x + w * 3.0 * 0.25, y + h * 0.25}, {x + w * 3.0 * 0.25, y + h * 3.0 * 0.25});
    if (!isEndOfGroup_) appendEdge(path, x + w - 0.25, scaleRect_, edge);
    return path;
}

void ScrubberTimelineCellCustomView::customDrawinContext(Canvas& canvas) {
    updateScaleRect();
    canvas.setFillColor(backColor_);
    canvas.addPath(Path::bezierPathWithRoundedRect(barRect(), corners_, cornerRadii_));
    canvas.fillPath();
    if (isNeedCustomDraw_ && isNeedUpdateScale_) {
        canvas.setStrokeColor(scaleColor_);
        canvas.addPath(ticks());
        canvas.strokePath();
    }
    if (startDateTimeLayer_) placeText(*startDateTimeLayer_, canvas, scaleStartDateTimeAttrText_, false);
    if (endDateTimeLayer_) placeText(*endDateTimeLayer_, canvas, scaleEndDateTimeAttrText_, true);
    if (!eventTypeLayer2_) return;
    eventTypeLayer2_->setHidden(!isNeedCustomDraw_);
    eventTypeLayer2_->setFrame(scaleRect_);
    eventTypeLayer2_->setNeedsDisplay();
}

// The text stands in the middle between the band and the cell's lower edge.
void ScrubberTimelineCellCustomView::placeText(TextLayer& layer, Canvas& canvas, const AttributedString& text,
                                               bool atEnd) const {
    layer.setHidden(!isNeedCustomDraw_);
    if (!isNeedCustomDraw_ || !isNeedUpdateText_) return;
    layer.setString(text);
    const Size size = layer.preferredFrameSize(canvas);
    const double bottom = scaleRect_.bottom();
    const double y = (cellRect_.bottom() - bottom - size.height) * 0.5 + bottom;
    double x = scaleRect_.right() - size.width - textMargin;
    if (!atEnd && isBeginOfGroup_) x = scaleRect_.x + textMargin;
    if (!atEnd && !isBeginOfGroup_) x = scaleRect_.x + 0.5 * scaleRect_.width - size.width * 0.5;
    layer.setFrame({x, y, size.width, size.height});
}

void ScrubberTimelineCellCustomView::drawLayer(PaintedLayer& /*layer*/, Canvas& inContext) {
    customDrawinContext(inContext);
}

void ScrubberTimelineCellCustomView::removeAnimationFromLayer(PaintedLayer& layer) {
    static const QStringList actions{
        QStringLiteral("contents"),          QStringLiteral("position"),     QStringLiteral("frame"),
        QStringLiteral("opacity"),           QStringLiteral("bounds"),       QStringLiteral("affineTransform"),
        QStringLiteral("sublayerTransform"), QStringLiteral("transform"),    QStringLiteral("zPosition"),
        QStringLiteral("anchorPoint"),       QStringLiteral("cornerRadius"), QStringLiteral("sublayers"),
        QStringLiteral("onLayout")};
    layer.setDisabledActions(actions);
}

}  // namespace korvane
