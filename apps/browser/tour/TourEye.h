#pragma once

#include <QPointF>
#include <QQuickItem>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "korvane/views/timeline/ScrubberView.h"

namespace korvane {

/// The visible items of a tree, parents before their children. Main thread only, as all here.
std::vector<QQuickItem*> itemsIn(QQuickItem& root, const std::function<bool(const QQuickItem&)>& isWanted);

/// The cells of a strip, told by what its interface file names in them.
std::vector<QQuickItem*> cellsIn(QQuickItem& strip);

/// A cell of a strip shows a picture.
bool isPictured(const QQuickItem& cell);

/// A single entry or a group; neither pending nor an end of the list.
bool isRecorded(const std::shared_ptr<ScrubberEvent>& event);

/// Where the mark stands, in the window.
QPointF markOf(const QQuickItem& strip);

/// Where an entry's cell begins, or will once the strip has come to rest, in the window.
double beginOf(const ScrubberView& strip, std::int64_t index);

/// Each entry in view has come, and shows the picture that it has.
bool areCellsFilled(ScrubberView& strip);

}  // namespace korvane
