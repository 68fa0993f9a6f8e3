#pragma once

#include <gtest/gtest.h>

#include <atomic>

#include "korvane/client/KorvaneCameraList.h"
#include "korvane/client/KorvanePlayer.h"
#include "korvane/client/KorvaneShareConnection.h"
#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSlider.h"
#include "korvane/views/timeline/TimelineView.h"

namespace korvane::test {

inline constexpr TimeMs hour = 3'600'000;

class FakePlayer final : public KorvanePlayer {
  public:
    TimeMs getPosition() const override { return position; }
    void setPosition(TimeMs to) override {
        position = to;
        seeks.push_back(to);
    }
    std::shared_ptr<KorvaneCamera> getSource() const override { return source; }

    std::atomic<TimeMs> position = -1;
    std::vector<TimeMs> seeks;
    std::shared_ptr<KorvaneCamera> source;
};

/// A time ruler in a window of 800 x 80 points, with a camera that has nothing recorded.
class RulerFixture : public ::testing::Test {
  protected:
    RulerFixture() : service_(ui_.scheduler()) {
        player_->source = camera();
        service_.clearRequests();
        view_ = std::make_unique<TimelineView>(environment_, Rect{}, ui_.root());
        ui_.settle();
    }
    ~RulerFixture() override {
        view_.reset();
        service_.releaseAll();
        ui_.settle();
        EXPECT_EQ(ui_.scheduler().liveThreads(), threadsBefore_);
    }

    std::shared_ptr<KorvaneCamera> camera() {
        connection_ = service_.makeConnection();
        EXPECT_EQ(connection_->openSync(service_.makeToken()), 0);
        std::shared_ptr<KorvaneCamera> found;
        service_.makeCameraList(connection_)->getCamera(7, [&](auto camera, const auto&, auto) { found = camera; });
        ui_.advance(std::chrono::milliseconds(100));
        threadsBefore_ = ui_.scheduler().liveThreads();
        return found;
    }
    void record(TimeMs start, TimeMs end) {
        service_.withFootage([&](ScriptedFootage& footage) { footage.addRecord({++id_, start, end, "", ""}); });
    }
    TimelineSlider& slider() const { return *view_->findChild<TimelineSlider*>(); }
    QObject& outlet(const char* name) const { return *qvariant_cast<QObject*>(view_->contentView()->property(name)); }
    TimeSec presentTime() { return ui_.scheduler().utcNow() / 1000; }
    /// As so many frames that are drawn, a second apart.
    void watch(int seconds) {
        for (int i = 0; i < seconds; ++i) {
            ui_.grab();
            ui_.advance(std::chrono::seconds(1), std::chrono::milliseconds(100));
        }
    }

    VirtualUi ui_{800, 80};
    ScriptedService service_;
    const TimelineEnvironment environment_{nullptr, std::shared_ptr<KorvaneService>(&service_, [](auto*) {})};
    std::shared_ptr<KorvaneShareConnection> connection_;
    std::shared_ptr<FakePlayer> player_ = std::make_shared<FakePlayer>();
    std::unique_ptr<TimelineView> view_;
    std::int64_t id_ = 0;
    int threadsBefore_ = 0;
};

}  // namespace korvane::test
