#include <nlohmann/json.hpp>

#include "korvane/base/UtcTime.h"
#include "korvane/fuzz/Law.h"
#include "korvane/server/EventList.h"

using namespace korvane;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> reasons;
    const auto events = readEventList({reinterpret_cast<const char*>(data), size}, reasons);
    require(reasons.size() <= 21, "a bad list is told of briefly");

    auto written = nlohmann::json::array();
    for (const NewEvent& event : events) written.push_back({{"time", formatUtc(event.time)}, {"name", event.name}});
    std::vector<std::string> none;
    const auto again = readEventList(written.dump(), none);
    require(none.empty() && again.size() == events.size(), "a list written again is good");
    for (std::size_t i = 0; i < events.size(); ++i)
        require(again[i].time == events[i].time && again[i].name == events[i].name, "an event reads the same");
    return 0;
}
