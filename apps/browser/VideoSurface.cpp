#include "korvane/apps/browser/VideoSurface.h"

#include <QPainter>

namespace korvane {

VideoSurface::VideoSurface(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setOpaquePainting(true);
    setFillColor(Qt::black);
}

void VideoSurface::setSink(QVideoSink* sink) {
    if (sink == sink_) return;
    if (sink_) sink_->disconnect(this);
    sink_ = sink;
    // Frames come on the decoder's thread; of those that pile up only the latest is shown.
    if (sink_) connect(sink_, &QVideoSink::videoFrameChanged, this, &VideoSurface::takeFrame, Qt::QueuedConnection);
    emit sinkChanged();
    takeFrame();
}

void VideoSurface::takeFrame() {
    const QVideoFrame frame = sink_ ? sink_->videoFrame() : QVideoFrame();
    // Between two files the sink is empty for a moment, and the last picture stays.
    if (!frame.isValid() && sink_) return;
    if (frame == frame_) return;
    frame_ = frame;
    image_ = {};
    if (frame_.size() != frameSize_) {
        frameSize_ = frame_.size();
        emit contentRectChanged();
    }
    update();
    emit frameChanged();
}

QRectF VideoSurface::contentRect() const {
    const QRectF area = boundingRect();
    if (frameSize_.isEmpty() || area.isEmpty()) return area;
    const QSizeF fitted = QSizeF(frameSize_).scaled(area.size(), Qt::KeepAspectRatio);
    return {area.x() + (area.width() - fitted.width()) / 2, area.y() + (area.height() - fitted.height()) / 2,
            fitted.width(), fitted.height()};
}

void VideoSurface::paint(QPainter* painter) {
    if (image_.isNull() && frame_.isValid()) image_ = frame_.toImage();
    if (image_.isNull()) return;
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(contentRect(), image_);
}

void VideoSurface::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    emit contentRectChanged();
}

}  // namespace korvane
