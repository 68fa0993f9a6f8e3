// A time ruler of 800 x 120 whose axis moves by 7 points a frame, with so many recorded stretches in view, drawn by the
// software renderer into an image.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <memory>
#include <vector>

#include "korvane/bench/views/FrameTimes.h"
#include "korvane/bench/views/Stage.h"
#include "korvane/client/Timeline.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/Model/Ruler/RulerSectors.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSlider.h"

namespace korvane {
namespace {

constexpr TimeSec firstSector = 1'700'000'000 / RulerSectors::sectorLength * RulerSectors::sectorLength;
constexpr float widest = 120;  // seconds per point
constexpr int warmUpFrames = 100;

/// `stretches` in each 26 hours, which is what the ruler shows at its widest scale.
std::shared_ptr<RulerSectors> recorded(std::int64_t stretches) {
    constexpr TimeSec sectors = 32;
    constexpr double inView = 800.0 * widest / RulerSectors::sectorLength;
    const auto each = std::max<TimeSec>(1, static_cast<TimeSec>(static_cast<double>(stretches) / inView));
    auto result = std::make_shared<RulerSectors>();
    for (TimeSec sector = -sectors; sector < sectors; ++sector) {
        const TimeMs start = (firstSector + sector * RulerSectors::sectorLength) * 1000;
        const TimeMs way = RulerSectors::sectorLength * 1000 / each;
        std::vector<TimelinePair> periods;
        for (TimeSec i = 0; i < each; ++i) periods.emplace_back(start + i * way, start + i * way + way / 2);
        const auto timeline = std::make_shared<Timeline>(start, start + RulerSectors::sectorLength * 1000);
        timeline->setPeriods(std::move(periods));
        result->updateTimeline(start / 1000, start / 1000 + RulerSectors::sectorLength);
        result->answer(*result->next(), timeline);
    }
    return result;
}

void rulerFrame(benchmark::State& state) {
    Screen screen;
    test::ScriptedService service(*ToolkitContext::shared()->scheduler);
    TimelineSlider slider(Rect{0, 0, 800, 120}, screen.root());
    slider.setHelpers(service.helpers());
    slider.setTrackWidth(8);
    slider.setTextColor(Qt::black);
    slider.setRecords(recorded(state.range(0)));
    slider.setTimeScale(widest);
    slider.setTimeZone(QStringLiteral("America/New_York"));
    TimeSec center = firstSector;
    const auto frame = [&] {
        center += static_cast<TimeSec>(7 * widest);
        if (center > firstSector + 86'400) center = firstSector - 86'400;
        slider.setCenterTime(center);
        slider.timelineReload();
        QCoreApplication::processEvents();
        screen.draw();
    };
    for (int i = 0; i < warmUpFrames; ++i) frame();
    measure(state, frame);
}

BENCHMARK(rulerFrame)
    ->Arg(10)
    ->Arg(1'000)
    ->Arg(100'000)
    ->UseManualTime()
    ->Iterations(2000)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace korvane
