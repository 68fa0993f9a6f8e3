// The event strip as a host has it, 800 x 120, drawn by the software renderer into an image: a frame of a strip that
// scrolls by 7 points, a tick of playback, and the way from a token to the first cells that are filled by a service
// over loopback.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>
#include <vector>

#include "korvane/bench/views/BenchService.h"
#include "korvane/bench/views/FrameTimes.h"
#include "korvane/bench/views/Stage.h"
#include "korvane/client/http/HttpService.h"
#include "korvane/toolkit/ImageCache.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberDataSourceDelegate.h"

namespace korvane {
namespace {

constexpr double step = 7;
constexpr int warmUpFrames = 500;

/// Events with previews, made when asked for.
class ManyEvents final : public ScrubberDataSourceDelegate {
  public:
    explicit ManyEvents(std::int64_t count) : count_(count) {}

    std::int64_t OnScrubberGetEventsCount() override { return count_; }
    std::int32_t OnScrubberDeleteEvent(const std::shared_ptr<ScrubberEvent>& /*event*/) override { return -1; }
    std::shared_ptr<ScrubberEvent> OnScrubberGetEventByIndex(std::int64_t index) override {
        auto& event = made_[index];
        if (!event) event = make(index);
        return event;
    }

  private:
    std::shared_ptr<ScrubberEvent> make(std::int64_t index) const {
        auto event = ScrubberEvent::build(index % 50 + 1, 1'700'000'000'000 + index * 60'000);
        event->setName("motion");
        if (index == 0) event->setType(ScrubberEventTypeHead);
        if (index == count_ - 1) event->setType(ScrubberEventTypeLive);
        return event;
    }

    std::int64_t count_;
    std::map<std::int64_t, std::shared_ptr<ScrubberEvent>> made_;
};

void storePreviews() {
    for (int id = 1; id <= 50; ++id) {
        QImage image(268, 188, QImage::Format_RGB32);
        image.fill(QColor::fromHsv(id * 7, 150, 180));
        ToolkitContext::shared()->imageCache->storeImageToMemory(image, QStringLiteral("0_%1").arg(id));
    }
}

void showEvents(Stage& stage, std::int64_t count) {
    storePreviews();
    stage.view->setDataSourceDelegate(std::make_shared<ManyEvents>(count));
    stage.view->reload();
    for (int turn = 0; turn < 20; ++turn) QCoreApplication::processEvents();
}

void eventStripFrame(benchmark::State& state) {
    const auto service = std::make_shared<HttpService>(*ToolkitContext::shared()->scheduler);
    Stage stage(service);
    showEvents(stage, state.range(0));
    double x = 134.35 * static_cast<double>(state.range(0)) / 2;
    double direction = step;
    const auto frame = [&] {
        x += direction;
        if (x < 0 || x > stage.strip().contentSize().width - 800) direction = -direction;
        stage.strip().setContentOffset({x, 0});
        stage.draw();
    };
    for (int i = 0; i < warmUpFrames; ++i) frame();
    const std::size_t warm = stage.cells();
    measure(state, frame);
    state.counters["cells"] = static_cast<double>(warm);
    state.counters["made_after_warm_up"] = static_cast<double>(stage.cells() - warm);
}

BENCHMARK(eventStripFrame)->Arg(100)->Arg(1'000'000)->UseManualTime()->Iterations(3000)->Unit(benchmark::kMillisecond);

/// What a tick costs the main thread: the turn that moves bar and strip, with the first frame of that.
void playbackTickOnMain(benchmark::State& state) {
    const auto service = std::make_shared<HttpService>(*ToolkitContext::shared()->scheduler);
    Stage stage(service);
    showEvents(stage, state.range(0));
    stage.strip().setContentOffset({134.35 * static_cast<double>(state.range(0)) / 2, 0});
    stage.draw();
    auto* const cell =
        qobject_cast<ScrubberCell*>(stage.strip().cellForItemAtIndexPath(stage.view->getIndexPathFromPointer()));
    if (!cell) return state.SkipWithError("there is no cell under the mark");
    cell->startProgress(dynamic_cast<ScrubberCellOwner*>(stage.strip().delegate()));
    const double from = stage.strip().contentOffset().x;
    double base = 0;
    double previous = 0;
    TimeMs position = 0;
    std::vector<double> milliseconds;
    for (auto _ : state) {
        position = position % 60'000 + 1'000;
        const auto begin = Clock::now();
        cell->advanceProgressTo(position, 0, 60'000, base, previous);
        QCoreApplication::processEvents();
        stage.draw();
        milliseconds.push_back(millisecondsSince(begin));
        state.SetIterationTime(milliseconds.back() / 1000);
    }
    if (stage.strip().contentOffset().x == from) state.SkipWithError("the strip has not moved");
    report(state, milliseconds);
}

BENCHMARK(playbackTickOnMain)->Arg(1'000'000)->UseManualTime()->Iterations(3000)->Unit(benchmark::kMillisecond);

void tokenToFirstCells(benchmark::State& state) {
    const BenchService camera(state.range(0));
    if (camera.token().empty()) return state.SkipWithError("the service could not be started");
    const auto service = std::make_shared<HttpService>(*ToolkitContext::shared()->scheduler);
    std::vector<double> milliseconds;
    for (auto _ : state) {
        Stage stage(service);
        const auto begin = Clock::now();
        stage.view->setSource(QString::fromStdString(camera.token()));
        while (!stage.isFilled() && millisecondsSince(begin) < 5000) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 1);
        }
        stage.draw();
        milliseconds.push_back(millisecondsSince(begin));
        state.SetIterationTime(milliseconds.back() / 1000);
    }
    report(state, milliseconds);
}

BENCHMARK(tokenToFirstCells)->Arg(300)->Arg(1'000'000)->UseManualTime()->Iterations(50)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace korvane

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("QT_QUICK_BACKEND", "software", 1);
    QGuiApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
