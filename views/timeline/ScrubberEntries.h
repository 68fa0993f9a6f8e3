#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "views/timeline/ScrubberCommon/ScrubberDataProvider.h"
#include "views/timeline/ScrubberProviderBridge.h"
#include "views/timeline/TimelineEnvironment.h"

namespace korvane {

/// The list that a scrubber shows: a provider's, or one of the host's own while that is set. All functions may be
/// called from any thread. A list of the host's own that throws counts as one that gave nothing, with a log line.
class ScrubberEntries {
  public:
    /// `handlers` hear of the provider in use; what an earlier one still reports is dropped.
    ScrubberEntries(const TimelineEnvironment& environment, ScrubberProviderBridge::Handlers handlers);

    /// Closes the provider in use, makes another one by its ScrubberDataSourceType and gives it. Null without a
    /// service.
    std::shared_ptr<ScrubberDataProvider> renewProvider(std::int32_t dataSourceType);
    std::shared_ptr<ScrubberDataProvider> provider() const;

    void setSource(std::shared_ptr<ScrubberDataSourceDelegate> source);
    std::shared_ptr<ScrubberDataSourceDelegate> source() const;

    std::int64_t count() const;
    /// Null for an index outside of the list.
    std::shared_ptr<ScrubberEvent> at(std::int64_t index) const;
    /// The provider's list; of the host's own, all entries but the head.
    std::vector<std::shared_ptr<ScrubberEvent>> all() const;
    /// Index of the first entry that fits; -1 when there is none.
    std::int64_t find(const ScrubberEventQuery& query) const;
    /// The entry behind the first one that has the id of `event` and, where `event` has a moment, that moment too. Null
    /// for an event without an id, and for one that is not in the list.
    std::shared_ptr<ScrubberEvent> following(const ScrubberEvent& event) const;

  private:
    struct Binding {
        std::shared_ptr<ScrubberDataProvider> provider;
        std::shared_ptr<ScrubberProviderBridge> bridge;
        std::uint64_t number = 0;
    };

    void exchange(Binding next);
    std::shared_ptr<ScrubberProviderBridge> makeBridge(std::uint64_t number);
    std::shared_ptr<ScrubberDataSourceDelegate> list() const;

    const TimelineEnvironment environment_;
    const ScrubberProviderBridge::Handlers handlers_;
    const std::shared_ptr<std::atomic<std::uint64_t>> numberInUse_;  // 0 while there is no provider
    std::atomic<std::uint64_t> lastNumber_ = 0;
    mutable std::mutex mutex_;  // a leaf: nothing is called under it
    Binding binding_;
    std::shared_ptr<ScrubberDataSourceDelegate> source_;
};

}  // namespace korvane
