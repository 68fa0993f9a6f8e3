#include <gtest/gtest.h>

#include <QPainter>
#include <cmath>
#include <random>

#include "korvane/tests/support/qt/RecordingCanvas.h"
#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/toolkit/PaintedItem.h"
#include "korvane/toolkit/PainterCanvas.h"
#include "korvane/toolkit/TextLayer.h"

namespace korvane {
namespace {

/// What `draw` leaves on 40 x 40 points of white.
template <typename Draw>
QImage painted(double ratio, const Draw& draw) {
    const int side = static_cast<int>(40 * ratio);
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.scale(ratio, ratio);
    PainterCanvas canvas(painter);
    draw(canvas);
    return image;
}

TEST(PainterCanvas, RoundsOnlyTheCornersOfTheMask) {
    for (const double ratio : {1.0, 1.5, 2.0}) {
        for (std::uint64_t mask = 0; mask <= RectCornerAll; ++mask) {
            const QImage image = painted(ratio, [&](Canvas& canvas) {
                canvas.addPath(Path::bezierPathWithRoundedRect({4, 4, 32, 32}, mask, {6, 6}));
                canvas.fillPath();
            });
            const int near = static_cast<int>(4 * ratio);
            const int far = static_cast<int>(36 * ratio) - 1;
            const auto bit = [&](int x, int y, unsigned bits) {
                return image.pixelColor(x, y) == Qt::white ? bits : 0;
            };
            EXPECT_EQ(bit(near, near, 1) + bit(far, near, 2) + bit(near, far, 4) + bit(far, far, 8), mask) << ratio;
            EXPECT_EQ(image.pixelColor((near + far) / 2, near), Qt::black);
        }
    }
}

TEST(PainterCanvas, DrawsNothingWhereANumberIsNotFinite) {
    const QImage blank = painted(1, [](Canvas&) {});
    for (const double bad : {std::nan(""), HUGE_VAL, -1e300}) {
        const QImage image = painted(1, [bad](Canvas& canvas) {
            for (const Rect& rect : {Rect{bad, 0, 9, 9}, Rect{0, 0, bad, 9}}) {
                canvas.fillRect(rect);
                canvas.fillEllipse(rect);
                canvas.drawImage(QImage(4, 4, QImage::Format_RGB32), rect);
                canvas.drawText(AttributedString{"text", 0, {}, {}, 0}, rect);
            }
            Path line;
            for (const double x : {bad, 20.0}) line.addLineToPoint({x, 5});
            canvas.addPath(line);
            canvas.strokePath();
        });
        EXPECT_EQ(image, blank) << bad;
    }
}

/// Draws lines at its left and right edges and in its middle, moves its layers, and leaves the canvas elsewhere.
class LinesItem : public PaintedItem {
  public:
    using PaintedItem::PaintedItem;
    void drawLayer(PaintedLayer& layer, Canvas& canvas) override {
        ++draws;
        Path path;
        for (const double x : {0.0, width() * 0.5, width() - 0.25}) {
            path.moveToPoint({x, 0});
            path.addLineToPoint({x, 10});
        }
        canvas.addPath(path);
        canvas.strokePath();
        canvas.saveState();
        canvas.translate({1000, 1000});
        for (const auto& each : layer.sublayers()) each->setFrame({static_cast<double>(draws), 0, 20, 20});
    }
    int draws = 0;
};

TEST(PaintedItem, LeavesNoSeamAndNoDoubledLineBetweenCells) {
    VirtualUi ui(200, 40);
    const double ratio = ui.window().effectiveDevicePixelRatio();
    std::mt19937 random(1);
    for (int round = 0; round < 20; ++round) {
        const int middle = 40 + static_cast<int>(random() % 60);
        const int right = middle + 40 + static_cast<int>(random() % 60);
        LinesItem cells[2];
        cells[0].setWidth(middle / ratio);
        cells[1].setX(middle / ratio);
        cells[1].setWidth((right - middle) / ratio);
        for (LinesItem& cell : cells) {
            cell.setHeight(30);
            cell.setBackgroundColor(Qt::red);
            cell.setParentItem(ui.root());
        }
        const QImage image = ui.grab();
        int black = 0;
        for (int x = 0; x < right; ++x) {
            EXPECT_EQ(image.pixelColor(x, static_cast<int>(20 * ratio)), Qt::red) << x << " of " << middle;
            const bool isInside = x > 3 && x < right - 4;
            if (isInside && image.pixelColor(x, 1) == Qt::black) ++black;
        }
        EXPECT_EQ(image.pixelColor(right, 1), Qt::white);
        EXPECT_EQ(black, 3 * static_cast<int>(std::floor(ratio + 0.5))) << "two middles and one border";
    }
}

TEST(PaintedItem, IsDrawnOnceForAChange) {
    VirtualUi ui;
    LinesItem item(ui.root());
    const auto text = std::make_shared<TextLayer>();
    item.layer().addSublayer(text);
    item.setSize({100, 50});
    ui.grab();
    item.setX(30);
    ui.grab();
    EXPECT_EQ(item.draws, 1) << "it moves its layer while it draws";
    text->setHidden(true);
    ui.grab();
    ui.grab();
    EXPECT_EQ(item.draws, 2);
}

TEST(PaintedLayer, DrawsVisibleLayersAndMeasuresATextOnce) {
    LinesItem item;
    const auto hidden = std::make_shared<TextLayer>();
    const auto shown = std::make_shared<TextLayer>();
    for (const auto& layer : {hidden, shown}) item.layer().addSublayer(layer);
    hidden->setHidden(true);
    RecordingCanvas canvas;
    for (const char* text : {"12:00", "12:00", "12:01"}) {
        for (const auto& layer : {hidden, shown}) layer->setString({text, 0, {}, Qt::black, 0});
        shown->preferredFrameSize(canvas);
        item.layer().renderInContext(canvas);
    }
    EXPECT_EQ(canvas.measured(), 2);
    EXPECT_EQ(std::ranges::count_if(canvas.lines(), [](const auto& line) { return line.starts_with("text"); }), 3);
}

}  // namespace
}  // namespace korvane
