#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>

#include "korvane/base/Result.h"
#include "korvane/base/Time.h"
#include "korvane/server/Storage.h"

namespace korvane {

struct SampleOptions {
    /// The last recording ends within the hour before; the footage covers the three days before that.
    TimeMs end = 0;
    /// One seed and end give the same footage.
    std::uint64_t seed = 1;
    /// Encoding threads; 0 for one a core.
    unsigned threads = 0;
    /// Stretches of footage before the newest are left out; 0 for all. For a quick look.
    std::size_t maxRecordings = 0;
    /// Called from any of the maker's threads, one call at a time.
    std::function<void(std::size_t filesDone, std::size_t filesTotal)> onProgress;
    /// May be set from any thread; files that are done stay.
    const std::atomic<bool>* cancel = nullptr;
};

struct SampleReport {
    std::size_t recordings = 0;
    /// Movements that were staged; an import finds a motion event for all but a few of them.
    std::size_t movements = 0;
    std::uintmax_t bytes = 0;
};

/// Films three days in front of a house into `folder`: recordings with people, cars and animals that come and go, gaps,
/// bursts, one recording over UTC midnight, an events.json with two doorbell events and a camera.json. Makes the folder
/// when missing; files of the same name are replaced. Blocks.
Result<SampleReport> makeSample(const std::filesystem::path& folder, const SampleOptions& options);

/// Adds `count` events without media to a camera, about `spacing` ms apart, the last one at `end`; every 50th is a
/// doorbell.
Failure addSampleEvents(Storage& storage, std::int64_t camera, std::int64_t count, TimeMs end, TimeMs spacing);

}  // namespace korvane
