#include "server/PacketMap.h"

#include <algorithm>
#include <limits>

namespace korvane {

namespace {

constexpr TimeMs kWindow = 500;
// Of the windows of a file this share is taken to be still.
constexpr std::size_t kStillPercent = 20;
// A window is quiet when it holds no more than this many times what a still one does and this share of a key frame ...
constexpr std::int64_t kQuietFactor = 2;
constexpr std::int64_t kQuietShare = 100;
// ... in a file whose still windows are small beside its key frames. Else sizes tell nothing: noise, or a fixed rate.
constexpr std::int64_t kTrustShare = 4;

std::int64_t percentile(std::vector<std::int64_t> values, std::size_t percent) {
    if (values.empty()) return 0;
    const auto place = values.begin() + static_cast<std::ptrdiff_t>((values.size() - 1) * percent / 100);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

}  // namespace

PacketMap PacketMap::read(MediaFile& file, const std::atomic<bool>* cancel) {
    PacketMap map;
    const AvPacket packet(av_packet_alloc());
    std::int64_t last = std::numeric_limits<std::int64_t>::min();
    std::int64_t first = std::numeric_limits<std::int64_t>::max();
    while (packet && file.readPacket(*packet)) {
        if (cancel != nullptr && cancel->load()) break;
        const std::int64_t dts = packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts;
        const bool key = (packet->flags & AV_PKT_FLAG_KEY) != 0;
        map.packets_.push_back({packet->pts, dts, 0, packet->size, key});
        first = std::min(first, packet->pts);
        last = std::max(last, packet->pts + std::max<std::int64_t>(packet->duration, 0));
    }
    if (map.packets_.empty()) return map;
    map.firstPts_ = first;
    for (PacketInfo& info : map.packets_) info.offset = file.toMs(info.pts - first);
    map.duration_ = file.toMs(last - first);
    return map;
}

std::vector<PacketMap::Group> PacketMap::groups() const {
    std::vector<Group> groups;
    for (std::size_t i = 0; i < packets_.size(); ++i) {
        if (packets_[i].key || groups.empty()) groups.push_back({i, i, false});
        groups.back().end = i + 1;
    }
    return groups;
}

void PacketMap::markQuiet(std::vector<Group>& groups) const {
    std::vector<std::int64_t> windows;
    std::vector<std::int64_t> loudest;
    std::vector<std::int64_t> keys;
    for (const Group& group : groups) {
        keys.push_back(packets_[group.first].bytes);
        std::vector<std::int64_t> inGroup;
        TimeMs windowEnd = std::numeric_limits<TimeMs>::min();
        for (std::size_t i = group.first + 1; i < group.end; ++i) {
            if (packets_[i].dts < packets_[group.first].dts) continue;
            if (packets_[i].offset >= windowEnd) {
                inGroup.push_back(0);
                windowEnd = packets_[i].offset + kWindow;
            }
            inGroup.back() += packets_[i].bytes;
        }
        loudest.push_back(inGroup.empty() ? 0 : *std::max_element(inGroup.begin(), inGroup.end()));
        windows.insert(windows.end(), inGroup.begin(), inGroup.end());
    }
    const std::int64_t still = percentile(windows, kStillPercent);
    const std::int64_t key = percentile(keys, 50);
    if (windows.empty() || still > key / kTrustShare) return;
    const std::int64_t limit = still * kQuietFactor + key / kQuietShare;
    for (std::size_t i = 0; i < groups.size(); ++i)
        groups[i].quiet = groups[i].end - groups[i].first > 1 && loudest[i] <= limit;
}

Stretch PacketMap::stretchOf(std::size_t first, std::size_t end) const {
    const bool toEnd = end == packets_.size();
    return {packets_[first].dts, toEnd ? std::numeric_limits<std::int64_t>::max() : packets_[end].dts,
            packets_[first].offset, toEnd ? duration_ : packets_[end].offset};
}

std::vector<Stretch> PacketMap::stretchesWithChange(TimeMs pieceLength) const {
    std::vector<Group> all = groups();
    markQuiet(all);
    std::vector<Stretch> stretches;
    std::size_t i = 0;
    while (i < all.size()) {
        if (all[i].quiet) {
            ++i;
            continue;
        }
        std::size_t end = i + 1;
        while (end < all.size() && !all[end].quiet &&
               packets_[all[end].first].offset - packets_[all[i].first].offset < pieceLength)
            ++end;
        stretches.push_back(stretchOf(all[i].first, all[end - 1].end));
        i = end;
    }
    return stretches;
}

}  // namespace korvane
