#include "korvane/apps/browser/RecordingLookup.h"

#include <optional>
#include <utility>

#include "korvane/apps/browser/RecordingsReply.h"

namespace korvane {

namespace {
constexpr int newestFirst = 0;
constexpr int oldestFirst = 1;
constexpr int pageSize = 20;
// The newest by start: the one that ends last is among them unless very many overlap.
constexpr int newestSize = 8;
}  // namespace

RecordingLookup::RecordingLookup(Scheduler& scheduler, const KorvaneHelpers& helpers,
                                 std::shared_ptr<KorvaneCamera> camera)
    : scheduler_(scheduler), helpers_(helpers), camera_(std::move(camera)) {}

void RecordingLookup::find(TimeMs moment, Found found) {
    cancel();
    const auto known = catalog_.find(moment);
    if (known.kind != RecordingCatalog::Kind::Unknown) return found(known, 0);
    ask(moment, -1, oldestFirst, pageSize,
        [this, moment, found = std::move(found)](const Reply& reply, std::int32_t status) {
            if (status != 0) return found({}, status);
            RecordingsPage page = readRecordings(reply, helpers_);
            catalog_.add(moment, std::move(page.recordings), page.hasMore);
            found(catalog_.find(moment), 0);
        });
}

void RecordingLookup::findLast(TimeMs until, Found found) {
    cancel();
    ask(-1, until, newestFirst, newestSize, [this, found = std::move(found)](const Reply& reply, std::int32_t status) {
        std::optional<Recording> last;
        for (const Recording& told : readRecordings(reply, helpers_).recordings) {
            const auto recording = catalog_.asFound(told);
            if (recording && (!last || recording->end > last->end)) last = recording;
        }
        if (status != 0 || !last) return found({}, status);
        found({RecordingCatalog::Kind::Inside, *last, last->start}, 0);
    });
}

void RecordingLookup::ask(TimeMs from, TimeMs until, int order, int limit,
                          std::function<void(const Reply& reply, std::int32_t status)> answered) {
    auto onMain = life_.guard(
        [this, question = question_, answered = std::move(answered)](const Reply& reply, std::int32_t status) {
            if (question == question_) answered(reply, status);
        });
    camera_->getRecords(
        from, until, order, limit, 0, [&scheduler = scheduler_, onMain](Reply reply, std::int32_t status) {
            scheduler.post([onMain, reply = std::move(reply), status]() mutable { onMain(reply, status); });
        });
}

}  // namespace korvane
