#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "korvane/views/timeline/Binding/ScrubberProviderBridge.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberDataProvider.h"

namespace korvane {

/// Whether both stand for one entry of the service: a list may make another object for it each time it is asked, and a
/// drag writes into an entry's moment. False for null.
bool isSameEntry(const std::shared_ptr<ScrubberEvent>& one, const std::shared_ptr<ScrubberEvent>& other);

/// The list that a scrubber shows: a provider's, or one of the host's own while that is set. All functions may be
/// called from any thread. A list of the host's own that throws counts as one that gave nothing, with a log line.
class ScrubberEntries {
  public:
    /// Makes a provider for a ScrubberDataSourceType; null without a service.
    using ProviderFactory = std::function<std::shared_ptr<ScrubberDataProvider>(std::int32_t dataSourceType)>;

    /// `handlers` hear of the provider in use; what an earlier one still reports is dropped. `scheduler` outlives this.
    ScrubberEntries(Scheduler& scheduler, ProviderFactory makeProvider, ScrubberProviderBridge::Handlers handlers);

    /// Closes the provider in use, makes another one and gives it. Null without a service.
    std::shared_ptr<ScrubberDataProvider> renewProvider(std::int32_t dataSourceType);
    std::shared_ptr<ScrubberDataProvider> provider() const;
    /// The provider hears no more of it.
    void detachProvider();
    /// Nothing is heard of the provider any more, what it has posted already included, until the next one takes over.
    void silenceProvider() { *numberInUse_ = 0; }

    /// The host's own list; null for the provider's.
    void setOwnList(std::shared_ptr<ScrubberDataSourceDelegate> list);
    std::shared_ptr<ScrubberDataSourceDelegate> ownList() const;

    std::int64_t count() const;
    /// The same with each member of a group by itself.
    std::int64_t ungroupedCount() const;
    /// Null for an index outside of the list.
    std::shared_ptr<ScrubberEvent> at(std::int64_t index) const;
    /// The provider's list; of the host's own, all entries but the head.
    std::vector<std::shared_ptr<ScrubberEvent>> all() const;
    /// Type and span of the entry, without making it; nothing for an index outside of the list.
    std::optional<ScrubberEventSpan> spanAt(std::int64_t index) const;
    /// Index of the first entry that fits; -1 when there is none.
    std::int64_t find(const ScrubberEventQuery& query) const;
    /// As the list's own OnScrubberFindEventByPosition() and OnScrubberFindClosestEventByPosition().
    std::int64_t findByPosition(TimeMs position) const;
    ScrubberEventPlace findClosestByPosition(TimeMs position) const;
    /// Index of this very entry, also when the list gives another object for it now, or of the group that it is in; -1
    /// when it is not in the list. Looks at `expected` first.
    std::int64_t indexOf(const std::shared_ptr<ScrubberEvent>& event, std::int64_t expected) const;
    /// The entry behind the first one that has the id of `event` and, where `event` has a moment, that moment too. Null
    /// for an event without an id, and for one that is not in the list; for one of a group, that group.
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

    Scheduler& scheduler_;
    const ProviderFactory makeProvider_;
    const ScrubberProviderBridge::Handlers handlers_;
    const std::shared_ptr<std::atomic<std::uint64_t>> numberInUse_;  // 0 while there is no provider
    std::atomic<std::uint64_t> lastNumber_ = 0;
    mutable std::mutex mutex_;  // a leaf: nothing is called under it
    Binding binding_;
    std::shared_ptr<ScrubberDataSourceDelegate> ownList_;
};

}  // namespace korvane
