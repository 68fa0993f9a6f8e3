#pragma once

#include "korvane/toolkit/FlowLayout.h"

namespace korvane {

/// Layout of the event strip: one horizontal row without insets.
class ScrubberFlowLayout final : public FlowLayout {
  public:
    ScrubberFlowLayout();
};

}  // namespace korvane
