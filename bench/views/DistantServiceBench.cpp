// What a person waits for when the service is a round trip away, and how many connections browsing takes: from the
// token to filled cells, from these to their pictures, from a jump over almost a hundred entries to the pictures there.
#include <benchmark/benchmark.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QImage>
#include <chrono>
#include <memory>
#include <string>

#include "korvane/bench/support/DelayProxy.h"
#include "korvane/bench/views/BenchService.h"
#include "korvane/bench/views/Stage.h"
#include "korvane/client/http/HttpService.h"
#include "korvane/toolkit/ImageCache.h"
#include "korvane/toolkit/ToolkitContext.h"

namespace korvane {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::int64_t storedEvents = 1'000;
constexpr std::int64_t reach = 92;  // of the 100 events that are there at first, without the cells beside them

std::string thumbnail() {
    QImage image(320, 180, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) image.setPixel(x, y, qRgb(x % 256, y, (x * y) % 256));
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "JPG");
    return bytes.toStdString();
}

double millisecondsUntil(const std::function<bool()>& done) {
    const auto begin = Clock::now();
    const auto taken = [&] { return std::chrono::duration<double, std::milli>(Clock::now() - begin).count(); };
    while (!done() && taken() < 30'000) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 1);
    return taken();
}

/// As a hand browses: jumps back and forth, with a look at what is there after every third.
void browse(Stage& stage) {
    for (int jump = 0; jump < 30; ++jump) {
        const std::int64_t count = stage.view->getEventsCount();
        stage.view->toEvent(stage.view->getEvent(count - 2 - (jump * 37) % reach));
        const auto begin = Clock::now();
        millisecondsUntil([&] {
            const auto seen = Clock::now() - begin;
            return jump % 3 == 0 ? stage.showsPictures() : seen > std::chrono::milliseconds(150);
        });
    }
}

void distantService(benchmark::State& state) {
    auto& toolkit = *ToolkitContext::shared();
    const BenchService camera(storedEvents, thumbnail());
    const auto turn = std::chrono::milliseconds(state.range(0));
    for (auto _ : state) {
        toolkit.imageCache->clearMemory();
        DelayProxy link(camera.port(), turn);
        Stage stage(std::make_shared<HttpService>(*toolkit.scheduler));
        const QString token = QString::fromStdString(camera.tokenBy(link.url()));
        const auto isThere = [&] { return stage.isFilled() && stage.showsPictures(); };

        stage.view->setSource(token);
        state.counters["cells_ms"] = millisecondsUntil([&] { return stage.isFilled(); });
        state.counters["pictures_ms"] = millisecondsUntil(isThere);

        const auto old = stage.view->getEvent(stage.view->getEventsCount() - 1 - reach);
        const int before = link.counts().requests;
        stage.view->toEvent(old);
        const double x = stage.strip().contentOffset().x;
        state.counters["jump_ms"] =
            millisecondsUntil([&] { return stage.strip().contentOffset().x != x && isThere(); });
        state.counters["jump_requests"] = link.counts().requests - before;
        browse(stage);
        state.counters["connections"] = link.counts().connections;
        state.counters["requests"] = link.counts().requests;
    }
}

BENCHMARK(distantService)->Arg(0)->Arg(30)->Arg(100)->Arg(300)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace korvane
