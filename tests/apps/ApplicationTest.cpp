#include "korvane/apps/browser/Application.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>

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

}  // namespace
}  // namespace korvane
