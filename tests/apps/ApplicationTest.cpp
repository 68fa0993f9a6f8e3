#include "korvane/apps/browser/Application.h"

#include <QQuickWindow>
#include <QUrl>
#include <chrono>

#include "korvane/apps/browser/tour/EventPump.h"
#include "korvane/tests/server/TempFolder.h"
#include "korvane/tests/server/TestClip.h"

namespace korvane {
namespace {

TEST(Application, MayBeClosedAtAnyTimeOfItsStart) {
    const TempFolder folder;
    TestClip clip;
    clip.seconds = 30;
    clip.movements = {{3, 5}};
    clip.write(folder / "20261118_070000.mp4");
    auto application = std::make_unique<Application>();
    const auto until = [&application](const std::function<bool()>& done) {
        return pumpEventsUntil(application->scheduler(), done, std::chrono::seconds(60));
    };
    application->importFootage(folder.path());
    application = std::make_unique<Application>();
    bool isImported = false;
    FootageService::Handlers told;
    told.looked = [&](const auto&) { isImported = true; };
    application->importFootage(folder.path(), told);
    ASSERT_TRUE(until([&] { return isImported; })) << "the import goes on where it was broken off";
    application = std::make_unique<Application>();
    application->importFootage(folder.path());
    ASSERT_TRUE(until([&] { return !application->browser().cameraName().isEmpty(); }));
    application.reset();
}

TEST(Application, OpensOneFolderAfterAnother) {
    const TempFolder place;
    for (const char* name : {"porch", "yard"}) {
        TestClip clip;
        clip.movements = {{1, 2}};
        clip.write(place / name / "20261118_070000.mp4");
    }
    Application application;
    ImportModel& model = application.importModel();
    const auto until = [&](const std::function<bool()>& done) {
        return pumpEventsUntil(application.scheduler(), done, std::chrono::seconds(60));
    };
    model.choosePath(QString::fromStdString(place / "missing"));
    EXPECT_TRUE(until([&] { return model.fault().contains("no folder"); }));
    model.choose(QUrl(QStringLiteral("https://example.org/films")));
    for (const char* const name : {"porch", "yard", "porch"}) {
        model.choose(QUrl::fromLocalFile(QString::fromStdString(place.path()) + u'/' + QLatin1String(name)));
        ASSERT_TRUE(until([&] { return application.browser().cameraName() == QLatin1String(name); }));
        EXPECT_TRUE(until([&] { return application.browser().count() == "1 event"; }));
        EXPECT_EQ(application.window()->property("isImporting"), false);
    }
    const QStringList recent = application.preferences().recentFolders();
    ASSERT_EQ(recent.size(), 2);
    EXPECT_TRUE(recent.first().endsWith("porch"));
    EXPECT_TRUE(application.faults().isEmpty()) << qPrintable(application.faults().join('\n'));
}

}  // namespace
}  // namespace korvane
