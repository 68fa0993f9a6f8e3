#pragma once

#include <mutex>
#include <utility>

#include "korvane/base/VirtualScheduler.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/tests/support/service/Seeds.h"
#include "korvane/views/timeline/Model/ScrubberEvents/ScrubberEventsDataProvider.h"
#include "korvane/views/timeline/Model/ScrubberRecords/ScrubberRecordsDataProvider.h"

namespace korvane::test {

/// Writes down what a provider tells: "reload STATUS STATE", "index INDEX STATUS SCROLL FROM TO", "expires LEFT",
/// "redraw".
class RecordingDelegate final : public ScrubberDataProviderDelegate {
  public:
    void OnScrubberDataProviderReloadRequired(std::int32_t status, std::int32_t andState) override {
        note("reload", {status, andState});
    }
    void OnScrubberDataProviderReloadIndexRequired(std::int64_t index, std::int32_t withStatus,
                                                   std::int64_t withScrollToIndex, std::int32_t withSizeChangedFrom,
                                                   std::int32_t withSizeChangedTo) override {
        note("index", {index, withStatus, withScrollToIndex, withSizeChangedFrom, withSizeChangedTo});
    }
    std::int32_t onSharedTokenWillExpireIn(std::int64_t timeLeft) override {
        note("expires", {timeLeft});
        return 5;
    }
    std::vector<std::int64_t> OnScrubberDataProviderGetVisibleIndexes() override {
        if (onAskedForVisible) onAskedForVisible();
        return visible;
    }
    void OnScrubberDataProviderReloadVisible() override { note("redraw"); }

    /// The calls since the last take().
    std::vector<std::string> take() {
        const std::lock_guard guard(mutex_);
        auto taken = std::exchange(calls_, {});
        // Where memory is short, it is not for the host's notes.
        calls_.reserve(8);
        return taken;
    }

    void note(std::string call, std::initializer_list<std::int64_t> numbers = {}) {
        for (const auto number : numbers) call += " " + std::to_string(number);
        {
            const std::lock_guard guard(mutex_);
            calls_.push_back(std::move(call));
        }
        if (onCall) onCall();
    }

    /// Runs within each call that is written down.
    std::function<void()> onCall;
    std::function<void()> onAskedForVisible;
    std::vector<std::int64_t> visible;

  private:
    std::mutex mutex_;
    std::vector<std::string> calls_;
};

using Calls = std::vector<std::string>;

/// A list as one that knows nothing of its entries but what it is asked: searches look at one after the other.
class PlainWalk final : public ScrubberDataSourceDelegate {
  public:
    explicit PlainWalk(ScrubberDataSourceDelegate& list) : list_(list) {}

    std::int64_t OnScrubberGetEventsCount() override { return list_.OnScrubberGetEventsCount(); }
    std::shared_ptr<ScrubberEvent> OnScrubberGetEventByIndex(std::int64_t index) override {
        return list_.OnScrubberGetEventByIndex(index);
    }
    std::int32_t OnScrubberDeleteEvent(const std::shared_ptr<ScrubberEvent>& /*event*/) override { return -1; }

  private:
    ScrubberDataSourceDelegate& list_;
};

/// The searches of `list` for a moment and by `query` find what a plain walk finds.
inline void expectPlainSearches(ScrubberDataSourceDelegate& list, TimeMs position, const ScrubberEventQuery& query) {
    PlainWalk plain(list);
    EXPECT_EQ(list.OnScrubberFindEvent(query), plain.OnScrubberFindEvent(query))
        << query.fromIndex << " " << query.notBefore << " " << query.notAfter;
    EXPECT_EQ(list.OnScrubberFindEventByPosition(position), plain.OnScrubberFindEventByPosition(position)) << position;
    const auto place = list.OnScrubberFindClosestEventByPosition(position);
    const auto expected = plain.OnScrubberFindClosestEventByPosition(position);
    EXPECT_EQ(std::pair(place.index, place.isPositionExist), std::pair(expected.index, expected.isPositionExist))
        << position;
}

class ProviderTest : public ::testing::Test {
  protected:
    ProviderTest() { provider->setDelegate(delegate); }

    /// From here on, recordings.
    void useRecords() {
        provider = std::make_shared<ScrubberRecordsDataProvider>(scheduler, service);
        provider->setDelegate(delegate);
    }

    std::int32_t bind() {
        const auto status = provider->setSource(service.makeToken());
        scheduler.runUntilIdle();
        return status;
    }

    void check(std::uint64_t index, std::int64_t scroll = -1, TimeMs time = -1) {
        EXPECT_EQ(provider->checkPartNeedRequested(index, scroll, time), 0);
        scheduler.runUntilIdle();
    }

    std::shared_ptr<ScrubberEvent> entry(std::int64_t index) { return provider->OnScrubberGetEventByIndex(index); }

    VirtualScheduler scheduler;
    ScriptedService service{scheduler};
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::shared_ptr<ScrubberPagedDataProvider> provider =
        std::make_shared<ScrubberEventsDataProvider>(scheduler, service);
};

}  // namespace korvane::test
