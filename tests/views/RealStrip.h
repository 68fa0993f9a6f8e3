#pragma once

#include <gtest/gtest.h>

#include <QQuickWindow>
#include <functional>
#include <memory>
#include <string>

#include "korvane/client/http/HttpService.h"
#include "korvane/server/CameraServer.h"
#include "korvane/server/Storage.h"
#include "korvane/tests/server/TempFolder.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/ScrubberView.h"

namespace korvane::test {

/// An event strip of 800 x 120 with cells of 100 on real time, and the real service over loopback with a camera that
/// has three recordings of an hour and an event each 30 s, all with thumbnails.
class RealStripTest : public ::testing::Test {
  protected:
    static constexpr std::int64_t recordingCount = 3;
    static constexpr std::int64_t eventCount = recordingCount * 120;

    void SetUp() override;
    ~RealStripTest() override;

    void makeView();
    std::string token() const { return *server_.issueToken(camera_, std::chrono::hours(1)); }
    Scheduler& scheduler() const { return *toolkit_->scheduler; }

    /// Runs the main loop until the condition holds; false when it does not within a time that only a failure takes.
    bool until(const std::function<bool()>& condition) const;
    /// The mouse drags the strip by so many points, stops, and lets go.
    void drag(double by);
    /// Every cell on screen that shows an entry of the service shows a picture, too.
    bool showsPreviews() const;

    TempFolder folder_;
    std::unique_ptr<Storage> storage_;
    std::int64_t camera_ = 0;
    CameraServer server_{folder_ / "camera.db"};
    const std::shared_ptr<ToolkitContext> toolkit_ = ToolkitContext::shared();
    std::shared_ptr<HttpService> service_ = std::make_shared<HttpService>(*toolkit_->scheduler);
    QQuickWindow window_;
    std::unique_ptr<ScrubberView> view_;
};

}  // namespace korvane::test
