#include "korvane/client/http/HttpCamera.h"

#include <algorithm>
#include <utility>

#include "korvane/client/Status.h"
#include "korvane/client/http/HttpQuery.h"

namespace korvane {
namespace {

struct Page {
    TimeMs start;
    TimeMs end;
    int order;
    std::int64_t limit;
    std::int64_t offset;
};

HttpQuery& addPage(HttpQuery& query, const Page& page) {
    return query.add("start", page.start)
        .add("end", page.end)
        .add("order", page.order)
        .add("limit", page.limit)
        .add("offset", page.offset);
}

std::string eventsTarget(const std::string& camera, const Page& page, const std::optional<std::string>& events) {
    HttpQuery query(camera + "/events");
    addPage(query, page);
    if (events) query.add("type", *events);
    return query.text();
}

/// Nothing when the element is not a pair of ascending times.
std::optional<TimelinePair> readPeriod(const Reply& element) {
    if (!element.is_array() || element.size() != 2) return std::nullopt;
    if (!element[0].is_number_integer() || !element[1].is_number_integer()) return std::nullopt;
    const TimelinePair period(element[0].get<std::int64_t>(), element[1].get<std::int64_t>());
    return period.start() <= period.end() ? std::optional(period) : std::nullopt;
}

/// Ascending and not overlapping whatever the service sent, since the search over them needs it.
std::vector<TimelinePair> readPeriods(const Reply& elements) {
    std::vector<TimelinePair> found;
    for (const Reply& element : elements) {
        if (const auto period = readPeriod(element)) found.push_back(*period);
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const TimelinePair& a, const TimelinePair& b) { return a.start() < b.start(); });
    std::vector<TimelinePair> merged;
    for (const TimelinePair& period : found) {
        if (merged.empty() || merged.back().end() < period.start()) {
            merged.push_back(period);
        } else {
            merged.back().setEnd(std::max(merged.back().end(), period.end()));
        }
    }
    return merged;
}

Reply messageOf(Reply reply) {
    if (reply.is_string()) return reply;
    const Reply* message = findMember(reply, "message");
    return message && message->is_string() ? *message : Reply();
}

}  // namespace

HttpCamera::HttpCamera(std::shared_ptr<HttpSession> session, std::int64_t id, std::string zone)
    : session_(std::move(session)), id_(id), timezone_(std::move(zone)) {}

std::int64_t HttpCamera::getID() const {
    return id_;
}

std::string HttpCamera::getTimezone() const {
    return timezone_;
}

void HttpCamera::setFullSharedToken(const std::string&) {}

void HttpCamera::getEvents(TimeMs start, TimeMs end, const std::optional<std::string>& events, int order,
                           std::int64_t limit, std::int64_t offset, ReplyCompletion onComplete) {
    get(eventsTarget(path(), {start, end, order, limit, offset}, events), std::move(onComplete));
}

std::optional<Reply> HttpCamera::getEventsSync(TimeMs start, TimeMs end, const std::optional<std::string>& events,
                                               int order, std::int64_t limit, std::int64_t offset) {
    HttpResult result = getSync(eventsTarget(path(), {start, end, order, limit, offset}, events));
    if (result.status != StatusSuccess) return std::nullopt;
    return std::move(result.reply);
}

void HttpCamera::getRecords(TimeMs start, TimeMs end, int order, std::int64_t limit, std::int64_t offset,
                            ReplyCompletion onComplete) {
    HttpQuery query(path() + "/records");
    get(addPage(query, {start, end, order, limit, offset}).text(), std::move(onComplete));
}

void HttpCamera::getTimelineThumbnailsFull(TimeMs start, TimeMs end, const std::string& origin,
                                           const std::vector<std::string>& originIds, std::int32_t limit,
                                           std::int32_t offset, int order, ReplyCompletion onComplete) {
    HttpQuery query(path() + "/thumbnails");
    addPage(query, {start, end, order, limit, offset}).add("origin", origin);
    if (!originIds.empty()) query.add("origin_ids", originIds);
    get(query.text(), std::move(onComplete));
}

void HttpCamera::deleteEvent(std::int64_t event, ReplyCompletion onComplete) {
    if (!onComplete) onComplete = [](const Reply&, std::int32_t) {};
    session_->request(HttpMethod::Delete, path() + "/events/" + std::to_string(event),
                      [onComplete = std::move(onComplete)](Reply reply, std::int32_t status) {
                          onComplete(messageOf(std::move(reply)), status);
                      });
}

void HttpCamera::getActivity(int, TimeMs start, TimeMs end, const std::optional<std::string>& events, int boundstime,
                             int daysincamtz, std::int32_t limit, std::int32_t offset, ReplyCompletion onComplete) {
    HttpQuery query(path() + "/activity");
    query.add("start", start).add("end", end);
    if (events) query.add("events", *events);
    query.add("boundstime", boundstime).add("daysincamtz", daysincamtz).add("limit", limit).add("offset", offset);
    get(query.text(), std::move(onComplete));
}

std::shared_ptr<Timeline> HttpCamera::getTimelineSync(TimeMs start, TimeMs end) {
    HttpQuery query(path() + "/timeline");
    const HttpResult result = getSync(query.add("start", start).add("end", end).text());
    if (result.status != StatusSuccess) return nullptr;
    const Reply* periods = findMember(result.reply, "periods");
    if (!periods || !periods->is_array()) return nullptr;
    auto timeline = std::make_shared<Timeline>(start, end);
    timeline->setPeriods(readPeriods(*periods));
    return timeline;
}

std::int32_t HttpCamera::getCalendar(TimeMs start, TimeMs end, std::int32_t limit, std::int32_t offset,
                                     ReplyCompletion onComplete) {
    if (const std::int32_t status = session_->status(); status != StatusSuccess) return status;
    HttpQuery query(path() + "/calendar");
    get(query.add("start", start).add("end", end).add("limit", limit).add("offset", offset).text(),
        std::move(onComplete));
    return StatusSuccess;
}

void HttpCamera::cancelSyncRequests() {
    session_->cancel(syncRequests_);
}

std::string HttpCamera::path() const {
    return "/cameras/" + std::to_string(id_);
}

void HttpCamera::get(const std::string& target, ReplyCompletion onComplete) {
    session_->request(HttpMethod::Get, target, std::move(onComplete));
}

HttpResult HttpCamera::getSync(const std::string& target) {
    return session_->requestSync(HttpMethod::Get, target, syncRequests_);
}

}  // namespace korvane
