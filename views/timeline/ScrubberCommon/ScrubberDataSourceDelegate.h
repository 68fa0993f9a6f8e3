#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEvent.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEventQuery.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEventSpan.h"

namespace korvane {

/// Access to a list of entries. A provider is one; a host may hand a view one of its own. A list that is not empty has
/// the head entry first and the live entry last. May be asked from any thread.
class ScrubberDataSourceDelegate {
  public:
    virtual ~ScrubberDataSourceDelegate() = default;

    /// Length of the list, head and live entry included.
    virtual std::int64_t OnScrubberGetEventsCount() = 0;

    /// The entry at an index; null for a negative index or one past the end.
    virtual std::shared_ptr<ScrubberEvent> OnScrubberGetEventByIndex(std::int64_t index) = 0;

    /// Type, moment and span, ms, of the entry at an index; nothing where OnScrubberGetEventByIndex() gives null. For
    /// whoever needs no more of an entry, an entry's neighbours say. This default asks for the entry; a source that
    /// makes entries only when asked for them does better by not making one.
    virtual std::optional<ScrubberEventSpan> OnScrubberGetEventSpanByIndex(std::int64_t index) {
        const auto event = OnScrubberGetEventByIndex(index);
        return event ? std::optional(event->span()) : std::nullopt;
    }

    /// Index of the first entry that fits, or -1. This default, like findByPosition() and findClosestByPosition(), asks
    /// for one entry after the other; a source that makes entries only when asked for them does better by not asking.
    virtual std::int64_t OnScrubberFindEvent(const ScrubberEventQuery& query) {
        const std::int64_t count = OnScrubberGetEventsCount();
        for (std::int64_t i = std::max<std::int64_t>(query.fromIndex, 0); i < count; ++i) {
            const auto event = OnScrubberGetEventByIndex(i);
            if (event && query.fits(*event)) return i;
        }
        return -1;
    }

    /// Index of the first entry whose `timeAsValue` is `position`, ms, or whose span (`start` at least 0, `end` above
    /// 0) holds it, the end excluded. The moment -1 is the live entry's. -1 for a moment in a gap, and in a list of
    /// fewer than three entries, which has nothing to find.
    std::int64_t OnScrubberFindEventByPosition(TimeMs position) {
        return placeOf(position, [&] { return ScrubberEventPlace{findByPosition(position), true}; }).index;
    }

    /// As OnScrubberFindEventByPosition(), with the end of a span included; and for a moment before the entry at index
    /// 1, or at its begin, that entry stands in, with isPositionExist false unless the moment is its own. The head is
    /// never found by its span.
    ScrubberEventPlace OnScrubberFindClosestEventByPosition(TimeMs position) {
        return placeOf(position, [&] { return findClosestByPosition(position); });
    }

    /// Takes an entry out of the list, after the service has deleted it. Its former index, or -1 when it is not there.
    /// Of a group's member that is the index of the group, and the count tells whether an item has left.
    virtual std::int32_t OnScrubberDeleteEvent(const std::shared_ptr<ScrubberEvent>& event) = 0;

    /// For sources that size themselves; the library does not call these three.
    virtual void OnScrubberSetEventsCount(std::int64_t /*count*/) {}
    virtual std::int32_t OnScrubberSetQuantity(std::int64_t /*quantity*/) { return 0; }
    virtual void OnScrubberSetCurrentTime(TimeMs /*time*/) {}

  protected:
    /// OnScrubberFindEventByPosition() and OnScrubberFindClosestEventByPosition() for a moment other than -1, in a list
    /// with real entries. These defaults look at one entry after the other.
    virtual std::int64_t findByPosition(TimeMs position) {
        const std::int64_t count = OnScrubberGetEventsCount();
        for (std::int64_t i = 0; i < count; ++i) {
            const auto span = OnScrubberGetEventSpanByIndex(i);
            if (span && (span->timeAsValue == position || span->covers(position, false))) return i;
        }
        return -1;
    }

    virtual ScrubberEventPlace findClosestByPosition(TimeMs position) {
        const std::int64_t count = OnScrubberGetEventsCount();
        for (std::int64_t i = 0; i < count; ++i) {
            const auto span = OnScrubberGetEventSpanByIndex(i);
            if (!span) continue;
            if (span->timeAsValue == position || (i > 0 && span->covers(position, true))) return {i, true};
            if (i == 1 && span->hasSpan() && span->start >= position) return {i, false};
        }
        return {};
    }

  private:
    // A list of head and live entry has nothing to find, and the unset moment is the live one.
    template <typename Find>
    ScrubberEventPlace placeOf(TimeMs position, const Find& find) {
        const std::int64_t count = OnScrubberGetEventsCount();
        if (count < 3) return {};
        if (position == -1) return {count - 1, true};
        return find();
    }
};

}  // namespace korvane
