#pragma once

#include "korvane/server/sample/Picture.h"

namespace korvane {

/// The light of a day late in autumn.
struct Daylight {
    Color skyTop;
    Color skyLow;
    /// What every lit thing is multiplied with.
    Color ambient;
    /// 0 by day, 1 by night.
    float night = 0;
    float hour = 0;

    /// `hour` of the local day, 0 to 24.
    static Daylight at(float hour);

    /// For things close to the lens, which the camera's own lamp reaches.
    Color nearby() const;
};

}  // namespace korvane
