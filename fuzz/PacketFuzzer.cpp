#include <cstdlib>
#include <cstring>

#include "korvane/film/worker/FileBytes.h"
#include "korvane/film/worker/PacketMap.h"
#include "korvane/fuzz/Law.h"

namespace korvane {
namespace {

std::string_view fed;
std::uint64_t place = 0;

template <typename Number>
Number next() {
    Number number{};
    const std::size_t size = std::min(fed.size(), sizeof number);
    std::memcpy(&number, fed.data(), size);
    fed.remove_prefix(size);
    return number;
}

}  // namespace

// In place of libav's: packets are what the input says. A program that links this has no other.
Result<std::unique_ptr<MediaFile>> MediaFile::open(int) {
    return std::unique_ptr<MediaFile>(new MediaFile(AvSource(std::make_unique<FileBytes>(-1)), AvInput(), 0));
}

bool MediaFile::readPacket(AVPacket& packet) {
    if (fed.empty()) return false;
    const auto flags = next<std::uint8_t>();
    // Small steps, and now and then anywhere.
    place = (flags & 2U) != 0 ? next<std::uint64_t>() : place + next<std::uint8_t>();
    packet.pts = static_cast<std::int64_t>(place);
    packet.dts = (flags & 4U) != 0 ? AV_NOPTS_VALUE : packet.pts;
    packet.duration = (flags & 8U) != 0 ? next<std::int64_t>() : next<std::uint8_t>();
    packet.size = (next<std::int16_t>() & 0x7fff) * ((flags & 16U) != 0 ? 65'536 : 1);
    packet.flags = flags & 1U;
    return packet.pts != AV_NOPTS_VALUE;
}

TimeMs MediaFile::toMs(std::int64_t streamTime) const {
    return av_rescale_q(streamTime, {1, 90'000}, {1, 1000});
}

}  // namespace korvane

using namespace korvane;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    place = 0;
    fed = {reinterpret_cast<const char*>(data), size};
    const auto file = MediaFile::open(-1);
    const PacketMap map = PacketMap::read(**file);
    for (const Stretch& stretch : map.stretchesWithChange(1000)) require(!stretch.empty(), "a stretch has pictures");
    return 0;
}
