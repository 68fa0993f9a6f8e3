#include "korvane/apps/browser/RecordingsReply.h"

#include <optional>
#include <string>

namespace korvane {

namespace {

std::optional<std::string> textOf(const Reply& object, std::string_view key) {
    const Reply* value = findMemberAnyCase(object, key);
    if (!value || !value->is_string()) return {};
    return value->get<std::string>();
}

std::optional<Recording> readRecording(const Reply& object, const KorvaneHelpers& helpers) {
    const auto start = textOf(object, "start");
    const auto end = textOf(object, "end");
    const auto url = textOf(object, "url");
    if (!start || !end || !url || url->empty()) return {};
    Recording recording{0, helpers.parseUTCtime(*start), helpers.parseUTCtime(*end), *url};
    if (recording.start < 0 || recording.end < 0) return {};
    if (const Reply* id = findMemberAnyCase(object, "id"); id && id->is_number_integer())
        recording.id = id->get<std::int64_t>();
    return recording;
}

}  // namespace

RecordingsPage readRecordings(const Reply& reply, const KorvaneHelpers& helpers) {
    RecordingsPage page;
    const Reply* objects = findMember(reply, "objects");
    if (!objects || !objects->is_array()) return page;
    for (const Reply& object : *objects) {
        if (auto recording = readRecording(object, helpers)) page.recordings.push_back(std::move(*recording));
    }
    const Reply* meta = findMember(reply, "meta");
    const Reply* total = meta ? findMember(*meta, "total_count") : nullptr;
    if (total && total->is_number_integer())
        page.hasMore = total->get<std::int64_t>() > static_cast<std::int64_t>(objects->size());
    return page;
}

}  // namespace korvane
