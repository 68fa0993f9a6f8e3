#pragma once

#include <QQuickItem>
#include <QString>

#include "korvane/base/Geometry.h"
#include "korvane/toolkit/IndexPath.h"

namespace korvane {

/// A cell of a collection view. Made by the view from what was registered, recycled when it has left the screen, and
/// owned by the view. Main thread only.
class CollectionViewCell : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

  public:
    explicit CollectionViewCell(QQuickItem* parent = nullptr);

    /// Called once, when the interface file has been loaded, before the cell is used.
    virtual void awakeFromNib() {}

    /// Called when the cell is about to serve another item, before dequeueReusableCell() gives it out again.
    virtual void prepareForReuse() {}

    const QString& reuseIdentifier() const { return reuseIdentifier_; }

    /// The item it shows; nothing while it waits to be used.
    IndexPath indexPath() const { return indexPath_; }

    /// The size of that item in the layout; the cell itself stands on device pixels.
    Size itemSize() const { return itemSize_; }

  private:
    friend class CellPool;
    friend class CollectionView;
    Size itemSize_;
    QString reuseIdentifier_;
    IndexPath indexPath_;
};

}  // namespace korvane
