#include "korvane/views/timeline/Model/ScrubberRecords/ScrubberRecordsDataProvider.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "korvane/base/SaturatingTime.h"
#include "korvane/views/timeline/Model/ReplyValues.h"

namespace korvane {
namespace {

// Equal for texts that equalKeys() takes for equal: letters differ from their other case in one bit.
struct AnyCaseHash {
    std::size_t operator()(std::string_view text) const {
        std::size_t hash = 0;
        for (const char c : text) hash = hash * 31 + static_cast<std::size_t>(c | 0x20);
        return hash;
    }
};

struct AnyCaseEqual {
    bool operator()(std::string_view a, std::string_view b) const { return equalKeys(a, b); }
};

std::vector<std::string> idsOf(const Reply& records) {
    std::vector<std::string> ids;
    for (const Reply& record : records) {
        const Reply* id = findMemberAnyCase(record, "id");
        if (!id) continue;
        ids.push_back(textValue(id).value_or(id->dump(-1, ' ', false, Reply::error_handler_t::replace)));
    }
    return ids;
}

// Gives each thumbnail to the first recording that starts at its time.
void joinThumbnails(Reply& records, const Reply& thumbnails) {
    std::unordered_map<std::string, std::size_t, AnyCaseHash, AnyCaseEqual> firstAt;
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (auto start = textValue(findMemberAnyCase(records[i], "start"))) firstAt.try_emplace(std::move(*start), i);
    }
    for (const Reply& thumbnail : thumbnails) {
        const auto time = textValue(findMember(thumbnail, "time"));
        const auto url = textValue(findMember(thumbnail, "url"));
        if (!time || time->empty() || !url) continue;
        if (const auto found = firstAt.find(*time); found != firstAt.end()) records[found->second]["thumb_url"] = *url;
    }
}

}  // namespace

ScrubberRecordsDataProvider::ScrubberRecordsDataProvider(Scheduler& scheduler, KorvaneService& service)
    : ScrubberPagedDataProvider("ScrubberRecordsDataProvider", scheduler, service) {}

void ScrubberRecordsDataProvider::requestPage(KorvaneCamera& camera, const PageQuery& query,
                                              ReplyCompletion onComplete) {
    camera.getRecords(query.start, query.end, query.isAscending ? 1 : 0, query.limit, query.offset,
                      std::move(onComplete));
}

void ScrubberRecordsDataProvider::completePage(const PageQuery& query, Reply objects,
                                               const std::function<void(Reply objects)>& onComplete) {
    const auto camera = cam();
    if (!camera) return;
    const auto ids = idsOf(objects);
    camera->getTimelineThumbnailsFull(
        query.start, query.end, "recording_thumbnail", ids, static_cast<std::int32_t>(query.limit),
        static_cast<std::int32_t>(query.offset), query.isAscending ? 1 : 0,
        [records = std::move(objects), onComplete](const Reply& reply, std::int32_t status) {
            // A copy: a service that answers twice is to give the same page twice.
            Reply joined = records;
            const Reply* thumbnails = status == StatusSuccess ? findMember(reply, "objects") : nullptr;
            if (thumbnails && thumbnails->is_array()) joinThumbnails(joined, *thumbnails);
            onComplete(std::move(joined));
        });
}

void ScrubberRecordsDataProvider::readElement(ScrubberEvent::Fields& event, const Reply& element,
                                              const KorvaneCamera* camera) const {
    event.camid = camera ? camera->getID() : 0;
    event.name = "record_segment";
    forEachMember(element, [&](std::string_view key, const Reply& value) {
        if (equalKeys(key, "id")) {
            event.identificator = integerValue(&value);
        } else if (equalKeys(key, "camid")) {
            event.camid = integerValue(&value);
        } else if (equalKeys(key, "start")) {
            event.time = textValue(&value);
            event.timeAsValue = helpers().parseUTCtime(event.time.value_or(""));
            event.start = saturatingSubtract(event.timeAsValue, 1);
        } else if (equalKeys(key, "end")) {
            event.end = helpers().parseUTCtime(textValue(&value).value_or(""));
        } else if (equalKeys(key, "url")) {
            event.videoUrl = textValue(&value);
        } else if (equalKeys(key, "thumb_url")) {
            event.imageUrl = textValue(&value);
        }
    });
}

bool ScrubberRecordsDataProvider::joins(const ScrubberEvent::Fields& previous,
                                        const ScrubberEvent::Fields& current) const {
    return saturatingSubtract(previous.start, current.end) <= groupDistance;
}

void ScrubberRecordsDataProvider::startGroup(ScrubberEvent::Fields& group, const ScrubberEvent::Fields& first) const {
    group.start = first.start;
    group.end = first.end;
    group.videoUrl = first.videoUrl;
}

void ScrubberRecordsDataProvider::extendGroup(ScrubberEvent::Fields& group, const ScrubberEvent::Fields& member) const {
    group.start = member.start;
    group.videoUrl = member.videoUrl;
}

}  // namespace korvane
