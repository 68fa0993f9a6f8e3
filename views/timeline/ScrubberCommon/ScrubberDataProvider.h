#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberDataProviderDelegate.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberDataSourceDelegate.h"

namespace korvane {

/// A list that is loaded from the service under a token. Statuses are Status.h of the client. May be called from any
/// thread.
class ScrubberDataProvider : public ScrubberDataSourceDelegate {
  public:
    using DeleteCompletion = std::function<void(std::int32_t status, std::string message)>;
    using UrlCompletion = std::function<void(std::shared_ptr<ScrubberEvent> event)>;

    /// Held weakly; null detaches.
    virtual void setDelegate(const std::shared_ptr<ScrubberDataProviderDelegate>& delegate) = 0;
    virtual std::shared_ptr<ScrubberDataProviderDelegate> getDelegate() const = 0;

    /// The list as it stands, head and live entry included; pending slots get an object each, so mind the length.
    virtual std::vector<std::shared_ptr<ScrubberEvent>> getEvents() = 0;

    /// Defaults for tokens that leave them open. An empty protocol leaves the one before; the port is always taken.
    virtual void setApiProtocol(const std::string& protocol, std::int32_t andPort) = 0;

    /// Binds to the camera of `token` and starts loading. 0 once the camera has been asked for, -1 for an empty token,
    /// or the code of what is wrong with it. Blocks while the connection opens.
    virtual std::int32_t setSource(const std::string& token) = 0;
    virtual std::int32_t setSource(const std::string& token, TimeMs withPosition) = 0;
    /// A new connection starts with full range, newest first, pages of 100 and no position, whatever is given here; the
    /// arguments count when the token of the camera in use is swapped, from the next refresh() on. Of `sortAscending`
    /// the low 8 bits count; a limit or offset of 0 or below leaves the one before.
    virtual std::int32_t setSource(const std::string& token, TimeMs startDateTime, TimeMs endDateTime,
                                   const std::optional<std::string>& eventType, std::int64_t sortAscending,
                                   std::int64_t withLimit, std::int64_t withOffset, TimeMs withPosition) = 0;

    /// Deletes at the service. -1 at once, without a completion, when that cannot be asked for.
    virtual std::int32_t deleteEvent(const std::shared_ptr<ScrubberEvent>& event, DeleteCompletion onComplete) = 0;

    /// Empties the list and loads it anew; -1 while unbound or closing.
    virtual std::int32_t refresh() = 0;

    /// Unbinds and empties the list. The object can be bound again.
    virtual void close() = 0;

    /// The view needs the entry at `index` loaded, and, with `withScrollToIndex` at 0 or above, scrolls there once it
    /// is. A time other than -1 is searched for first. Always 0.
    virtual std::int32_t checkPartNeedRequested(std::uint64_t index, std::int64_t withScrollToIndex,
                                                TimeMs withDateTime) = 0;

    /// Brings the view to the entry at a moment, or to the one after it with `isClosest`. Always 0.
    virtual std::int32_t updateForTime(TimeMs time, bool withScroll, bool isClosest) = 0;

    virtual std::int32_t updateForRange(TimeMs /*start*/, TimeMs /*withEnd*/) { return 0; }

    /// Shows entries that lie close together as one, or each by itself. A loaded list stays loaded.
    virtual void enableEventGrouping(bool enabled) = 0;
    /// Length of the list with each member of a group by itself, head and live entry included.
    virtual std::int64_t getUngroupedCount() { return OnScrubberGetEventsCount(); }

    /// The recording to play for a moment of the entry at `index`; only the day tree has it.
    virtual void getUrl(std::uint64_t /*index*/, TimeMs /*withDateTime*/, UrlCompletion /*completion*/) {}
};

}  // namespace korvane
