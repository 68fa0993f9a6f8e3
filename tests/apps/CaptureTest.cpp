// The whole application as a person runs it, without a display.

#include <QImage>
#include <QProcess>
#include <QSet>
#include <chrono>

#include "korvane/tests/server/TempFolder.h"
#include "korvane/tests/server/TestClip.h"

namespace korvane {
namespace {

constexpr std::chrono::minutes bound{5};

struct Outcome {
    int exitCode = -1;
    QString output;
    QString errors;
};

Outcome runBrowser(const QStringList& words) {
    QProcess process;
    process.start(QStringLiteral(KORVANE_BROWSER), words);
    const bool isDone = process.waitForFinished(static_cast<int>(std::chrono::milliseconds(bound).count()));
    EXPECT_TRUE(isDone && process.exitStatus() == QProcess::NormalExit);
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

QString nameOf(const std::filesystem::path& path) {
    return QString::fromStdString(path.string());
}

std::size_t colours(const QImage& picture) {
    QSet<QRgb> found;
    for (int y = 0; y < picture.height(); y += 3)
        for (int x = 0; x < picture.width(); x += 3) found.insert(picture.pixel(x, y));
    return static_cast<std::size_t>(found.size());
}

TEST(Capture, ShowsEachStateOfABrowsedFolder) {
    const TempFolder folder;
    TestClip clip;
    clip.seconds = 20;
    clip.movements = {{2, 4}, {9, 11}, {15, 17}};
    for (const char* file : {"20261118_070000.mp4", "20261118_070020.mp4", "20261118_090000.mp4"})
        clip.write(folder / file);
    folder.write("broken.mp4", "no film at all");
    const Outcome outcome = runBrowser({nameOf(folder.path()), "--delete", "--capture", nameOf(folder / "pictures")});
    EXPECT_EQ(outcome.exitCode, 0) << qPrintable(outcome.errors);
    EXPECT_TRUE(outcome.output.contains("broken.mp4")) << qPrintable(outcome.output);
    EXPECT_FALSE(outcome.errors.contains("qrc:")) << qPrintable(outcome.errors);
    for (const char* name : {"01-import", "02-not-imported", "02-live-end", "03-event-playing", "04-fly-over",
                             "05-next", "08-delete", "09-deleted", "11-recordings", "12-groups", "13-first",
                             "14-narrow", "15-wide", "16-token-refused", "30-settings", "31-keys", "32-light"}) {
        const QImage picture(nameOf(folder / ("pictures/" + std::string(name) + ".png")));
        ASSERT_FALSE(picture.isNull()) << name;
        EXPECT_GT(colours(picture), 8U) << name;
        EXPECT_TRUE(outcome.output.contains(name)) << name;
    }
    const QImage narrow(nameOf(folder / "pictures/14-narrow.png"));
    EXPECT_LT(narrow.width(), narrow.height());
}

TEST(Capture, EndsWithAMessageWhenThereIsNothingToBrowse) {
    const TempFolder folder;
    folder.write("notes/notes.txt", "x");
    const QString pictures = nameOf(folder / "pictures");
    for (const char* name : {"missing", "notes"}) {
        const Outcome outcome = runBrowser({nameOf(folder / name), "--capture", pictures});
        EXPECT_EQ(outcome.exitCode, 2) << name;
        EXPECT_TRUE(outcome.errors.contains("korvane-browser: ")) << qPrintable(outcome.errors);
    }
    const Outcome refused = runBrowser({"--token", "s3cret", "--capture", pictures});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_FALSE(refused.errors.contains("s3cret"));
}

}  // namespace
}  // namespace korvane
