#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/tests/views/StripFixture.h"
#include "korvane/views/timeline/Presentation/CellScale.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCell.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCollectionView.h"
#include "korvane/views/timeline/ScrubberTimelineView.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

constexpr TimeMs minute = 60'000;
constexpr TimeMs segment = 4 * minute;

/// A timeline strip of 800 x 120 over recorded periods, on virtual time, with a player that plays what is selected.
class TimelineStripTest : public ::testing::Test {
  protected:
    TimelineStripTest()
        : service_(ui_.scheduler()), environment_{nullptr, std::shared_ptr<KorvaneService>(&service_, [](auto*) {})} {
        view_ = std::make_unique<ScrubberTimelineView>(environment_, Rect{}, ui_.root());
        auto& config = view_->getConfig();
        config.setDataSourceType(ScrubberDataSourceTypeTimeline);
        config.setCellSeparatorWidth(0);
        config.setEventTypeImages(ScrubberConfig::builtInEventTypeImages());
        config.setContinuousEventPlaying(true);
        view_->applyConfig();
        begin_ = ui_.scheduler().utcNow() / (24 * 60 * minute) * (24 * 60 * minute) - 20 * 60 * minute;
        host_.delegate->OnScrubberDidSelectEvent = [this](const auto& event) {
            selected_.push_back(event->timeAsValue());
            seek(event->timeAsValue());
        };
        host_.delegate->OnScrubberGetCurrentPositionForPlayingEvent = [this](const auto&) { return position(); };
        host_.delegate->OnScrubberEventPlayFinished = [](const auto&) { return 1; };
        view_->setDelegate(host_.delegate);
    }

    ~TimelineStripTest() override {
        view_.reset();
        service_.releaseAll();
        ui_.settle();
    }

    /// Periods as minutes from begin_.
    void load(const std::vector<std::pair<TimeMs, TimeMs>>& periods) {
        service_.withFootage([&](ScriptedFootage& footage) {
            std::int64_t id = 0;
            for (const auto& [from, to] : periods) {
                footage.addRecord({++id, begin_ + from * minute, begin_ + to * minute, "", ""});
                footage.addEvent({id, begin_ + from * minute + 30'000, "motion", ""});
            }
        });
        EXPECT_EQ(view_->setSource(QString::fromStdString(service_.makeToken())), 0);
        ui_.settle();
        ui_.advance(100ms);
        selected_.clear();
        host_.take();
    }

    void seek(TimeMs to) {
        playsFrom_ = to;
        playsSince_ = ui_.scheduler().monotonicNow();
    }
    TimeMs position() {
        const auto gone = ui_.scheduler().monotonicNow() - playsSince_;
        return playsFrom_ + std::chrono::duration_cast<std::chrono::milliseconds>(gone).count();
    }

    ScrubberTimelineCollectionView& strip() const { return *view_->getCollectionView(); }
    Rect frame(std::int64_t index) const { return strip().layoutAttributesForItemAtIndexPath(index).value_or(Rect{}); }
    /// The moment under the mark, by the cell that lies there.
    TimeMs underMark() const {
        const std::int64_t index = view_->indexUnderMark();
        const auto* const cell = view_->getScrubberTimelineCellByIndex(index);
        return cell ? cell->positionUnder(view_->getOffsetBetweenPointerAndItemBegin(index)) : -1;
    }
    void drag(double by) { ui_.drag({400, 60}, {400 + by, 60}, 200ms, true); }

    VirtualUi ui_;
    ScriptedService service_;
    RecordingHost host_;
    TimelineEnvironment environment_;
    std::unique_ptr<ScrubberTimelineView> view_;
    TimeMs begin_ = 0;
    TimeMs playsFrom_ = 0;
    std::chrono::microseconds playsSince_{};
    std::vector<TimeMs> selected_;
};

TEST_F(TimelineStripTest, PlaysThroughAPeriodAndIntoTheNext) {
    load({{0, 14}, {20, 26}});
    EXPECT_EQ(view_->getEventsCount(), 2 + 4 + 2);
    view_->toFirstEvent();
    ui_.settle();
    ui_.advance(100ms);
    ASSERT_EQ(selected_, std::vector<TimeMs>{begin_});
    ui_.advance(5s);
    EXPECT_NEAR(static_cast<double>(underMark()), static_cast<double>(position()), 2000);
    std::int64_t last = 0;
    for (int second = 0; second < 14 * 60; ++second) {
        ui_.advance(1s, 100ms);
        const std::int64_t index = view_->indexUnderMark();
        EXPECT_GE(index, last);
        last = index;
    }
    EXPECT_EQ(view_->indexUnderMark(), 5) << "the next period follows";
    drag(-100);
    ui_.settle();
    ui_.advance(100ms);
    drag(300);
    ui_.advance(2s);
}

}  // namespace
}  // namespace korvane::test
