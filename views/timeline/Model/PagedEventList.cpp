#include "views/timeline/Model/PagedEventList.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <utility>

#include "base/UtcTime.h"

namespace korvane {
namespace {

// Taking a slot out moves the rest of its chunk, finding a slot walks the tree of chunks: this size keeps both short.
constexpr std::uint64_t slotsPerChunk = 1024;

PagedEventList::Entry makeEntry(std::int32_t type, std::int64_t camid, const std::string& timezone) {
    ScrubberEvent::Fields fields;
    fields.type = type;
    fields.camid = camid;
    fields.timezone = timezone;
    return std::make_shared<ScrubberEvent>(std::move(fields));
}

}  // namespace

void PagedEventList::create(std::uint64_t slots, std::int64_t camid) {
    const std::uint64_t length = std::min(slots, maxSlots) + 2;
    std::vector<Chunk> chunks((length + slotsPerChunk - 1) / slotsPerChunk);
    std::vector<std::uint32_t> lengths(chunks.size() + 1, 0);
    for (std::size_t i = 0; i < chunks.size(); ++i) {
        chunks[i].length = static_cast<std::uint32_t>(std::min(slotsPerChunk, length - i * slotsPerChunk));
        lengths[i + 1] += chunks[i].length;
        const std::size_t parent = (i + 1) + ((i + 1) & (~i));
        if (parent < lengths.size()) lengths[parent] += lengths[i + 1];
    }
    // Looked up once for the list: it goes through the file system.
    std::string timezone = localTimeZoneName();
    auto head = makeEntry(ScrubberEventTypeHead, 0, timezone);
    auto live = makeEntry(ScrubberEventTypeLive, 0, timezone);

    // The list before goes away outside of the lock.
    const std::lock_guard guard(mutex_);
    chunks_.swap(chunks);
    lengths_.swap(lengths);
    camid_ = camid;
    timezone_.swap(timezone);
    exchange({0, 0}, head);
    exchange({chunks_.size() - 1, chunks_.back().length - 1}, live);
    size_.store(static_cast<std::int64_t>(length), std::memory_order_release);
}

void PagedEventList::clear() {
    std::vector<Chunk> chunks;
    const std::lock_guard guard(mutex_);
    chunks_.swap(chunks);
    lengths_.clear();
    size_.store(0, std::memory_order_release);
}

PagedEventList::Entry PagedEventList::at(std::uint64_t index) {
    const std::lock_guard guard(mutex_);
    const auto place = locate(index);
    return place ? madeAt(*place) : nullptr;
}

PagedEventList::Entry PagedEventList::made(std::uint64_t index) const {
    const std::lock_guard guard(mutex_);
    const auto place = locate(index);
    if (!place || chunks_[place->chunk].entries.empty()) return nullptr;
    return chunks_[place->chunk].entries[place->slot];
}

bool PagedEventList::isPending(std::uint64_t index) const {
    if (index >= static_cast<std::uint64_t>(size())) return false;
    const auto entry = made(index);
    return !entry || entry->type() == ScrubberEventTypePending;
}

bool PagedEventList::replace(std::uint64_t index, Entry entry, std::uint32_t folded) {
    const std::lock_guard guard(mutex_);
    const auto place = locate(index);
    if (!place) return false;
    exchange(*place, entry);
    setFoldedAt(*place, folded);
    return true;
}

bool PagedEventList::setFolded(std::uint64_t index, std::uint32_t folded) {
    const std::lock_guard guard(mutex_);
    const auto place = locate(index);
    if (place) setFoldedAt(*place, folded);
    return place.has_value();
}

bool PagedEventList::erase(std::uint64_t index) {
    Entry erased;
    const std::lock_guard guard(mutex_);
    const auto place = locate(index);
    if (place) erased = takeOut(*place);
    return place.has_value();
}

std::int64_t PagedEventList::foldedThrough(std::uint64_t last) const {
    const std::lock_guard guard(mutex_);
    std::int64_t sum = 0;
    std::uint64_t left = last < static_cast<std::uint64_t>(size()) ? last + 1 : static_cast<std::uint64_t>(size());
    for (const Chunk& chunk : chunks_) {
        if (left < chunk.length) {
            const auto end = chunk.foldedOf.begin() + static_cast<std::ptrdiff_t>(chunk.foldedOf.empty() ? 0 : left);
            return std::accumulate(chunk.foldedOf.begin(), end, sum);
        }
        sum += chunk.folded;
        left -= chunk.length;
    }
    return sum;
}

template <typename MayHold, typename Fits>
std::optional<PagedEventList::Place> PagedEventList::search(std::unique_lock<std::mutex>& lock, std::uint64_t from,
                                                            const MayHold& mayHold, const Fits& fits,
                                                            const IsStopped& isStopped) const {
    const auto start = locate(from);
    if (!start) return std::nullopt;
    for (Place place = *start; place.chunk < chunks_.size(); place = {place.chunk + 1, 0}) {
        const Chunk& chunk = chunks_[place.chunk];
        if (!mayHold(chunk)) continue;
        for (; place.slot < chunk.length; ++place.slot) {
            if (fits(chunk.entries.empty() ? nullptr : chunk.entries[place.slot].get())) return place;
        }
        // Readers of the list are not to wait for the end of a long search.
        lock.unlock();
        const bool goesOn = !isStopped();
        lock.lock();
        if (!goesOn) break;
    }
    return std::nullopt;
}

std::optional<PagedEventList::Place> PagedEventList::search(std::unique_lock<std::mutex>& lock,
                                                            const ScrubberEventQuery& query,
                                                            const IsStopped& isStopped) const {
    const bool fitsPending = query.fits(ScrubberEvent(ScrubberEvent::Fields()));
    return search(
        lock, static_cast<std::uint64_t>(std::max<std::int64_t>(query.fromIndex, 0)),
        [&](const Chunk& chunk) { return chunk.bounds ? chunk.bounds->mayHold(query) : fitsPending; },
        [&](const ScrubberEvent* entry) { return entry ? query.fits(*entry) : fitsPending; }, isStopped);
}

std::optional<std::uint64_t> PagedEventList::find(const ScrubberEventQuery& query, const IsStopped& isStopped) const {
    std::unique_lock lock(mutex_);
    const auto place = search(lock, query, isStopped);
    if (!place) return std::nullopt;
    return indexOf(*place);
}

std::optional<std::uint64_t> PagedEventList::eraseFirst(const ScrubberEventQuery& query, const IsStopped& isStopped) {
    Entry erased;
    std::unique_lock lock(mutex_);
    const auto place = search(lock, query, isStopped);
    if (!place) return std::nullopt;
    const std::uint64_t index = indexOf(*place);
    erased = takeOut(*place);
    return index;
}

std::optional<std::uint64_t> PagedEventList::findMade(std::uint64_t from,
                                                      const std::function<bool(const ScrubberEvent&)>& matches,
                                                      const IsStopped& isStopped) const {
    std::unique_lock lock(mutex_);
    const auto place = search(
        lock, from, [](const Chunk& chunk) { return !chunk.entries.empty(); },
        [&](const ScrubberEvent* entry) { return entry && matches(*entry); }, isStopped);
    if (!place) return std::nullopt;
    return indexOf(*place);
}

std::vector<PagedEventList::Entry> PagedEventList::all() {
    const std::lock_guard guard(mutex_);
    std::vector<Entry> result;
    result.reserve(static_cast<std::size_t>(size()));
    for (std::size_t i = 0; i < chunks_.size(); ++i) {
        for (std::size_t slot = 0; slot < chunks_[i].length; ++slot) result.push_back(madeAt({i, slot}));
    }
    return result;
}

std::optional<PagedEventList::Place> PagedEventList::locate(std::uint64_t index) const {
    if (index >= static_cast<std::uint64_t>(size())) return std::nullopt;
    // The last chunk before which no more than `index` slots lie; chunks that have run empty are passed over.
    auto left = static_cast<std::uint32_t>(index);
    std::size_t chunk = 0;
    for (std::size_t step = std::bit_floor(lengths_.size() - 1); step > 0; step /= 2) {
        if (chunk + step < lengths_.size() && lengths_[chunk + step] <= left) {
            chunk += step;
            left -= lengths_[chunk];
        }
    }
    return Place{chunk, left};
}

std::uint64_t PagedEventList::indexOf(Place place) const {
    std::uint64_t index = place.slot;
    for (std::size_t i = place.chunk; i > 0; i &= i - 1) index += lengths_[i];
    return index;
}

// What has been at the place is left in `entry`, to go away outside of the lock.
void PagedEventList::exchange(Place place, Entry& entry) {
    Chunk& chunk = chunks_[place.chunk];
    if (!chunk.bounds) chunk.bounds = std::make_shared<ScrubberEventBounds>();
    if (chunk.entries.empty()) chunk.entries.resize(chunk.length);
    if (entry) entry->setBounds(chunk.bounds);
    chunk.entries[place.slot].swap(entry);
}

const PagedEventList::Entry& PagedEventList::madeAt(Place place) {
    const Chunk& chunk = chunks_[place.chunk];
    if (chunk.entries.empty() || !chunk.entries[place.slot]) {
        auto entry = makeEntry(ScrubberEventTypePending, camid_, timezone_);
        exchange(place, entry);
    }
    return chunk.entries[place.slot];
}

PagedEventList::Entry PagedEventList::takeOut(Place place) {
    setFoldedAt(place, 0);
    Chunk& chunk = chunks_[place.chunk];
    const auto slot = static_cast<std::ptrdiff_t>(place.slot);
    Entry taken;
    if (!chunk.entries.empty()) {
        taken = std::move(chunk.entries[place.slot]);
        chunk.entries.erase(chunk.entries.begin() + slot);
    }
    if (!chunk.foldedOf.empty()) chunk.foldedOf.erase(chunk.foldedOf.begin() + slot);
    --chunk.length;
    for (std::size_t i = place.chunk + 1; i < lengths_.size(); i += i & (~i + 1)) --lengths_[i];
    size_.fetch_sub(1, std::memory_order_release);
    return taken;
}

void PagedEventList::setFoldedAt(Place place, std::uint32_t folded) {
    Chunk& chunk = chunks_[place.chunk];
    if (chunk.foldedOf.empty()) {
        if (folded == 0) return;
        chunk.foldedOf.resize(chunk.length);
    }
    std::uint32_t& before = chunk.foldedOf[place.slot];
    chunk.folded += static_cast<std::int64_t>(folded) - before;
    before = folded;
}

}  // namespace korvane
