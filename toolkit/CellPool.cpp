#include "korvane/toolkit/CellPool.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "korvane/base/Log.h"

namespace korvane {

CellPool::~CellPool() {
    for (const auto& [item, cell] : shown_) delete cell;
    for (CollectionViewCell* cell : lent_) delete cell;
    for (const auto& cells : std::as_const(waiting_)) {
        for (CollectionViewCell* cell : cells) delete cell;
    }
}

void CellPool::registerFactory(CollectionView::CellFactory factory, const QString& identifier) {
    factories_.insert(identifier, std::move(factory));
}

CollectionViewCell* CellPool::dequeue(const QString& identifier, IndexPath indexPath) {
    CollectionViewCell* cell = nullptr;
    auto& waiting = waiting_[identifier];
    if (!waiting.empty()) {
        cell = waiting.back();
        waiting.pop_back();
        cell->prepareForReuse();
    } else {
        const auto factory = factories_.value(identifier);
        if (!factory) {
            logError("CollectionView", "dequeueReusableCell: no cell is registered under this identifier");
            return nullptr;
        }
        auto made = factory();
        if (!made) made = std::make_unique<CollectionViewCell>();
        cell = made.release();
        cell->setParent(&view_);
        cell->setParentItem(&view_);
        cell->reuseIdentifier_ = identifier;
        cell->setVisible(false);
        cell->awakeFromNib();
    }
    cell->indexPath_ = indexPath;
    lent_.push_back(cell);
    return cell;
}

CollectionViewCell* CellPool::cell(std::int64_t item) const {
    const auto found = shown_.find(item);
    return found == shown_.end() ? nullptr : found->second;
}

bool CellPool::show(std::int64_t item, CollectionViewCell* cell) {
    const bool isOurs = std::erase(lent_, cell) > 0;
    for (CollectionViewCell* other : std::exchange(lent_, {})) putAway(other);
    if (!isOurs) return false;
    recycle(item);
    cell->indexPath_ = item;
    shown_.emplace(item, cell);
    return true;
}

void CellPool::recycle(std::int64_t item) {
    const auto found = shown_.find(item);
    if (found == shown_.end()) return;
    putAway(found->second);
    shown_.erase(found);
}

void CellPool::recycleAll() {
    for (const auto& [item, cell] : std::exchange(shown_, {})) putAway(cell);
}

void CellPool::recycleUnless(const std::function<bool(std::int64_t)>& isNeeded) {
    std::erase_if(shown_, [&](const auto& place) {
        if (isNeeded(place.first)) return false;
        putAway(place.second);
        return true;
    });
}

void CellPool::renumber(const std::function<IndexPath(const CollectionViewCell&)>& nowAt, std::int64_t count) {
    std::map<std::int64_t, CollectionViewCell*> left;
    for (const auto& [item, cell] : shown_) {
        const IndexPath now = nowAt(*cell);
        if (now && *now >= 0 && *now < count && left.emplace(*now, cell).second) {
            cell->indexPath_ = now;
        } else {
            putAway(cell);
        }
    }
    shown_ = std::move(left);
}

void CellPool::removeItems(const std::vector<std::int64_t>& items) {
    std::map<std::int64_t, CollectionViewCell*> left;
    for (const auto& [item, cell] : shown_) {
        const auto next = std::lower_bound(items.begin(), items.end(), item);
        if (next != items.end() && *next == item) {
            putAway(cell);
            continue;
        }
        cell->indexPath_ = item - std::distance(items.begin(), next);
        left.emplace(*cell->indexPath_, cell);
    }
    shown_ = std::move(left);
}

void CellPool::putAway(CollectionViewCell* cell) {
    cell->indexPath_ = std::nullopt;
    cell->setVisible(false);
    waiting_[cell->reuseIdentifier_].push_back(cell);
}

}  // namespace korvane
