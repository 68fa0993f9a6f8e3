#include "korvane/apps/browser/VideoSurface.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <utility>

namespace korvane {

VideoSurface::VideoSurface(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents);
}

void VideoSurface::setSink(PictureSink* sink) {
    if (sink == sink_) return;
    if (sink_) sink_->disconnect(this);
    sink_ = sink;
    if (sink_) connect(sink_, &PictureSink::pictureChanged, this, &VideoSurface::takePicture);
    emit sinkChanged();
    takePicture();
}

void VideoSurface::setStandIn(const QImage& standIn) {
    if (standIn.cacheKey() == standIn_.cacheKey()) return;
    standIn_ = standIn;
    emit standInChanged();
    takePicture();
}

void VideoSurface::takePicture() {
    const QSize before = picture_.size();
    picture_ = !standIn_.isNull() ? standIn_ : sink_ ? sink_->picture() : QImage();
    isTaken_ = false;
    if (picture_.size() != before) emit contentRectChanged();
    update();
    emit frameChanged();
}

QRectF VideoSurface::contentRect() const {
    const QRectF area = boundingRect();
    if (picture_.isNull() || area.isEmpty()) return area;
    const QSizeF fitted = QSizeF(picture_.size()).scaled(area.size(), Qt::KeepAspectRatio);
    return {area.x() + (area.width() - fitted.width()) / 2, area.y() + (area.height() - fitted.height()) / 2,
            fitted.width(), fitted.height()};
}

QSGNode* VideoSurface::updatePaintNode(QSGNode* before, UpdatePaintNodeData*) {
    auto* node = static_cast<QSGImageNode*>(before);
    if (picture_.isNull() || !window()) {
        delete node;
        return nullptr;
    }
    if (!node) {
        node = window()->createImageNode();
        node->setOwnsTexture(true);
        node->setFiltering(QSGTexture::Linear);
        isTaken_ = false;
    }
    if (!std::exchange(isTaken_, true)) {
        QSGTexture* texture = window()->createTextureFromImage(picture_, QQuickWindow::TextureIsOpaque);
        if (!texture) {
            delete node;
            return nullptr;
        }
        node->setTexture(texture);
    }
    node->setRect(contentRect());
    return node;
}

void VideoSurface::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    update();
    emit contentRectChanged();
}

void VideoSurface::itemChange(ItemChange change, const ItemChangeData& value) {
    // Another window has no texture of it yet.
    if (change == ItemSceneChange) isTaken_ = false;
    QQuickItem::itemChange(change, value);
}

}  // namespace korvane
