#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/client/Reply.h"
#include "korvane/client/Timeline.h"

namespace korvane {

/// One camera of the service. Times are ms since the epoch, UTC; a start or end of -1 leaves that side open. Order 0 is
/// newest first, 1 oldest first. All functions may be called from any thread. Those with a completion return at once
/// and complete exactly once (Reply.h); those named Sync block for the network's time.
class KorvaneCamera {
  public:
    virtual ~KorvaneCamera() = default;

    virtual std::int64_t getID() const = 0;

    /// Name of the camera's zone, "America/New_York"; may be empty.
    virtual std::string getTimezone() const = 0;

    /// The whole token, as the application got it.
    virtual void setFullSharedToken(const std::string& token) = 0;

    /// {"meta": {"total_count"}, "objects": [{"id", "camid", "name", "time", "thumb": {"url"}}]}. `events` filters by
    /// event name; without it, all.
    virtual void getEvents(TimeMs start, TimeMs end, const std::optional<std::string>& events, int order,
                           std::int64_t limit, std::int64_t offset, ReplyCompletion onComplete) = 0;

    /// As getEvents(), blocking. Nothing when the request failed.
    virtual std::optional<Reply> getEventsSync(TimeMs start, TimeMs end, const std::optional<std::string>& events,
                                               int order, std::int64_t limit, std::int64_t offset) = 0;

    /// {"meta": {"total_count"}, "objects": [{"id", "camid", "start", "end", "url"}]}.
    virtual void getRecords(TimeMs start, TimeMs end, int order, std::int64_t limit, std::int64_t offset,
                            ReplyCompletion onComplete) = 0;

    /// {"objects": [{"url", "time"}]}: thumbnails of the recordings `originIds`, `origin` "recording_thumbnail".
    virtual void getTimelineThumbnailsFull(TimeMs start, TimeMs end, const std::string& origin,
                                           const std::vector<std::string>& originIds, std::int32_t limit,
                                           std::int32_t offset, int order, ReplyCompletion onComplete) = 0;

    /// Deletes an event. The reply is a message string, or null.
    virtual void deleteEvent(std::int64_t event, ReplyCompletion onComplete) = 0;

    /// Days with activity, an array of "yyyy-MM-dd" strings: of UTC, or of the camera's zone with `daysincamtz` 1. Our
    /// service gives all days of the range, whatever `limit` and `offset` say. The first argument and `boundstime` are
    /// the service's own.
    virtual void getActivity(int activity, TimeMs start, TimeMs end, const std::optional<std::string>& events,
                             int boundstime, int daysincamtz, std::int32_t limit, std::int32_t offset,
                             ReplyCompletion onComplete) = 0;

    /// The recorded stretches between two moments, with `start` and `end` echoed in ms. Blocks; null on failure.
    virtual std::shared_ptr<Timeline> getTimelineSync(TimeMs start, TimeMs end) = 0;

    /// Days with recordings in the camera's zone, an array of "yyyy-MM-dd" strings; 0, 0, -1, -1 asks for all of them.
    /// Gives a negative Status when the request could not be made, and then never completes.
    virtual std::int32_t getCalendar(TimeMs start, TimeMs end, std::int32_t limit, std::int32_t offset,
                                     ReplyCompletion onComplete) = 0;

    /// Breaks off the calls named Sync that are under way on this object: each gives its failure within 100 ms. Calls
    /// that begin afterwards, those with a completion and other objects of the same camera are left alone, and the
    /// connection stays open. Does not wait for anything. A camera that does nothing here lets whoever stops a reader,
    /// the time ruler say, wait for the call's own end.
    virtual void cancelSyncRequests() {}
};

}  // namespace korvane
