#include "korvane/toolkit/ImageView.h"

#include <QImageReader>
#include <QPainter>
#include <QPainterPath>
#include <QQuickWindow>
#include <QUrl>
#include <algorithm>
#include <cmath>

#include "korvane/base/Log.h"

namespace korvane {
namespace {

constexpr const char* classPath = "ImageView";

template <typename Value>
bool assign(Value& member, const Value& value) {
    if (member == value) return false;
    member = value;
    return true;
}

QImage tinted(const QImage& image, const QColor& color) {
    QImage result = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&result);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(result.rect(), color);
    return result;
}

}  // namespace

ImageView::ImageView(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
}

void ImageView::setImage(const QImage& image) {
    if (image.isNull() && image_.isNull()) return;
    image_ = image;
    update();
    emit imageChanged();
}

void ImageView::setSource(const QUrl& source) {
    if (!assign(source_, source)) return;
    if (source.isLocalFile() || source.scheme() == QLatin1String("qrc")) {
        QImageReader reader(source.isLocalFile() ? source.toLocalFile() : QLatin1Char(':') + source.path());
        setImage(reader.read());
        if (image_.isNull()) logError(classPath, "setSource: no picture that can be read");
    } else {
        setImage({});
        if (!source.isEmpty()) logError(classPath, "setSource: neither a file nor a resource");
    }
    emit sourceChanged();
}

void ImageView::setBackgroundColor(const QColor& color) {
    if (!assign(backgroundColor_, color)) return;
    update();
    emit styleChanged();
}

void ImageView::setTintColor(const QColor& color) {
    if (!assign(tintColor_, color)) return;
    update();
    emit styleChanged();
}

void ImageView::setCornerRadius(double points) {
    if (!std::isfinite(points) || !assign(cornerRadius_, std::max(0.0, points))) return;
    update();
    emit styleChanged();
}

void ImageView::setContentMode(FillMode mode) {
    if (!assign(contentMode_, mode)) return;
    update();
    emit styleChanged();
}

QSize ImageView::pixelSize() const {
    const double ratio = window() ? window()->effectiveDevicePixelRatio() : 1;
    return QSizeF(width() * ratio, height() * ratio).toSize();
}

QRectF ImageView::targetRect() const {
    const QRectF all = boundingRect();
    if (contentMode_ == Stretch) return all;
    const auto mode = contentMode_ == AspectFill ? Qt::KeepAspectRatioByExpanding : Qt::KeepAspectRatio;
    QRectF target(QPointF(), QSizeF(image_.size()).scaled(all.size(), mode));
    target.moveCenter(all.center());
    return target;
}

// Corners are filled along a path, because clipping to one is not smooth.
void ImageView::paint(QPainter* painter) {
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const double radius = std::min({cornerRadius_, width() / 2, height() / 2});
    QPainterPath outline;
    outline.addRoundedRect(boundingRect(), radius, radius);
    if (backgroundColor_.alpha() > 0) painter->fillPath(outline, backgroundColor_);
    const QRectF target = targetRect();
    if (image_.isNull() || target.isEmpty()) return;
    const double ratio = painter->device()->devicePixelRatioF();
    const QSize pixels = (target.size() * ratio).toSize().expandedTo({1, 1});
    const bool shrinks = pixels.width() < image_.width();
    QImage picture = shrinks ? image_.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation) : image_;
    if (tintColor_.isValid()) picture = tinted(picture, tintColor_);
    picture.setDevicePixelRatio(1);
    QBrush brush(picture);
    brush.setTransform(QTransform::fromTranslate(target.x(), target.y())
                           .scale(target.width() / picture.width(), target.height() / picture.height()));
    QPainterPath shape;
    shape.addRect(target);
    painter->fillPath(radius > 0 || contentMode_ != AspectFit ? outline.intersected(shape) : shape, brush);
}

}  // namespace korvane
