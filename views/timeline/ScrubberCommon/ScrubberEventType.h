#pragma once

#include <cstdint>

namespace korvane {

/// What an entry of a scrubber's list is. The values are fixed.
enum ScrubberEventType : std::int32_t {
    /// A slot that the service has not filled yet.
    ScrubberEventTypePending = -1,
    /// The leading spacer at index 0: no event, no time, never played.
    ScrubberEventTypeHead = 0,
    /// A real event or recording.
    ScrubberEventTypeItem = 1,
    /// The trailing entry: the live position.
    ScrubberEventTypeLive = 2,
    /// Several events that lie close together, in `childs`.
    ScrubberEventTypeGroup = 3,
};

/// Which provider a view makes when a source is set; other values make the events provider.
enum ScrubberDataSourceType : std::int32_t {
    ScrubberDataSourceTypeEvents = 0,
    ScrubberDataSourceTypeRecords = 1,
    ScrubberDataSourceTypeTimeline = 2,
};

enum ScrubberApiProtocol : std::int32_t {
    ScrubberApiProtocolHttp = 0,
    ScrubberApiProtocolHttps = 1,
};

/// State of a scrubber view. 2 is never used.
enum ScrubberState : std::int32_t {
    /// A load has ended, well or badly.
    ScrubberStateReady = 0,
    ScrubberStateLoading = 1,
    ScrubberStateRefreshing = 3,
    ScrubberStateDeleting = 4,
};

}  // namespace korvane
