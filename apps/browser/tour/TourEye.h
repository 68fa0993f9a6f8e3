#pragma once

#include <QQuickItem>
#include <functional>
#include <vector>

namespace korvane {

/// The visible items of a tree, parents before their children. Main thread only, as all here.
std::vector<QQuickItem*> itemsIn(QQuickItem& root, const std::function<bool(const QQuickItem&)>& isWanted);

/// The cells of a strip, told by what its interface file names in them.
std::vector<QQuickItem*> cellsIn(QQuickItem& strip);

/// A cell of a strip shows a picture.
bool isPictured(const QQuickItem& cell);

}  // namespace korvane
