#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineTree.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ViewRange.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberDataProvider.h"

namespace korvane {

/// Questions for the recording of a moment that wait for the records of a segment. Of those about one segment the last
/// one stays. It has no lock of its own: wishes that it gives back hold callbacks, to be destroyed without one.
class ScrubberTimelineUrlWishes {
  public:
    /// Segments that are asked for at a time, and as many that may wait.
    static constexpr std::size_t maxSegments = 6;

    struct Wish {
        std::shared_ptr<ScrubberTimelineDayItem> day;
        std::shared_ptr<ScrubberTimelineSegmentItem> segment;
        /// Of the segment's entry in the list.
        std::int64_t index = 0;
        TimeMs time = -1;
        ScrubberDataProvider::UrlCompletion completion;
        bool isAsked = false;
    };
    using Wishes = std::vector<Wish>;

    /// Puts a wish before all others. Gives what it replaces, and the oldest one that waits when there are too many.
    Wishes add(Wish wish);

    /// Drops and gives those that wait for segments out of view; not the one that was wished for last.
    Wishes keepOnly(const ViewRange& seen);
    Wishes takeAll() { return std::exchange(wishes_, {}); }

    bool mayAsk() const { return waiting() > 0 && wishes_.size() - waiting() < maxSegments; }
    /// The segment to be asked for now, the newest wish first; null when there is none or enough are being asked for.
    std::shared_ptr<ScrubberTimelineSegmentItem> next();
    /// The wish for a segment that has been answered.
    std::optional<Wish> take(const ScrubberTimelineSegmentItem& segment);

  private:
    std::size_t waiting() const;
    // Gives those from the oldest on of which `isDropped` holds.
    template <typename IsDropped>
    Wishes extract(const IsDropped& isDropped);

    // The newest last.
    Wishes wishes_;
};

}  // namespace korvane
