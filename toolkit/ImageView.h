#pragma once

#include <QColor>
#include <QImage>
#include <QQuickPaintedItem>
#include <QUrl>
#include <cstdint>

namespace korvane {

/// Shows one image on a background, sharp at every device pixel ratio. Main thread only, usable from C++ and from QML.
class ImageView : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QImage image READ image WRITE setImage NOTIFY imageChanged)
    Q_PROPERTY(QUrl source READ source WRITE setSource NOTIFY sourceChanged)
    Q_PROPERTY(QColor backgroundColor READ backgroundColor WRITE setBackgroundColor NOTIFY styleChanged)
    Q_PROPERTY(QColor tintColor READ tintColor WRITE setTintColor NOTIFY styleChanged)
    Q_PROPERTY(double cornerRadius READ cornerRadius WRITE setCornerRadius NOTIFY styleChanged)
    Q_PROPERTY(FillMode contentMode READ contentMode WRITE setContentMode NOTIFY styleChanged)

  public:
    enum FillMode { AspectFill, AspectFit, Stretch };
    Q_ENUM(FillMode)

    explicit ImageView(QQuickItem* parent = nullptr);

    /// A null image shows the background alone.
    const QImage& image() const { return image_; }
    void setImage(const QImage& image);

    /// For interface files: a picture of theirs, read at once from a file or resource. Remote URLs are refused with a
    /// log line: see ImageLoader for them.
    const QUrl& source() const { return source_; }
    void setSource(const QUrl& source);

    /// Behind the image, and alone without one; transparent at first.
    QColor backgroundColor() const { return backgroundColor_; }
    void setBackgroundColor(const QColor& color);

    /// A valid colour paints the image's opaque parts in it, for icons; an invalid one, at first, shows it as it is.
    QColor tintColor() const { return tintColor_; }
    void setTintColor(const QColor& color);

    /// Points; 0 at first.
    double cornerRadius() const { return cornerRadius_; }
    void setCornerRadius(double points);

    FillMode contentMode() const { return contentMode_; }
    void setContentMode(FillMode mode);

    /// A number of the owner's, -1 at first: which event it shows, say.
    std::int64_t tag() const { return tag_; }
    void setTag(std::int64_t tag) { tag_ = tag; }

    /// Size in device pixels, for asking for images of that size; empty before layout.
    QSize pixelSize() const;

    void paint(QPainter* painter) override;

  signals:
    void imageChanged();
    void sourceChanged();
    void styleChanged();

  private:
    QRectF targetRect() const;

    QImage image_;
    QUrl source_;
    QColor backgroundColor_ = Qt::transparent;
    QColor tintColor_;
    double cornerRadius_ = 0;
    FillMode contentMode_ = AspectFill;
    std::int64_t tag_ = -1;
};

}  // namespace korvane
