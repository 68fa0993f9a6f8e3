#include "korvane/toolkit/PaintedItem.h"

#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <algorithm>
#include <cmath>
#include <utility>

#include "korvane/toolkit/PaintedLayer.h"
#include "korvane/toolkit/PainterCanvas.h"

namespace korvane {
namespace {

constexpr double largestSide = 8192;  // pixels; larger textures are not to be had everywhere

int pixelSide(double points, double ratio) {
    return static_cast<int>(std::lround(std::clamp(points * ratio, 0.0, largestSide)));
}

}  // namespace

class PaintedItem::OwnLayer final : public PaintedLayer {
  public:
    explicit OwnLayer(PaintedItem& item) : item_(item) {}
    void drawInContext(Canvas& canvas) override { item_.drawLayer(*this, canvas); }

  protected:
    void displayNeeded() override {
        item_.needsDisplay_ = true;
        item_.update();
    }

  private:
    PaintedItem& item_;
};

PaintedItem::PaintedItem(QQuickItem* parent) : QQuickItem(parent), layer_(std::make_unique<OwnLayer>(*this)) {
    setFlag(ItemHasContents);
}

PaintedItem::~PaintedItem() = default;

QColor PaintedItem::backgroundColor() const {
    return layer_->backgroundColor();
}

void PaintedItem::setBackgroundColor(const QColor& color) {
    if (layer_->backgroundColor() == color) return;
    layer_->setBackgroundColor(color);
    emit backgroundColorChanged();
}

void PaintedItem::setNeedsDisplay() {
    layer_->setNeedsDisplay();
}

QSGNode* PaintedItem::updatePaintNode(QSGNode* before, UpdatePaintNodeData* /*data*/) {
    const double ratio = window()->effectiveDevicePixelRatio();
    const QSize pixels(pixelSide(width(), ratio), pixelSide(height(), ratio));
    if (pixels.isEmpty()) {
        delete before;
        return nullptr;
    }
    auto* node = static_cast<QSGImageNode*>(before);
    const bool isNew = !node;
    if (isNew) {
        node = window()->createImageNode();
        node->setOwnsTexture(true);
        node->setFiltering(QSGTexture::Nearest);
    }
    if (std::exchange(needsDisplay_, false) || isNew) {
        node->setTexture(
            window()->createTextureFromImage(picture(pixels, ratio), QQuickWindow::TextureHasAlphaChannel));
    }
    node->setRect(0, 0, pixels.width() / ratio, pixels.height() / ratio);
    return node;
}

QImage PaintedItem::picture(const QSize& pixels, double ratio) {
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.scale(ratio, ratio);
    PainterCanvas canvas(painter);
    layer_->renderInContext(canvas);
    return image;
}

void PaintedItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    layer_->setFrame({0, 0, newGeometry.width(), newGeometry.height()});
}

void PaintedItem::itemChange(ItemChange change, const ItemChangeData& value) {
    QQuickItem::itemChange(change, value);
    if (change == ItemDevicePixelRatioHasChanged || change == ItemSceneChange) setNeedsDisplay();
}

}  // namespace korvane
