// The timeline strip over ten years round the clock, 800 x 120, drawn by the software renderer into an image: the
// first reload, a frame of a strip that scrolls by 7 points, and a jump to any moment.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <QCoreApplication>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "korvane/bench/views/FrameTimes.h"
#include "korvane/bench/views/Stage.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCell.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCollectionView.h"
#include "korvane/views/timeline/ScrubberTimelineView.h"

namespace korvane {
namespace {

constexpr TimeMs firstDay = 1'420'070'400'000;  // 2015-01-01
constexpr TimeMs dayMs = 86'400'000;
constexpr TimeMs hourMs = 3'600'000;
constexpr std::int64_t dayCount = 3650;
constexpr double step = 7;  // points a frame
constexpr int warmUpFrames = 500;

/// Ten years in periods of an hour, of which the last five minutes are missing.
class TenYears : public Screen {
  public:
    TenYears() : service_(std::make_shared<test::ScriptedService>(*ToolkitContext::shared()->scheduler)) {
        Reply days = Reply::array();
        for (std::int64_t day = 0; day < dayCount; ++day) {
            const TimeMs begin = firstDay + day * dayMs;
            days.push_back(service_->helpers()->formatTime(begin, "yyyy-MM-dd", "UTC"));
            Reply periods = Reply::array();
            for (int hour = 0; hour < 24; ++hour) {
                periods.push_back({begin + hour * hourMs, begin + hour * hourMs + 3'300'000});
            }
            service_->scriptNext("getTimelineSync", test::Script::answered(std::move(periods)));
        }
        service_->scriptAll("getActivity", test::Script::answered(days));
        view = std::make_unique<ScrubberTimelineView>(TimelineEnvironment{nullptr, service_}, Rect{}, root());
        view->getConfig().setDataSourceType(ScrubberDataSourceTypeTimeline);
        view->getConfig().setCellSeparatorWidth(0);
        view->applyConfig();
    }

    ~TenYears() { view.reset(); }

    void load() {
        view->setSource(QString::fromStdString(service_->makeToken()));
        while (view->getEventsCount() == 0 || view->indexUnderMark() < 1) QCoreApplication::processEvents();
        for (int turn = 0; turn < 50; ++turn) QCoreApplication::processEvents();
    }

    ScrubberTimelineCollectionView& strip() const { return *view->getCollectionView(); }

  private:
    std::shared_ptr<test::ScriptedService> service_;

  public:
    std::unique_ptr<ScrubberTimelineView> view;
};

std::size_t bytesInUse() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void timelineStripFrame(benchmark::State& state) {
    TenYears stage;
    stage.load();
    double x = stage.strip().contentSize().width / 2;
    const auto frame = [&] {
        x += step;
        stage.strip().setContentOffset({x, 0});
        QCoreApplication::processEvents();
        stage.draw();
    };
    for (int i = 0; i < warmUpFrames; ++i) frame();
    const std::size_t before = bytesInUse();
    const auto warm = stage.strip().findChildren<ScrubberTimelineCell*>().size();
    measure(state, frame);
    state.counters["entries"] = static_cast<double>(stage.view->getEventsCount());
    state.counters["cells"] = static_cast<double>(warm);
    state.counters["made_after_warm_up"] =
        static_cast<double>(stage.strip().findChildren<ScrubberTimelineCell*>().size() - warm);
    state.counters["bytes_grown"] = static_cast<double>(bytesInUse()) - static_cast<double>(before);
}

BENCHMARK(timelineStripFrame)->UseManualTime()->Iterations(5000)->Unit(benchmark::kMillisecond);

/// From toEvent() to the picture of the place.
void timelineJump(benchmark::State& state) {
    TenYears stage;
    stage.load();
    std::mt19937_64 random(1);
    std::vector<double> milliseconds;
    for (auto _ : state) {
        const TimeMs hour = static_cast<TimeMs>(random() % (dayCount * 24));
        const TimeMs time = firstDay + hour * hourMs + 1'234'000;
        const auto begin = Clock::now();
        stage.view->toEvent(ScrubberEvent::build(time), false, true);
        QCoreApplication::processEvents();
        stage.draw();
        milliseconds.push_back(millisecondsSince(begin));
        state.SetIterationTime(milliseconds.back() / 1000);
        for (int turn = 0; turn < 5; ++turn) QCoreApplication::processEvents();
    }
    report(state, milliseconds);
}

BENCHMARK(timelineJump)->UseManualTime()->Iterations(500)->Unit(benchmark::kMillisecond);

void timelineReload(benchmark::State& state) {
    TenYears stage;
    stage.load();
    measure(state, [&] {
        stage.view->reload();
        QCoreApplication::processEvents();
        stage.draw();
    });
}

BENCHMARK(timelineReload)->UseManualTime()->Iterations(200)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace korvane
