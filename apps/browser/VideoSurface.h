#pragma once

#include <QImage>
#include <QQuickPaintedItem>
#include <QVideoFrame>
#include <QVideoSink>
#include <memory>

namespace korvane {

/// Shows the frames of a video sink in their aspect, on black. It paints them itself, so that it works where there is
/// no graphics card. Main thread only.
class VideoSurface : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QVideoSink* sink READ sink WRITE setSink NOTIFY sinkChanged)
    Q_PROPERTY(bool hasFrame READ hasFrame NOTIFY frameChanged)
    Q_PROPERTY(QRectF contentRect READ contentRect NOTIFY contentRectChanged)

  public:
    explicit VideoSurface(QQuickItem* parent = nullptr);

    /// Not owned; null for none.
    QVideoSink* sink() const { return sink_; }
    void setSink(QVideoSink* sink);

    bool hasFrame() const { return frame_.isValid(); }

    /// Where in this item the picture is, points; all of the item without a picture.
    QRectF contentRect() const;

    void paint(QPainter* painter) override;

  signals:
    void sinkChanged();
    void frameChanged();
    void contentRectChanged();

  protected:
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;

  private:
    void takeFrame();

    QPointer<QVideoSink> sink_;
    QVideoFrame frame_;
    QSize frameSize_;
    QImage image_;  // frame_ decoded; null until it is painted
};

}  // namespace korvane
