#pragma once

#include "korvane/tests/Model/ProviderFixture.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/BoxedTime.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDataProvider.h"

namespace korvane::test {

/// One day as the service tells it: what it calls it, and its periods.
struct ToldDay {
    std::string date;
    std::vector<std::pair<TimeMs, TimeMs>> periods;
};

inline void tellNext(ScriptedService& service, const std::vector<ToldDay>& days) {
    Reply dates = Reply::array();
    for (const auto& day : days) {
        dates.push_back(day.date);
        Reply periods = Reply::array();
        for (const auto& [start, end] : day.periods) periods.push_back({start, end});
        service.scriptNext("getTimelineSync", Script::answered(periods));
    }
    service.scriptNext("getActivity", Script::answered(dates));
}

using Span = std::pair<TimeMs, TimeMs>;
using Spans = std::vector<Span>;

inline Span spanOf(const ScrubberTimelineSegmentItem& segment) {
    return {longLongValue(segment.startDateTime()), longLongValue(segment.endDateTime())};
}

/// Shares the timeline, and so all that it lies beside.
inline std::shared_ptr<ScrubberTimelineSegmentItem> segmentOf(const std::shared_ptr<ScrubberTimelineItem>& timeline,
                                                              std::size_t index) {
    return {timeline, &timeline->segments()[index]};
}

/// A provider of the tree and what it stands on.
struct DayTree {
    explicit DayTree(std::uint64_t seed = 1) : scheduler(seed) { provider->setDelegate(delegate); }

    VirtualScheduler scheduler;
    ScriptedService service{scheduler};
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::shared_ptr<ScrubberTimelineDataProvider> provider =
        std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);
};

class DayTreeTest : public ::testing::Test, protected DayTree {
  protected:
    static constexpr TimeMs march1 = 1'709'251'200'000;  // 2024-03-01
    static constexpr TimeMs dayMs = 86'400'000;
    static constexpr TimeMs slice = 240'000;

    void bind(TimeMs position = -1) {
        EXPECT_EQ(provider->setSource(service.makeToken(), position), 0);
        scheduler.runUntilIdle();
    }

    /// Binds, or builds the tree anew.
    void load(const std::vector<ToldDay>& days) {
        tellNext(service, days);
        if (provider->refresh() != 0) bind();
        scheduler.runUntilIdle();
    }
};

}  // namespace korvane::test
