#pragma once

#include <sstream>

#include "korvane/tests/support/qt/RecordingCanvas.h"
#include "korvane/toolkit/PaintedLayer.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSliderDelegate.h"

namespace korvane::test {

/// Writes down what a ruler tells.
struct RulerHost : TimelineSliderDelegate {
    void updateTimeline(TimeSec start, TimeSec end) override {
        told << "fetch " << start << ' ' << end - start << "; ";
    }
    void makePositionVisible(TimeSec time, float x) override { told << "follow " << time << ' ' << x << "; "; }
    void startPositionChanging(TimeSec time, float x) override { told << "start " << time << ' ' << x << "; "; }
    void continuePositionChanging(TimeSec time, float x) override { told << "go " << time << ' ' << x << "; "; }
    void endPositionChanging(TimeSec time, float x) override { told << "end " << time << ' ' << x << "; "; }
    std::string take() { return std::exchange(told, {}).str(); }
    std::ostringstream told;
};

/// What a layer and those in it draw, of the lines that begin with `kind`.
inline std::string drawn(PaintedLayer& layer, const char* kind = "") {
    RecordingCanvas canvas;
    layer.drawInContext(canvas);
    for (const auto& each : layer.sublayers()) each->drawInContext(canvas);
    std::string result;
    for (const std::string& line : canvas.lines()) result += line.starts_with(kind) ? line + '\n' : "";
    return result;
}

}  // namespace korvane::test
