#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCellCustomView.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "korvane/base/Log.h"
#include "korvane/tests/support/qt/RecordingCanvas.h"

namespace korvane {
namespace {

QImage icon(char name) {
    QImage image(16, 16, QImage::Format_RGB32);
    image.setText(QStringLiteral("name"), QChar(name));
    return image;
}

TEST(ScrubberTimelineCellCustomView, StandsByItsPlaceInTheGroup) {
    const std::tuple<bool, bool, std::uint64_t, double, double> cases[] = {
        {false, false, 0, 0, 100}, {true, false, 5, 2, 98}, {false, true, 10, 0, 98}, {true, true, 15, 2, 96}};
    for (const auto& [isBegin, isEnd, corners, x, width] : cases) {
        ScrubberTimelineCellCustomView view;
        view.setIsBeginOfGroup(isBegin);
        view.setIsEndOfGroup(isEnd);
        view.setCellRect({0, 0, 100, 100});
        view.updateScaleRect();
        RecordingCanvas canvas;
        view.layer().renderInContext(canvas);
        EXPECT_EQ(view.corners(), corners);
        const double inset = 0.28 * 100;
        EXPECT_EQ(view.scaleRect(), (Rect{x, inset, width, 100 - 2 * inset}));
        EXPECT_EQ(view.eventTypeLayer2()->frame(), view.scaleRect());
    }
}

TEST(ScrubberTimelineCellCustomDrawImagesLayer, CountsWhatAnIconCovers) {
    // An icon is an eighth wide on a layer of 128 points.
    const std::tuple<std::vector<float>, std::size_t, QString> cases[] = {
        {{0, 1}, 2, "a 0 b 112 "},
        {{0.5F, 0.51F, 0.52F, 0.53F}, 4, "a 56 "},
        {{0.25F, 0.26F, 0.3F, 0.625F, 0.875F}, 5, "a 24 '2'@29,28 d 72 e 104 "},
        {{0.125F, 0.1875F, 0.25F, 0.3125F, 0.375F}, 5, "a 8 c 24 e 40 "},
        {{0.95F, 0.97F, 1, 0.125F, 0.12F, 0.13F, 0.14F, 0.5F}, 8, "a 112 '2'@117,28 d 8 '3'@13,28 h 56 "},
        {{NAN, INFINITY, -1, NAN}, 4, "b 112 c 0 "},
        {{0, 0.01F, 0.02F, 0.5F, 0.9F}, 4, "a 0 '2'@5,28 d 56 "},
        {{0.5F}, 0, ""},
        {{}, 3, ""},
    };
    const LogSink before = setLogSink([](std::string_view) {});
    for (const auto& [positions, images, expected] : cases) {
        ScrubberTimelineCellCustomDrawImagesLayer layer;
        layer.setFrame({50, 50, 128, 40});
        layer.setPositions(positions);
        std::vector<QImage> icons;
        for (std::size_t i = 0; i < images; ++i) icons.push_back(icon(static_cast<char>('a' + i)));
        layer.setImages(icons);
        RecordingCanvas canvas;
        layer.drawInContext(canvas);
        QString seen;
        for (const std::string& line : canvas.lines()) {
            const QStringList words = QString::fromStdString(line).split(u' ');
            if (words[0] == u"image") seen += words[1] + u' ' + words[3].section(u',', 0, 0) + u' ';
            if (words[0] == u"text") seen += words[1] + u'@' + words[3] + u' ';
        }
        EXPECT_EQ(seen, expected);
    }
    setLogSink(before);
}

}  // namespace
}  // namespace korvane
