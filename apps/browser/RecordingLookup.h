#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "korvane/apps/browser/RecordingCatalog.h"
#include "korvane/base/LifeToken.h"
#include "korvane/base/Scheduler.h"
#include "korvane/client/KorvaneCamera.h"
#include "korvane/client/KorvaneHelpers.h"

namespace korvane {

/// Asks a camera which recording holds a moment, and remembers the answers. Main thread only.
class RecordingLookup {
  public:
    /// Status 0 with kind Unknown: nothing was recorded at that moment or after it. Otherwise the service's status.
    using Found = std::function<void(const RecordingCatalog::Answer& answer, std::int32_t status)>;

    /// `scheduler` and `helpers` outlive the service that `camera` belongs to.
    RecordingLookup(Scheduler& scheduler, const KorvaneHelpers& helpers, std::shared_ptr<KorvaneCamera> camera);

    /// The recording that holds `moment` (ms, 0 and up) or else the next one. `found` runs once, before this returns
    /// when the answer is known; a newer question or the end of this object drops it.
    void find(TimeMs moment, Found found);

    /// The recording that ends last; the position is its start.
    void findNewest(Found found) { findLast(-1, std::move(found)); }

    /// Of the recordings that begin before `moment`, the one that ends last; the position is its start.
    void findBefore(TimeMs moment, Found found) { findLast(moment, std::move(found)); }

    /// Drops a question that is under way.
    void cancel() { ++question_; }

    /// The film of a recording that was found ends before `end` (ms), whatever the service says.
    void shorten(const Recording& found, TimeMs end) { catalog_.shorten(found, end); }

    /// The answers may be out of date: ask again.
    void forget() { catalog_.clear(); }

    const std::shared_ptr<KorvaneCamera>& camera() const { return camera_; }

  private:
    void findLast(TimeMs until, Found found);
    void ask(TimeMs from, TimeMs until, int order, int limit,
             std::function<void(const Reply& reply, std::int32_t status)> answered);

    Scheduler& scheduler_;
    const KorvaneHelpers& helpers_;
    const std::shared_ptr<KorvaneCamera> camera_;
    RecordingCatalog catalog_;
    std::uint64_t question_ = 0;
    LifeToken life_;
};

}  // namespace korvane
