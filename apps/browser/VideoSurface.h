#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <QPointer>
#include <QQuickItem>

#include "korvane/apps/browser/PictureSink.h"

namespace korvane {

/// Shows the pictures of a player in their aspect. Works with every renderer, also where there is no graphics card.
/// Main thread only.
class VideoSurface : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(korvane::PictureSink* sink READ sink WRITE setSink NOTIFY sinkChanged)
    Q_PROPERTY(QImage standIn READ standIn WRITE setStandIn NOTIFY standInChanged)
    Q_PROPERTY(bool hasFrame READ hasFrame NOTIFY frameChanged)
    Q_PROPERTY(QRectF contentRect READ contentRect NOTIFY contentRectChanged)

  public:
    explicit VideoSurface(QQuickItem* parent = nullptr);

    /// Not owned; null for none.
    PictureSink* sink() const { return sink_; }
    void setSink(PictureSink* sink);

    /// Shown instead of the player's picture; null for none.
    const QImage& standIn() const { return standIn_; }
    void setStandIn(const QImage& standIn);

    bool hasFrame() const { return !picture_.isNull(); }

    /// Where in this item the picture is, points; all of the item without a picture.
    QRectF contentRect() const;

  signals:
    void sinkChanged();
    void standInChanged();
    void frameChanged();
    void contentRectChanged();

  protected:
    QSGNode* updatePaintNode(QSGNode* before, UpdatePaintNodeData* data) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;

  private:
    void takePicture();

    QPointer<PictureSink> sink_;
    QImage standIn_;
    QImage picture_;
    bool isTaken_ = false;  // the scene has this picture
};

}  // namespace korvane
