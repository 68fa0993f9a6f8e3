#pragma once

#include "korvane/toolkit/FlowLayout.h"

namespace korvane {

/// Layout of the timeline strip: one horizontal row whose cells touch.
class ScrubberTimelineFlowLayout final : public FlowLayout {
  public:
    ScrubberTimelineFlowLayout();
};

}  // namespace korvane
