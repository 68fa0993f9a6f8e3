#include "korvane/apps/browser/tour/TourEye.h"

#include <QImage>

namespace korvane {

namespace {

constexpr const char* picture = "previewImageView";

void collect(QQuickItem& root, const std::function<bool(const QQuickItem&)>& isWanted,
             std::vector<QQuickItem*>& found) {
    if (!root.isVisible()) return;
    if (isWanted(root)) found.push_back(&root);
    for (QQuickItem* child : root.childItems()) collect(*child, isWanted, found);
}

}  // namespace

std::vector<QQuickItem*> itemsIn(QQuickItem& root, const std::function<bool(const QQuickItem&)>& isWanted) {
    std::vector<QQuickItem*> found;
    collect(root, isWanted, found);
    return found;
}

std::vector<QQuickItem*> cellsIn(QQuickItem& strip) {
    return itemsIn(strip, [](const QQuickItem& item) { return item.property(picture).isValid(); });
}

bool isPictured(const QQuickItem& cell) {
    const auto* const shown = cell.property(picture).value<QObject*>();
    return shown && !shown->property("image").value<QImage>().isNull();
}

}  // namespace korvane
