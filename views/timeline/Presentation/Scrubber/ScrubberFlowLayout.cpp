#include "korvane/views/timeline/Presentation/Scrubber/ScrubberFlowLayout.h"

namespace korvane {

ScrubberFlowLayout::ScrubberFlowLayout() {
    setMinimumLineSpacing(1.0);
    setMinimumInteritemSpacing(3.0);
    setSectionInset({});
    setScrollDirection(ScrollDirection::Horizontal);
}

}  // namespace korvane
