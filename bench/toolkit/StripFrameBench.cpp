// One frame of a strip that scrolls by 7 points, 800 x 120, drawn by the software renderer into an image.
#include <benchmark/benchmark.h>

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QQuickItem>
#include <QQuickRenderControl>
#include <QQuickRenderTarget>
#include <QQuickWindow>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "korvane/toolkit/CollectionView.h"
#include "korvane/toolkit/ImageView.h"

namespace korvane {
namespace {

constexpr double step = 7;
constexpr int warmUpFrames = 500;

/// A thumbnail with round corners, as the widgets' cells have.
class ThumbnailCell : public CollectionViewCell {
  public:
    ThumbnailCell() : picture_(new ImageView(this)) {
        picture_->setCornerRadius(6);
        picture_->setBackgroundColor(Qt::darkGray);
    }
    void show(const QImage& image) { picture_->setImage(image); }

  protected:
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override {
        CollectionViewCell::geometryChange(newGeometry, oldGeometry);
        picture_->setSize(newGeometry.size());
    }

  private:
    ImageView* picture_;
};

class Strip : public CollectionViewDataSource, public CollectionViewDelegate {
  public:
    explicit Strip(std::int64_t items)
        : count(items), window(&control), target(800, 120, QImage::Format_ARGB32_Premultiplied) {
        QImage picture(320, 180, QImage::Format_RGB32);
        for (const QColor color : {Qt::red, Qt::green, Qt::blue}) {
            picture.fill(color);
            pictures.push_back(picture);
        }
        window.resize(800, 120);
        window.contentItem()->setSize({800, 120});
        window.setRenderTarget(QQuickRenderTarget::fromPaintDevice(&target));
        view.setParentItem(window.contentItem());
        view.setSize({800, 120});
        view.registerFactory(
            [this] {
                ++made;
                return std::make_unique<ThumbnailCell>();
            },
            QStringLiteral("cell"));
        view.setDelegate(this);
        view.setDataSource(this);
        view.setContentOffset({134.0 * static_cast<double>(count) / 2, 0});
    }

    ~Strip() override { view.setParentItem(nullptr); }

    std::int64_t collectionViewNumberOfItemsInSection(CollectionView&, std::int64_t) override { return count; }

    CollectionViewCell* collectionViewCellForItemAtIndexPath(CollectionView& strip, IndexPath item) override {
        auto* cell = static_cast<ThumbnailCell*>(strip.dequeueReusableCell(QStringLiteral("cell"), item));
        cell->show(pictures[static_cast<std::size_t>(item.value_or(0)) % pictures.size()]);
        return cell;
    }

    Size collectionViewLayoutSizeForItemAtIndexPath(CollectionView&, IndexPath) override { return {131, 120}; }

    void frame() {
        const double x = view.contentOffset().x + direction * step;
        if (x < 0 || x > view.contentSize().width - 800) direction = -direction;
        view.setContentOffset({x, 0});
        control.polishItems();
        control.sync();
        control.render();
    }

    bool isDrawn() const {
        const QColor left = target.pixelColor(200, 60);
        const QColor right = target.pixelColor(500, 60);
        return left.alpha() == 255 && right.alpha() == 255 && left != right;
    }

    std::int64_t count;
    double direction = 1;
    std::vector<QImage> pictures;
    QQuickRenderControl control;
    QQuickWindow window;
    QImage target;
    CollectionView view;
    int made = 0;
};

void stripFrame(benchmark::State& state) {
    Strip strip(state.range(0));
    for (int i = 0; i < warmUpFrames; ++i) strip.frame();
    const int warm = strip.made;
    std::vector<double> milliseconds;
    for (auto _ : state) {
        const auto begin = std::chrono::steady_clock::now();
        strip.frame();
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begin;
        milliseconds.push_back(took.count());
        state.SetIterationTime(took.count() / 1000);
    }
    if (!strip.isDrawn()) state.SkipWithError("the frame is empty");
    std::sort(milliseconds.begin(), milliseconds.end());
    state.counters["median_ms"] = milliseconds[milliseconds.size() / 2];
    state.counters["p99_ms"] = milliseconds[milliseconds.size() * 99 / 100];
    state.counters["cells"] = warm;
    state.counters["made_after_warm_up"] = strip.made - warm;
}

BENCHMARK(stripFrame)->Arg(100)->Arg(1'000'000)->UseManualTime()->Iterations(3000)->Unit(benchmark::kMillisecond);

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
