#include "korvane/toolkit/CollectionViewCell.h"

namespace korvane {

CollectionViewCell::CollectionViewCell(QQuickItem* parent) : QQuickItem(parent) {}

}  // namespace korvane
