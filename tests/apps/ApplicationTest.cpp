#include "korvane/apps/browser/Application.h"

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
    auto application = std::make_unique<Application>(folder.path());
    const auto until = [&application](const std::function<bool()>& done) {
        return pumpEventsUntil(application->scheduler(), done, std::chrono::seconds(60));
    };
    application->importFootage({});
    application = std::make_unique<Application>(folder.path());
    bool isImported = false;
    application->importFootage({{}, [&](const auto&) { isImported = true; }, {}});
    ASSERT_TRUE(until([&] { return isImported; })) << "the import goes on where it was broken off";
    application = std::make_unique<Application>(folder.path());
    application->importFootage({{}, [&](const auto& started) { application->openFootage(started); }, {}});
    ASSERT_TRUE(until([&] { return !application->browser().cameraName().isEmpty(); }));
    application.reset();
}

}  // namespace
}  // namespace korvane
