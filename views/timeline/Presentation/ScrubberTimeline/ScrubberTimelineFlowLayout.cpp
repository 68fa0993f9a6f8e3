#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineFlowLayout.h"

namespace korvane {

ScrubberTimelineFlowLayout::ScrubberTimelineFlowLayout() {
    setMinimumLineSpacing(0.0);
    setMinimumInteritemSpacing(0.0);
    setSectionInset({});
    setScrollDirection(ScrollDirection::Horizontal);
}

}  // namespace korvane
