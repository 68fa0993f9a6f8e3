// What long lists cost a view: a search through a million entries that are all filled, with the scroll to what it
// found, and the memory of a process that has scrolled through two thousand cells with previews.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QImage>
#include <QTemporaryDir>
#include <QUrl>
#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <string>

#include "korvane/base/UtcTime.h"
#include "korvane/bench/views/Stage.h"
#include "korvane/client/http/HttpService.h"
#include "korvane/toolkit/ImageCache.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/Model/ScrubberEvents/ScrubberEventsDataProvider.h"

namespace korvane {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t million = 1'000'000;

TimeMs momentOf(std::uint64_t id) {
    return 1'700'000'000'000 + static_cast<TimeMs>(id) * 60'000;
}

double residentMegabytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) return std::stod(line.substr(6)) / 1024;
    }
    return 0;
}

/// Each event has a picture of its own, by an address from which the loader reads and decodes it.
class PicturedEvents final : public ScrubberDataSourceDelegate {
  public:
    PicturedEvents(std::int64_t count, QString picture) : count_(count), picture_(std::move(picture)) {}

    std::int64_t OnScrubberGetEventsCount() override { return count_; }
    std::int32_t OnScrubberDeleteEvent(const std::shared_ptr<ScrubberEvent>& /*event*/) override { return -1; }
    std::shared_ptr<ScrubberEvent> OnScrubberGetEventByIndex(std::int64_t index) override {
        auto& event = made_[index];
        if (event) return event;
        event = ScrubberEvent::build(index + 1, momentOf(static_cast<std::uint64_t>(index)));
        event->setName("motion");
        event->setImageUrl(picture_.toStdString() + '?' + std::to_string(index));  // equal addresses share a load
        if (index == 0) event->setType(ScrubberEventTypeHead);
        if (index == count_ - 1) event->setType(ScrubberEventTypeLive);
        return event;
    }

  private:
    const std::int64_t count_;
    const QString picture_;
    std::map<std::int64_t, std::shared_ptr<ScrubberEvent>> made_;
};

QString savePicture(const QTemporaryDir& folder) {
    QImage image(320, 180, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) image.setPixel(x, y, qRgb(x % 256, y, (x * y) % 256));
    }
    const QString path = folder.filePath(QStringLiteral("preview.jpg"));
    image.save(path, "JPG");
    return QUrl::fromLocalFile(path).toString();
}

void scrollThroughPreviews(benchmark::State& state) {
    const auto service = std::make_shared<HttpService>(*ToolkitContext::shared()->scheduler);
    const QTemporaryDir folder;
    const auto& cache = *ToolkitContext::shared()->imageCache;
    for (auto _ : state) {
        Stage stage(service);
        stage.view->setDataSourceDelegate(std::make_shared<PicturedEvents>(state.range(0) + 2, savePicture(folder)));
        stage.view->reload();
        for (int turn = 0; turn < 20; ++turn) QCoreApplication::processEvents();
        const double before = residentMegabytes();
        double most = before;
        int screens = 0;
        const double end = stage.strip().contentSize().width - 800;
        for (double x = 0; x < end; x += 400) {
            stage.strip().setContentOffset({x, 0});
            stage.draw();
            const auto begin = Clock::now();
            while (!stage.showsPictures() && Clock::now() - begin < std::chrono::seconds(1)) {
                QCoreApplication::processEvents();
            }
            ++screens;
            most = std::max(most, residentMegabytes());
        }
        state.counters["residentBefore_MB"] = before;
        state.counters["residentMost_MB"] = most;
        state.counters["cells"] = static_cast<double>(stage.cells());
        state.counters["cache_MB"] = static_cast<double>(cache.memoryCost()) / 1024 / 1024;
        state.counters["screens"] = screens;
    }
}

BENCHMARK(scrollThroughPreviews)->Arg(2'000)->Iterations(1)->Unit(benchmark::kMillisecond);

/// A view on a provider's list of a million entries a minute apart, ids 1 and up from the oldest.
struct MillionOnStage {
    std::shared_ptr<HttpService> service = std::make_shared<HttpService>(*ToolkitContext::shared()->scheduler);
    std::shared_ptr<ScrubberEventsDataProvider> provider =
        std::make_shared<ScrubberEventsDataProvider>(*ToolkitContext::shared()->scheduler, *service);
    Stage stage{service};

    MillionOnStage() {
        provider->enableEventGrouping(false);
        provider->initStorageForEvents(million);
        for (std::uint64_t id = million; id > 0; --id) {
            const Reply element = {{"id", id}, {"name", "motion"}, {"time", formatUtc(momentOf(id))}};
            provider->fillEventsFromDictionary(Reply::array({element}), id);
        }
        stage.view->setDataSourceDelegate(provider);
        stage.view->reload();
        for (int turn = 0; turn < 20; ++turn) QCoreApplication::processEvents();
    }
};

/// The call, the search and the new place of the strip with its cells; without what is drawn then.
void search(benchmark::State& state, void (*run)(ScrubberView&, const std::shared_ptr<ScrubberEvent>&), TimeMs time) {
    MillionOnStage many;
    ScrubberView& view = *many.stage.view;
    const auto wanted = ScrubberEvent::build(time);
    for (auto _ : state) {
        run(view, wanted);
        QCoreApplication::processEvents();
        state.PauseTiming();
        for (int turn = 0; turn < 5; ++turn) QCoreApplication::processEvents();
        state.ResumeTiming();
    }
    state.counters["at"] = static_cast<double>(view.getIndexPathFromPointer().value_or(-1));
}

void toEvent(ScrubberView& view, const std::shared_ptr<ScrubberEvent>& event) {
    view.toEvent(event);
}

void toClosestEvent(ScrubberView& view, const std::shared_ptr<ScrubberEvent>& event) {
    view.toClosestEvent(event);
}

#define SEARCH(operation, name, time) \
    BENCHMARK_CAPTURE(search, operation##_##name, operation, time)->Unit(benchmark::kMillisecond)->Iterations(200)
SEARCH(toEvent, first, momentOf(1));
SEARCH(toEvent, last, momentOf(million));
SEARCH(toEvent, absent, momentOf(million / 2) + 1);
SEARCH(toClosestEvent, first, momentOf(1) - 1);
SEARCH(toClosestEvent, last, momentOf(million) - 1);
SEARCH(toClosestEvent, absent, momentOf(million) + 1);

}  // namespace
}  // namespace korvane
