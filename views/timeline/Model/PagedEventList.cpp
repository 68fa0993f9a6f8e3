#include "korvane/views/timeline/Model/PagedEventList.h"

#include <algorithm>
#include <utility>

#include "korvane/base/TaskGuard.h"
#include "korvane/base/UtcTime.h"

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

void PagedEventList::create(std::uint64_t entries, std::int64_t camid) {
    const std::uint64_t length = std::min(entries, maxSlots) + 2;
    std::vector<PagedEventChunk> chunks;
    std::vector<std::uint32_t> lengths;
    chunks.reserve((length + slotsPerChunk - 1) / slotsPerChunk);
    for (std::uint64_t left = length; left > 0; left -= lengths.back()) {
        lengths.push_back(static_cast<std::uint32_t>(std::min(slotsPerChunk, left)));
        chunks.emplace_back(lengths.back());
    }
    CountTree tree(lengths);
    CountTree shown = tree;
    // Looked up once for the list: it goes through the file system.
    std::string timezone = localTimeZoneName();
    auto head = makeEntry(ScrubberEventTypeHead, 0, timezone);
    auto live = makeEntry(ScrubberEventTypeLive, 0, timezone);
    chunks.front().exchangeEntry(0, head);
    chunks.back().exchangeEntry(chunks.back().length() - 1, live);

    // The list before goes away outside of the lock.
    const std::lock_guard guard(mutex_);
    chunks_.swap(chunks);
    std::swap(lengths_, tree);
    std::swap(shown_, shown);
    camid_ = camid;
    timezone_.swap(timezone);
    slotCount_ = shownCount_ = length;
    updateSize();
}

void PagedEventList::clear() {
    std::vector<PagedEventChunk> chunks;
    const std::lock_guard guard(mutex_);
    chunks_.swap(chunks);
    slotCount_ = shownCount_ = 0;
    updateSize();
}

bool PagedEventList::setGrouped(bool isGrouped) {
    std::vector<Entry> dropped;
    std::vector<std::vector<Entry>> groups;
    const std::lock_guard guard(mutex_);
    if (isGrouped_ == isGrouped) return false;
    groups.reserve(chunks_.size());
    try {
        for (std::size_t i = 0; isGrouped && i < chunks_.size(); ++i) {
            const std::uint64_t first = lengths_.sumBefore(i);
            if (chunks_[i].isFolded()) renewGroups(first, first + chunks_[i].length() - 1, dropped);
        }
    } catch (...) {
        for (PagedEventChunk& chunk : chunks_) groups.push_back(chunk.takeGroups());
        throw;
    }
    isGrouped_ = isGrouped;
    if (!isGrouped) {
        for (PagedEventChunk& chunk : chunks_) groups.push_back(chunk.takeGroups());
    }
    updateSize();
    return shownCount_ != slotCount();
}

void PagedEventList::updateSize() {
    size_.store(static_cast<std::int64_t>(isGrouped_ ? shownCount_ : slotCount()), std::memory_order_release);
}

std::optional<std::uint64_t> PagedEventList::slotOf(std::uint64_t index) const {
    const std::lock_guard guard(mutex_);
    const auto place = placeOfIndex(index);
    if (!place) return std::nullopt;
    return lengths_.sumBefore(place->chunk) + place->slot;
}

std::optional<std::uint64_t> PagedEventList::indexOf(std::uint64_t slot) const {
    const std::lock_guard guard(mutex_);
    if (slot >= slotCount()) return std::nullopt;
    return indexOf(placeOfSlot(slot));
}

PagedEventList::Entry PagedEventList::at(std::uint64_t index) {
    const std::lock_guard guard(mutex_);
    const auto place = placeOfIndex(index);
    if (!place) return nullptr;
    const Entry& shown = shownAt(*place);
    return shown ? shown : madeAt(*place);
}

PagedEventList::Entry PagedEventList::made(std::uint64_t index) const {
    const std::lock_guard guard(mutex_);
    const auto place = placeOfIndex(index);
    return place ? shownAt(*place) : nullptr;
}

PagedEventList::Entry PagedEventList::atSlot(std::uint64_t slot) {
    const std::lock_guard guard(mutex_);
    return slot < slotCount() ? madeAt(placeOfSlot(slot)) : nullptr;
}

bool PagedEventList::isPending(std::uint64_t slot) const {
    const std::lock_guard guard(mutex_);
    if (slot >= slotCount()) return false;
    const Place place = placeOfSlot(slot);
    const Entry& entry = chunks_[place.chunk].entry(place.slot);
    return !entry || entry->type() == ScrubberEventTypePending;
}

void PagedEventList::regroup(std::uint64_t first, std::uint64_t last, const std::vector<Joint>& joints) {
    std::vector<Entry> dropped;
    const std::lock_guard guard(mutex_);
    if (slotCount() == 0 || first > last || last >= slotCount()) return;
    // The slots of groups that the joints cut off must not be left behind without an end when memory runs out.
    while (isGrouped_ && first > 0 && joinsNext(first - 1)) --first;
    while (isGrouped_ && joinsNext(last)) ++last;
    try {
        for (const Joint& joint : joints) {
            // The head entry joins nothing, and nothing the live entry.
            if (joint.slot > 0 && joint.slot + 2 < slotCount()) setJoinsNext(joint.slot, joint.joinsNext);
        }
        if (isGrouped_) renewGroups(first, last, dropped);
    } catch (...) {
        showSingly(first, last);
        updateSize();
        throw;
    }
    updateSize();
}

void PagedEventList::erase(std::uint64_t slot) {
    std::vector<Entry> dropped;
    Entry taken;
    const std::lock_guard guard(mutex_);
    if (slot == 0 || slot + 1 >= slotCount()) return;
    const bool joinsOlder = joinsNext(slot - 1);
    const bool joinsNewer = joinsNext(slot);
    if (joinsOlder && !joinsNewer) {
        tryGrouping(slot, [&] {
            Entry group;
            exchangeGroup(slot, group);
            exchangeGroup(slot - 1, group);
        });
        setJoinsNext(slot - 1, false);
    }
    setJoinsNext(slot, false);
    const Place place = placeOfSlot(slot);
    taken = chunks_[place.chunk].erase(place.slot);
    lengths_.add(place.chunk, -1);
    shown_.add(place.chunk, -1);
    --shownCount_;
    --slotCount_;
    if (isGrouped_ && (joinsOlder || joinsNewer)) {
        const std::uint64_t left = joinsOlder ? slot - 1 : slot;
        tryGrouping(left, [&] { renewGroups(left, left, dropped); });
    }
    updateSize();
}

template <typename Body>
void PagedEventList::tryGrouping(std::uint64_t slot, const Body& body) {
    try {
        body();
    } catch (...) {
        detail::logException("PagedEventList");
        showSingly(slot, slot);
    }
}

void PagedEventList::showSingly(std::uint64_t first, std::uint64_t last) {
    while (first > 0 && joinsNext(first - 1)) --first;
    while (joinsNext(last)) ++last;
    for (std::uint64_t slot = first; slot <= last; ++slot) {
        Entry group;
        exchangeGroup(slot, group);
        setJoinsNext(slot, false);
        const Place place = placeOfSlot(slot);
        if (const Entry& entry = chunks_[place.chunk].entry(place.slot)) entry->setParent(nullptr);
    }
}

template <typename MayHold, typename Fits>
std::optional<PagedEventList::Place> PagedEventList::search(std::unique_lock<std::mutex>& lock,
                                                            std::optional<Place> from, const MayHold& mayHold,
                                                            const Fits& fits, const IsStopped& isStopped) const {
    if (!from) return std::nullopt;
    for (Place place = *from; place.chunk < chunks_.size(); place = {place.chunk + 1, 0}) {
        const PagedEventChunk& chunk = chunks_[place.chunk];
        if (!mayHold(chunk)) continue;
        for (; place.slot < chunk.length(); ++place.slot) {
            if (fits(place)) return place;
        }
        // Readers of the list are not to wait for the end of a long search.
        lock.unlock();
        const bool goesOn = !isStopped();
        lock.lock();
        if (!goesOn) break;
    }
    return std::nullopt;
}

template <typename EntryAt>
std::optional<PagedEventList::Place> PagedEventList::search(std::unique_lock<std::mutex>& lock,
                                                            std::optional<Place> from, const ScrubberEventQuery& query,
                                                            const EntryAt& entryAt, const IsStopped& isStopped) const {
    const bool fitsPending = query.fits(ScrubberEvent(ScrubberEvent::Fields()));
    return search(
        lock, from,
        [&](const PagedEventChunk& chunk) { return chunk.bounds() ? chunk.bounds()->mayHold(query) : fitsPending; },
        [&](Place place) {
            const Entry* const entry = entryAt(place);
            return entry && (*entry ? query.fits(**entry) : fitsPending);
        },
        isStopped);
}

std::optional<std::uint64_t> PagedEventList::find(const ScrubberEventQuery& query, const IsStopped& isStopped) const {
    std::unique_lock lock(mutex_);
    const auto from = placeOfIndex(static_cast<std::uint64_t>(std::max<std::int64_t>(query.fromIndex, 0)));
    const auto shown = [this](Place place) { return isShown(place) ? &shownAt(place) : nullptr; };
    const auto place = search(lock, from, query, shown, isStopped);
    if (!place) return std::nullopt;
    return indexOf(*place);
}

std::optional<std::uint64_t> PagedEventList::findSlot(const ScrubberEventQuery& query,
                                                      const IsStopped& isStopped) const {
    std::unique_lock lock(mutex_);
    const auto first = static_cast<std::uint64_t>(std::max<std::int64_t>(query.fromIndex, 0));
    if (first >= slotCount()) return std::nullopt;
    const auto entry = [this](Place place) { return &chunks_[place.chunk].entry(place.slot); };
    const auto place = search(lock, placeOfSlot(first), query, entry, isStopped);
    if (!place) return std::nullopt;
    return lengths_.sumBefore(place->chunk) + place->slot;
}

std::optional<std::uint64_t> PagedEventList::findMade(std::uint64_t from,
                                                      const std::function<bool(const ScrubberEvent&)>& matches,
                                                      const IsStopped& isStopped) const {
    std::unique_lock lock(mutex_);
    const auto matchesAt = [&](Place place) {
        const Entry* const shown = isShown(place) ? &shownAt(place) : nullptr;
        return shown && *shown && matches(**shown);
    };
    const auto place = search(
        lock, placeOfIndex(from), [](const PagedEventChunk& chunk) { return chunk.hasEntries(); }, matchesAt,
        isStopped);
    if (!place) return std::nullopt;
    return indexOf(*place);
}

std::vector<PagedEventList::Entry> PagedEventList::all() {
    const std::lock_guard guard(mutex_);
    std::vector<Entry> result;
    result.reserve(static_cast<std::size_t>(size()));
    for (std::size_t chunk = 0; chunk < chunks_.size(); ++chunk) {
        for (Place place{chunk, 0}; place.slot < chunks_[chunk].length(); ++place.slot) {
            if (!isShown(place)) continue;
            const Entry& shown = shownAt(place);
            result.push_back(shown ? shown : madeAt(place));
        }
    }
    return result;
}

std::optional<PagedEventList::Place> PagedEventList::placeOfIndex(std::uint64_t index) const {
    if (index >= static_cast<std::uint64_t>(size())) return std::nullopt;
    if (!isGrouped_) return placeOfSlot(index);
    const auto [chunk, number] = shown_.find(index);
    return Place{chunk, chunks_[chunk].slotOfShown(number)};
}

PagedEventList::Place PagedEventList::placeOfSlot(std::uint64_t slot) const {
    const auto [chunk, rest] = lengths_.find(slot);
    return {chunk, rest};
}

std::uint64_t PagedEventList::indexOf(Place place) const {
    if (!isGrouped_) return lengths_.sumBefore(place.chunk) + place.slot;
    return shown_.sumBefore(place.chunk) + chunks_[place.chunk].shownBefore(place.slot);
}

const PagedEventList::Entry& PagedEventList::shownAt(Place place) const {
    const PagedEventChunk& chunk = chunks_[place.chunk];
    const Entry& group = chunk.group(place.slot);
    return group ? group : chunk.entry(place.slot);
}

const PagedEventList::Entry& PagedEventList::madeAt(Place place) {
    PagedEventChunk& chunk = chunks_[place.chunk];
    if (!chunk.entry(place.slot)) {
        auto entry = makeEntry(ScrubberEventTypePending, camid_, timezone_);
        chunk.exchangeEntry(place.slot, entry);
    }
    return chunk.entry(place.slot);
}

bool PagedEventList::joinsNext(std::uint64_t slot) const {
    const Place place = placeOfSlot(slot);
    return chunks_[place.chunk].joinsNext(place.slot);
}

void PagedEventList::setJoinsNext(std::uint64_t slot, bool joins) {
    const Place place = placeOfSlot(slot);
    if (!chunks_[place.chunk].setJoinsNext(place.slot, joins)) return;
    shown_.add(place.chunk, joins ? -1 : 1);
    joins ? --shownCount_ : ++shownCount_;
}

void PagedEventList::renewGroups(std::uint64_t first, std::uint64_t last, std::vector<Entry>& dropped) {
    while (first > 0 && joinsNext(first - 1)) --first;
    while (first <= last) {
        std::uint64_t newest = first;
        while (joinsNext(newest)) ++newest;
        renewGroup(first, newest, dropped);
        first = newest + 1;
    }
}

// The group of the slots `first` to `last`, or its end when that is one slot only. Of several groups that have grown
// together the newest lives on.
void PagedEventList::renewGroup(std::uint64_t first, std::uint64_t last, std::vector<Entry>& dropped) {
    Entry group;
    for (std::uint64_t slot = last + 1; slot-- > first;) {
        Entry held;
        exchangeGroup(slot, held);
        if (!group) group.swap(held);
        if (held) dropped.push_back(std::move(held));
    }
    std::vector<Entry> members;
    for (std::uint64_t slot = first; slot <= last; ++slot) {
        const Place place = placeOfSlot(slot);
        members.push_back(first == last ? chunks_[place.chunk].entry(place.slot) : madeAt(place));
    }
    if (first == last) {
        if (members.front()) members.front()->setParent(nullptr);
        dropped.push_back(std::move(group));
        return;
    }
    if (!group) group = std::make_shared<ScrubberEvent>(ScrubberEvent::Fields());
    group->assign(makeGroup_(members));
    for (const Entry& member : members) member->setParent(group);
    exchangeGroup(last, group);
}

void PagedEventList::exchangeGroup(std::uint64_t slot, Entry& group) {
    const Place place = placeOfSlot(slot);
    chunks_[place.chunk].exchangeGroup(place.slot, group);
}

}  // namespace korvane
