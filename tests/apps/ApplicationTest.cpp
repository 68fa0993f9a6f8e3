#include "apps/browser/Application.h"

#include <gtest/gtest.h>

#include <QQuickWindow>
#include <QTest>
#include <chrono>

#include "apps/browser/EventPump.h"
#include "tests/server/TempFolder.h"
#include "tests/server/TestClip.h"

namespace korvane {
namespace {

using State = RecordingPlayer::State;

class ApplicationTest : public testing::Test {
  protected:
    void SetUp() override {
        qputenv("QT_MEDIA_BACKEND", "ffmpeg");
        TestClip clip;
        clip.seconds = 30;
        clip.movements = {{3, 5}};
        clip.write(folder / "20261118_070000.mp4");
        application = std::make_unique<Application>(folder.path());
        ASSERT_NE(application->window(), nullptr);
    }

    bool until(const std::function<bool()>& done) {
        return pumpEventsUntil(application->scheduler(), done, std::chrono::seconds(60));
    }

    bool comesTo(State state) {
        return until([this, state] { return application->browser().player()->state() == state; });
    }

    TempFolder folder;
    std::unique_ptr<Application> application;
};

TEST_F(ApplicationTest, SpaceAndATapOnThePictureToggleThePlayer) {
    application->importFootage({{}, [this](const auto& started) { application->openFootage(started); }, {}});
    ASSERT_TRUE(comesTo(State::Paused));
    EXPECT_TRUE(application->browser().isLive());
    EXPECT_EQ(application->browser().count(), "1 event");
    QQuickWindow& window = *application->window();
    const QPoint picture(window.width() / 2, window.height() / 2);
    QTest::keyClick(&window, Qt::Key_Space);
    EXPECT_TRUE(comesTo(State::Playing));
    QTest::keyClick(&window, Qt::Key_Space);
    EXPECT_TRUE(comesTo(State::Paused));
    QTest::mouseClick(&window, Qt::LeftButton, {}, picture);
    EXPECT_TRUE(comesTo(State::Playing));
    EXPECT_TRUE(application->faults().isEmpty()) << qPrintable(application->faults().join('\n'));
}

TEST_F(ApplicationTest, MayBeClosedAtAnyTimeOfItsStart) {
    application->importFootage({});
    application = std::make_unique<Application>(folder.path());
    bool isImported = false;
    application->importFootage({{}, [&](const auto&) { isImported = true; }, {}});
    ASSERT_TRUE(until([&] { return isImported; })) << "the import goes on where it was broken off";
    application = std::make_unique<Application>(folder.path());
    application->importFootage({{}, [this](const auto& started) { application->openFootage(started); }, {}});
    ASSERT_TRUE(until([this] { return !application->browser().cameraName().isEmpty(); }));
    application.reset();
}

TEST_F(ApplicationTest, SaysOnItsPageWhyThereIsNothing) {
    std::string reason;
    std::filesystem::remove(folder / "20261118_070000.mp4");
    application->importFootage({{}, {}, [&](const std::string& text) { reason = text; }});
    ASSERT_TRUE(until([&] { return !reason.empty(); }));
    application->showFault(reason);
    EXPECT_EQ(application->importModel().fault().toStdString(), reason);
    EXPECT_TRUE(application->faults().isEmpty()) << qPrintable(application->faults().join('\n'));
}

}  // namespace
}  // namespace korvane
