#pragma once

#include <QHash>
#include <QString>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "korvane/toolkit/CollectionView.h"

namespace korvane {

/// The cells of one collection view: those that show an item, and those that wait to be reused. Main thread only.
class CellPool {
  public:
    explicit CellPool(CollectionView& view) : view_(view) {}
    ~CellPool();

    CellPool(const CellPool&) = delete;
    CellPool& operator=(const CellPool&) = delete;

    void registerFactory(CollectionView::CellFactory factory, const QString& identifier);

    /// Null for an identifier without a factory.
    CollectionViewCell* dequeue(const QString& identifier, IndexPath indexPath);

    CollectionViewCell* cell(std::int64_t item) const;
    const std::map<std::int64_t, CollectionViewCell*>& shown() const { return shown_; }

    /// Lets `cell`, dequeued before, show `item`. Other cells that were dequeued meanwhile wait again. Gives false when
    /// the cell was not dequeued here.
    bool show(std::int64_t item, CollectionViewCell* cell);

    void recycle(std::int64_t item);
    void recycleAll();
    void recycleUnless(const std::function<bool(std::int64_t)>& isNeeded);

    /// Gives each shown cell the item that `nowAt` tells, below `count`; recycles those for which it tells none.
    void renumber(const std::function<IndexPath(const CollectionViewCell&)>& nowAt, std::int64_t count);

    /// These items (ascending, unique) are gone, those behind them move up.
    void removeItems(const std::vector<std::int64_t>& items);

  private:
    void putAway(CollectionViewCell* cell);

    CollectionView& view_;
    QHash<QString, CollectionView::CellFactory> factories_;
    QHash<QString, std::vector<CollectionViewCell*>> waiting_;
    std::vector<CollectionViewCell*> lent_;
    std::map<std::int64_t, CollectionViewCell*> shown_;
};

}  // namespace korvane
