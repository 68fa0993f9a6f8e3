#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCellCustomView.h"

#include <gtest/gtest.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <cmath>

#include "korvane/base/Log.h"
#include "korvane/tests/support/qt/RecordingCanvas.h"
#include "korvane/views/timeline/TimelineTypes.h"

namespace korvane {
namespace {

QImage icon(char name) {
    QImage image(16, 16, QImage::Format_RGB32);
    image.setText(QStringLiteral("name"), QChar(name));
    return image;
}

/// What is drawn on a cell of 100 x 100 points, without the saving and restoring of states.
std::string drawn(ScrubberTimelineCellCustomView& view) {
    view.setBackColor(QColor(1, 2, 3));
    view.setScaleColor(QColor(4, 5, 6));
    view.setScaleStartDateTimeAttrText({"07:04", 0, {}, Qt::red, 0});
    view.setScaleEndDateTimeAttrText({"07:08AM", 0, {}, Qt::red, 0});
    view.eventTypeLayer2()->setPositions({0.5F});
    view.eventTypeLayer2()->setImages({icon('a')});
    view.setCellRect({0, 0, 100, 100});
    RecordingCanvas canvas;
    view.layer().renderInContext(canvas);
    std::string lines;
    for (const std::string& line : canvas.lines()) {
        if (line != "save" && line != "restore") lines += line + '\n';
    }
    return lines;
}

TEST(ScrubberTimelineCellCustomView, DrawsByItsPlaceInTheGroup) {
    struct Case {
        bool isBegin, isEnd;
        std::uint64_t corners;
        std::string bar, ticks, startPlace, endPlace;
        double x, width;
    };
    const std::string left = " move 0,28 line 0,72";
    const std::string right = " move 99.75,28 line 99.75,72";
    for (const Case& c : {
             Case{false, false, 0, "0,0 100x100",
                  left + " move 25,39 line 25,61 move 50,28 line 50,72 move 75,39 line 75,61" + right, "35,80", "54,80",
                  0, 100},
             Case{true, false, 5, "2,0 98x100 corners 5 radii 6x6",
                  " move 26.5,39 line 26.5,61 move 51,28 line 51,72 move 75.5,39 line 75.5,61" + right, "6,80", "54,80",
                  2, 98},
             Case{false, true, 10, "0,0 98x100 corners 10 radii 6x6",
                  left + " move 24.5,39 line 24.5,61 move 49,28 line 49,72 move 73.5,39 line 73.5,61", "34,80", "52,80",
                  0, 98},
             Case{true, true, 15, "2,0 96x100 corners 15 radii 6x6",
                  " move 26,39 line 26,61 move 50,28 line 50,72 move 74,39 line 74,61", "6,80", "52,80", 2, 96},
         }) {
        const double inset = 0.28 * 100;
        const Rect band{c.x, inset, c.width, 100 - 2 * inset};
        ScrubberTimelineCellCustomView view;
        view.setIsBeginOfGroup(c.isBegin);
        view.setIsEndOfGroup(c.isEnd);
        view.setCellRect({0, 0, 100, 100});
        view.updateScaleRect();
        EXPECT_EQ(view.scaleRect(), band) << "before the first pass";
        const std::string bar = "fill color #ff010203\npath rect " + c.bar + "\nfill\n";
        const std::string text = " aligned 0, #ffff0000 on clear\n";
        const QString icons("translate %1,28\nfill color #ffffffff\nimage a in %2,14 16x16\n");
        EXPECT_EQ(drawn(view), bar + "stroke color #ff040506\npath" + c.ticks + "\nstroke\ntranslate " + c.startPlace +
                                   "\ntext '07:04' in 0,0 30x12" + text + "translate " + c.endPlace +
                                   "\ntext '07:08AM' in 0,0 42x12" + text +
                                   icons.arg(c.x).arg(c.width / 2 - 8).toStdString());
        EXPECT_EQ(view.corners(), c.corners);
        EXPECT_EQ(view.scaleRect(), band);
        view.setIsNeedCustomDraw(false);
        EXPECT_EQ(drawn(view), bar);
        EXPECT_EQ(view.eventTypeLayer2()->frame(), band);
    }
}

TEST(ScrubberTimelineCellCustomDrawImagesLayer, CountsWhatAnIconCovers) {
    struct Case {
        std::vector<float> positions;
        std::size_t images;
        const char* drawn;
    };
    // An icon is an eighth wide on a layer of 128 points.
    for (const auto& [positions, images, expected] : {
             Case{{0, 1}, 2, "a 0 b 112 "},
             Case{{0.5F, 0.51F, 0.52F, 0.53F}, 4, "a 56 "},
             Case{{0.25F, 0.26F, 0.3F, 0.625F, 0.875F}, 5, "a 24 '2'@29,28 d 72 e 104 "},
             Case{{0.125F, 0.1875F, 0.25F, 0.3125F, 0.375F}, 5, "a 8 c 24 e 40 "},
             Case{{0.95F, 0.97F, 1, 0.125F, 0.12F, 0.13F, 0.14F, 0.5F}, 8, "a 112 '2'@117,28 d 8 '3'@13,28 h 56 "},
             Case{{NAN, INFINITY, -1, NAN}, 4, "b 112 c 0 "},
             Case{{0, 0.01F, 0.02F, 0.5F, 0.9F}, 4, "a 0 '2'@5,28 d 56 "},
             Case{{0.5F}, 0, ""},
             Case{{}, 3, ""},
         }) {
        ScrubberTimelineCellCustomDrawImagesLayer layer;
        layer.setFrame({50, 50, 128, 40});
        layer.setPositions(positions);
        std::vector<QImage> icons;
        for (std::size_t i = 0; i < images; ++i) icons.push_back(icon(static_cast<char>('a' + i)));
        layer.setImages(icons);
        RecordingCanvas canvas;
        int logged = 0;
        const LogSink before = setLogSink([&](std::string_view) { ++logged; });
        layer.drawInContext(canvas);
        RecordingCanvas again;
        layer.drawInContext(again);
        setLogSink(before);
        EXPECT_EQ(again.lines(), canvas.lines());
        EXPECT_EQ(logged, images > 0 && images < positions.size() ? 1 : 0) << expected;
        QString seen;
        for (const std::string& line : canvas.lines()) {
            const QStringList words = QString::fromStdString(line).split(u' ');
            if (words[0] == u"image") seen += words[1] + u' ' + words[3].section(u',', 0, 0) + u' ';
            if (words[0] == u"text") seen += words[1] + u'@' + words[3] + u' ';
        }
        EXPECT_EQ(seen.toStdString(), expected);
        EXPECT_EQ(canvas.lines().empty(), seen.isEmpty());
    }
}

}  // namespace
}  // namespace korvane
