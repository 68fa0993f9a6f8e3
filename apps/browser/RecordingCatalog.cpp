#include "korvane/apps/browser/RecordingCatalog.h"

#include <algorithm>
#include <utility>

namespace korvane {

namespace {
// Jumping about collects many pages; the oldest are dropped first.
constexpr std::size_t maxStretches = 32;
constexpr std::size_t maxShortened = 1'000;
}  // namespace

void RecordingCatalog::add(TimeMs from, std::vector<Recording> page, bool hasMore) {
    std::erase_if(page, [this](Recording& recording) {
        const auto found = asFound(recording);
        if (found) recording = *found;
        return !found || recording.end < recording.start;
    });
    std::stable_sort(page.begin(), page.end(),
                     [](const Recording& a, const Recording& b) { return a.start < b.start; });
    if (page.empty()) return;

    Stretch stretch{from, 0, std::move(page)};
    if (hasMore) {
        // The next page may hold a recording that begins together with the last of this one.
        stretch.until = std::max(stretch.recordings.back().start, from + 1);
    } else {
        // The camera goes on recording, so nothing is known beyond the last end.
        for (const Recording& recording : stretch.recordings)
            stretch.until = std::max(stretch.until, recording.end + 1);
    }
    if (stretches_.size() >= maxStretches) stretches_.erase(stretches_.begin());
    stretches_.push_back(std::move(stretch));
}

RecordingCatalog::Answer RecordingCatalog::find(TimeMs moment) const {
    // The newest page first, since its answer is the most recent.
    for (auto stretch = stretches_.rbegin(); stretch != stretches_.rend(); ++stretch) {
        if (moment < stretch->from || moment >= stretch->until) continue;
        const Answer answer = findIn(*stretch, moment);
        if (answer.kind != Kind::Unknown) return answer;
    }
    return {};
}

RecordingCatalog::Answer RecordingCatalog::findIn(const Stretch& stretch, TimeMs moment) {
    const Recording* inside = nullptr;
    for (const Recording& recording : stretch.recordings) {
        if (recording.start > moment)
            return inside ? Answer{Kind::Inside, *inside, moment} : Answer{Kind::Gap, recording, recording.start};
        if (recording.end >= moment && (!inside || recording.end > inside->end)) inside = &recording;
    }
    return inside ? Answer{Kind::Inside, *inside, moment} : Answer{};
}

void RecordingCatalog::shorten(const Recording& told, TimeMs end) {
    if (shortened_.size() >= maxShortened) shortened_.erase(shortened_.begin());
    shortened_.push_back({told, end});
    for (Stretch& stretch : stretches_) {
        std::erase_if(stretch.recordings, [&](Recording& recording) {
            if (recording != told) return false;
            recording.end = end - 1;
            return recording.end < recording.start;
        });
    }
}

std::optional<Recording> RecordingCatalog::asFound(const Recording& told) const {
    Recording found = told;
    for (const Shortened& entry : shortened_) {
        if (entry.told == found) found.end = entry.end - 1;
    }
    return found.end < found.start ? std::nullopt : std::optional(found);
}

void RecordingCatalog::clear() {
    stretches_.clear();
    shortened_.clear();
}

}  // namespace korvane
