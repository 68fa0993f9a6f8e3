#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDayItem.h"

namespace korvane {

/// The days whose events are to be fetched, the one that was wished for last before all others. It has no lock of its
/// own.
class ScrubberTimelineDayWishes {
  public:
    using Day = std::shared_ptr<ScrubberTimelineDayItem>;

    /// With more days than that, the one that was wished for first is dropped.
    static constexpr std::size_t maxDays = 90;

    /// A timeline whose next page is due.
    struct Job {
        Day day;
        std::shared_ptr<ScrubberTimelineItem> timeline;
    };

    /// Puts a day before all others. Its timeline at `wanted` comes first, then the others, the last one first. A day
    /// of which all has been fetched or has failed is not taken.
    void add(const Day& day, std::optional<std::size_t> wanted);

    /// Puts a day before all others, as add() does, if it waits already.
    void raise(const Day& day, std::optional<std::size_t> wanted);

    /// Drops all days but those among `seen`, and the one under the mark. They may be wished for anew.
    void keepOnly(const std::vector<Day>& seen);
    void clear();

    /// The day that was wished for last, whether or not it had anything to fetch.
    const Day& mark() const { return mark_; }
    void setMark(const Day& day) { mark_ = day; }

    bool isEmpty() const { return wishes_.empty(); }
    bool holds(const ScrubberTimelineDayItem& day) const;

    /// The page that is due. Days without one leave, and are done.
    std::optional<Job> next();

  private:
    struct Wish {
        Day day;
        std::optional<std::size_t> wanted;
        // Timelines that have not been looked at yet, from the first one.
        std::size_t left = 0;
    };

    void drop(std::size_t oldest);
    static std::shared_ptr<ScrubberTimelineItem> timelineDue(Wish& wish);

    // The newest last.
    std::vector<Wish> wishes_;
    Day mark_;
};

}  // namespace korvane
