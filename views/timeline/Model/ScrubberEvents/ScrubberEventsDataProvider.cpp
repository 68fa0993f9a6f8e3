#include "korvane/views/timeline/Model/ScrubberEvents/ScrubberEventsDataProvider.h"

#include <utility>

#include "korvane/base/SaturatingTime.h"
#include "korvane/views/timeline/Model/ReplyValues.h"

namespace korvane {
namespace {

constexpr TimeMs spanBefore = 5000;
constexpr TimeMs spanAfter = 45000;

// A thumbnail without a URL leaves the picture as it is, something else than an object in its place takes it away.
void readThumb(ScrubberEvent::Fields& event, const Reply* thumb) {
    if (!thumb || !thumb->is_object()) {
        event.imageUrl.reset();
    } else if (const Reply* url = findMemberAnyCase(*thumb, "url")) {
        event.imageUrl = textValue(url);
    }
}

}  // namespace

ScrubberEventsDataProvider::ScrubberEventsDataProvider(Scheduler& scheduler, KorvaneService& service)
    : ScrubberPagedDataProvider("ScrubberEventsDataProvider", scheduler, service) {}

void ScrubberEventsDataProvider::requestPage(KorvaneCamera& camera, const PageQuery& query,
                                             ReplyCompletion onComplete) {
    camera.getEvents(query.start, query.end, query.eventType, query.isAscending ? 1 : 0, query.limit, query.offset,
                     std::move(onComplete));
}

void ScrubberEventsDataProvider::readElement(ScrubberEvent::Fields& event, const Reply& element,
                                             const KorvaneCamera* /*camera*/) const {
    forEachMember(element, [&](std::string_view key, const Reply& value) {
        if (equalKeys(key, "id")) {
            event.identificator = integerValue(&value);
        } else if (equalKeys(key, "camid")) {
            event.camid = integerValue(&value);
        } else if (equalKeys(key, "name")) {
            // This and the next two are known in any case, but only the exact spelling has a value.
            event.name = textValue(findMember(element, "name"));
        } else if (equalKeys(key, "time")) {
            event.time = textValue(findMember(element, "time"));
            event.timeAsValue = helpers().parseUTCtime(event.time.value_or(""));
            event.start = saturatingAdd(event.timeAsValue, -spanBefore);
            event.end = saturatingAdd(event.timeAsValue, spanAfter);
        } else if (equalKeys(key, "thumb")) {
            readThumb(event, findMember(element, "thumb"));
        }
    });
}

bool ScrubberEventsDataProvider::joins(const ScrubberEvent::Fields& previous,
                                       const ScrubberEvent::Fields& current) const {
    // No lower bound: oldest first, every element joins the one before it.
    return saturatingSubtract(previous.timeAsValue, current.timeAsValue) <= groupDistance;
}

void ScrubberEventsDataProvider::startGroup(ScrubberEvent::Fields& group, const ScrubberEvent::Fields& first) const {
    group.start = saturatingAdd(first.timeAsValue, -spanBefore);
    group.end = saturatingAdd(first.timeAsValue, spanAfter);
}

void ScrubberEventsDataProvider::extendGroup(ScrubberEvent::Fields& group, const ScrubberEvent::Fields& member) const {
    group.start = saturatingAdd(member.timeAsValue, -spanBefore);
}

}  // namespace korvane
