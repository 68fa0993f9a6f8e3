#pragma once

#include <QColor>
#include <QImage>
#include <QQuickItem>
#include <memory>

namespace korvane {

class Canvas;
class PaintedLayer;

/// An item that draws itself and its layers into one picture, which has exactly the item's device pixels: Qt's own
/// painted items are whole points large, and leave a seam where that is no whole number of pixels. It is drawn anew
/// when that is asked for or its size changes, never for being moved, and nothing shows beyond it. It stands on device
/// pixels if its owner places it there. Main thread only, except that drawing belongs to the thread that draws the
/// scene while the main thread waits.
class PaintedItem : public QQuickItem {
    Q_OBJECT
    Q_PROPERTY(QColor backgroundColor READ backgroundColor WRITE setBackgroundColor NOTIFY backgroundColorChanged)

  public:
    explicit PaintedItem(QQuickItem* parent = nullptr);
    ~PaintedItem() override;

    /// The item's own layer, as large as the item: what is drawn lies in it. It lives as long as the item.
    PaintedLayer& layer() const { return *layer_; }

    /// Behind all that is drawn; transparent at first.
    QColor backgroundColor() const;
    void setBackgroundColor(const QColor& color);

    /// Asks for a repaint; any number of calls before it ask for one.
    void setNeedsDisplay();

    /// Draws the item's own content, below that of the sublayers. `layer` is layer().
    virtual void drawLayer(PaintedLayer& layer, Canvas& inContext) = 0;

  signals:
    void backgroundColorChanged();

  protected:
    QSGNode* updatePaintNode(QSGNode* before, UpdatePaintNodeData* data) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;

  private:
    class OwnLayer;
    QImage picture(const QSize& pixels, double ratio);

    std::unique_ptr<PaintedLayer> layer_;
    bool needsDisplay_ = true;
};

}  // namespace korvane
