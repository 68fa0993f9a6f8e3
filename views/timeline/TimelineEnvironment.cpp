#include "korvane/views/timeline/TimelineEnvironment.h"

#include <utility>

namespace korvane {
namespace {

TimelineEnvironment& sharedEnvironment() {
    static TimelineEnvironment environment;
    return environment;
}

}  // namespace

const TimelineEnvironment& TimelineEnvironment::shared() {
    return sharedEnvironment();
}

void TimelineEnvironment::setShared(TimelineEnvironment environment) {
    sharedEnvironment() = std::move(environment);
}

}  // namespace korvane
