#include "korvane/film/worker/PacketMap.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "korvane/base/SaturatingTime.h"

namespace korvane {
namespace {

constexpr TimeMs window = 500;
// Of the windows of a file this share is taken to be still.
constexpr std::size_t stillPercent = 20;
// A window is quiet when it holds no more than this many times what a still one does and this share of a key frame ...
constexpr std::int64_t quietFactor = 2;
constexpr std::int64_t quietShare = 100;
// ... in a file whose still windows are small beside its key frames. Else sizes tell nothing: noise, or a fixed rate.
constexpr std::int64_t trustShare = 4;

std::int64_t percentile(std::vector<std::int64_t> values, std::size_t percent) {
    if (values.empty()) return 0;
    const auto place = values.begin() + static_cast<std::ptrdiff_t>((values.size() - 1) * percent / 100);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

}  // namespace

PacketMap PacketMap::read(MediaFile& file) {
    PacketMap map;
    const AvPacket packet(av_packet_alloc());
    std::int64_t last = std::numeric_limits<std::int64_t>::min();
    std::int64_t first = std::numeric_limits<std::int64_t>::max();
    while (packet && file.readPacket(*packet)) {
        const std::int64_t dts = packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts;
        const bool key = (packet->flags & AV_PKT_FLAG_KEY) != 0;
        map.packets_.push_back({packet->pts, dts, 0, packet->size, key});
        first = std::min(first, packet->pts);
        last = std::max(last, saturatingAdd(packet->pts, std::max<std::int64_t>(packet->duration, 0)));
    }
    if (map.packets_.empty()) return map;
    map.firstPts_ = first;
    for (PacketInfo& info : map.packets_) info.offset = file.toMs(saturatingSubtract(info.pts, first));
    map.duration_ = file.toMs(saturatingSubtract(last, first));
    return map;
}

std::vector<PacketMap::Group> PacketMap::groups() const {
    std::vector<Group> groups;
    for (std::size_t i = 0; i < packets_.size(); ++i) {
        if (packets_[i].key || groups.empty()) groups.push_back({i, i, {}, 0, 0, false, false});
        groups.back().end = i + 1;
    }
    for (Group& group : groups) measure(group);
    return groups;
}

void PacketMap::measure(Group& group) const {
    TimeMs windowEnd = std::numeric_limits<TimeMs>::min();
    for (std::size_t i = group.first + 1; i < group.end; ++i) {
        if (packets_[i].offset >= windowEnd) {
            group.windows.push_back(0);
            windowEnd = saturatingAdd(packets_[i].offset, window);
        }
        group.windows.back() += packets_[i].bytes;
    }
    if (group.windows.empty()) return;
    group.loudest = *std::max_element(group.windows.begin(), group.windows.end());
    // The last one is cut short by the next key frame.
    if (group.windows.size() > 1) group.windows.pop_back();
    const auto [least, most] = std::minmax_element(group.windows.begin(), group.windows.end());
    group.even = *least * 2 >= *most;
    group.mean = std::accumulate(group.windows.begin(), group.windows.end(), std::int64_t{0}) /
                 static_cast<std::int64_t>(group.windows.size());
}

std::int64_t PacketMap::stillWindow(const std::vector<Group>& groups) const {
    std::vector<std::int64_t> windows;
    for (const Group& group : groups) windows.insert(windows.end(), group.windows.begin(), group.windows.end());
    return percentile(std::move(windows), stillPercent);
}

void PacketMap::markQuiet(std::vector<Group>& groups, std::int64_t still) const {
    std::vector<std::int64_t> keys;
    for (const Group& group : groups) keys.push_back(packets_[group.first].bytes);
    const std::int64_t key = percentile(std::move(keys), 50);
    if (still > key / trustShare) return;
    const std::int64_t limit = still * quietFactor + key / quietShare;
    for (Group& group : groups) group.quiet = !group.windows.empty() && group.loudest <= limit;
}

PictureGroup PacketMap::describe(const std::vector<Group>& groups, std::size_t index, std::int64_t still) const {
    const Group& group = groups[index];
    const bool last = group.end == packets_.size();
    PictureGroup picture;
    picture.seekTo = packets_[group.first].dts;
    picture.endTime = last ? std::numeric_limits<std::int64_t>::max() : packets_[group.end].dts;
    picture.begin = packets_[group.first].offset;
    picture.end = last ? duration_ : packets_[group.end].offset;
    const auto alike = [&group](const Group& other) {
        return other.even && other.mean * 3 >= group.mean * 2 && other.mean * 2 <= group.mean * 3;
    };
    picture.steady = group.even && (index == 0 || alike(groups[index - 1])) &&
                     (index + 1 == groups.size() || alike(groups[index + 1]));
    picture.usual = group.mean * 4 <= still * 5;
    return picture;
}

std::vector<Stretch> PacketMap::stretchesWithChange(TimeMs pieceLength) const {
    std::vector<Group> all = groups();
    const std::int64_t still = stillWindow(all);
    markQuiet(all, still);
    std::vector<Stretch> stretches;
    bool open = false;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i].quiet) {
            open = false;
            continue;
        }
        PictureGroup next = describe(all, i, still);
        if (!open || saturatingSubtract(next.begin, stretches.back().front().begin) >= pieceLength)
            stretches.emplace_back();
        stretches.back().push_back(next);
        open = true;
    }
    return stretches;
}

}  // namespace korvane
