#pragma once

#include <QSignalSpy>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "korvane/apps/browser/FootageService.h"
#include "korvane/apps/browser/RecordingPlayer.h"
#include "korvane/client/CameraLink.h"
#include "korvane/client/http/HttpService.h"
#include "korvane/tests/server/TempFolder.h"
#include "korvane/toolkit/QtScheduler.h"

namespace korvane::test {

/// A player on real films, served by the real service: two that touch, and one ten minutes later, of 3 s each.
class PlayerFixture : public testing::Test {
  protected:
    static constexpr TimeMs length = 3'000;
    static constexpr const char* firstFile = "20261118_070000.mp4";
    static constexpr const char* lastFile = "20261118_071000.mp4";

    void SetUp() override;
    void TearDown() override;

    /// The films that are served.
    virtual void writeFootage();

    /// Waits for a condition, with a bound that only a failure reaches.
    bool until(const std::function<bool()>& done);

    TimeMs first = 0;
    TimeMs second = 0;
    TimeMs last = 0;
    TempFolder folder;
    QtScheduler scheduler;
    HttpService service{scheduler};
    std::unique_ptr<FootageService> footage;
    std::string token;
    std::shared_ptr<KorvaneCamera> camera;
    std::optional<CameraLink> link;
    std::optional<RecordingPlayer> player;
};

}  // namespace korvane::test
