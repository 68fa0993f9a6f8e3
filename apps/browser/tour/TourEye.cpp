#include "korvane/apps/browser/tour/TourEye.h"

#include <QImage>
#include <algorithm>

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

bool isRecorded(const std::shared_ptr<ScrubberEvent>& event) {
    return event && (event->type() == ScrubberEventTypeItem || event->type() == ScrubberEventTypeGroup);
}

QPointF markOf(const QQuickItem& strip) {
    return strip.mapToScene({strip.width() / 2, strip.height() / 2});
}

double beginOf(const ScrubberView& strip, std::int64_t index) {
    return markOf(strip).x() - strip.getOffsetBetweenPointerAndItemBegin(index);
}

bool areCellsFilled(ScrubberView& strip) {
    const double width = strip.getConfig().cellWidth();
    const auto isInView = [&](double begin) { return begin + width > 0 && begin < strip.width(); };
    const auto under = strip.getIndexPathFromPointer();
    if (!under) return false;
    std::int64_t first = *under;
    while (first > 0 && isInView(beginOf(strip, first - 1))) --first;
    std::size_t wanted = 0;
    for (std::int64_t index = first; index < strip.getEventsCount() && isInView(beginOf(strip, index)); ++index) {
        const auto event = strip.getEvent(index);
        if (!event || event->type() == ScrubberEventTypePending) return false;
        if (isRecorded(event) && !event->imageUrl().value_or("").empty()) ++wanted;
    }
    const auto isShown = [&](const QQuickItem* cell) {
        return isInView(cell->mapToScene({}).x()) && isPictured(*cell);
    };
    const auto cells = cellsIn(strip);
    return static_cast<std::size_t>(std::count_if(cells.begin(), cells.end(), isShown)) >= wanted;
}

}  // namespace korvane
