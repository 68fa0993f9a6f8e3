#include "tests/support/service/ScriptedCamera.h"

#include <utility>

#include "client/Status.h"

namespace korvane::test {

namespace {

ScriptedPage pageOf(const ScriptedRequest& r) {
    return {r.start, r.end, r.order, r.limit, r.offset};
}

}  // namespace

ScriptedService::Camera::Camera(std::shared_ptr<State> state, int connection)
    : state_(std::move(state)), connection_(connection) {}

std::int64_t ScriptedService::Camera::getID() const {
    const std::lock_guard lock(state_->mutex);
    return state_->footage.camid;
}

std::string ScriptedService::Camera::getTimezone() const {
    const std::lock_guard lock(state_->mutex);
    return state_->footage.timezone;
}

void ScriptedService::Camera::setFullSharedToken(const std::string& token) {
    ScriptedRequest r = request("setFullSharedToken");
    r.token = token;
    state_->note(r);
}

void ScriptedService::Camera::getEvents(TimeMs start, TimeMs end, const std::optional<std::string>& events, int order,
                                        std::int64_t limit, std::int64_t offset, ReplyCompletion onComplete) {
    ScriptedRequest r = request("getEvents");
    r.start = start;
    r.end = end;
    r.events = events;
    r.order = order;
    r.limit = limit;
    r.offset = offset;
    state_->ask(
        r, [&](ScriptedFootage& f) { return std::pair(f.events(pageOf(r), events), std::int32_t(StatusSuccess)); },
        std::move(onComplete));
}

std::optional<Reply> ScriptedService::Camera::getEventsSync(TimeMs start, TimeMs end,
                                                            const std::optional<std::string>& events, int order,
                                                            std::int64_t limit, std::int64_t offset) {
    ScriptedRequest r = request("getEventsSync");
    r.start = start;
    r.end = end;
    r.events = events;
    r.order = order;
    r.limit = limit;
    r.offset = offset;
    return state_->askSync(
        r, [&](ScriptedFootage& f) { return std::pair(f.events(pageOf(r), events), std::int32_t(StatusSuccess)); });
}

void ScriptedService::Camera::getRecords(TimeMs start, TimeMs end, int order, std::int64_t limit, std::int64_t offset,
                                         ReplyCompletion onComplete) {
    ScriptedRequest r = request("getRecords");
    r.start = start;
    r.end = end;
    r.order = order;
    r.limit = limit;
    r.offset = offset;
    state_->ask(
        r, [&](ScriptedFootage& f) { return std::pair(f.records(pageOf(r)), std::int32_t(StatusSuccess)); },
        std::move(onComplete));
}

void ScriptedService::Camera::getTimelineThumbnailsFull(TimeMs start, TimeMs end, const std::string&,
                                                        const std::vector<std::string>& originIds, std::int32_t limit,
                                                        std::int32_t offset, int order, ReplyCompletion onComplete) {
    ScriptedRequest r = request("getTimelineThumbnailsFull");
    r.start = start;
    r.end = end;
    r.order = order;
    r.limit = limit;
    r.offset = offset;
    r.originIds = originIds;
    state_->ask(
        r,
        [&](ScriptedFootage& f) { return std::pair(f.thumbnails(pageOf(r), originIds), std::int32_t(StatusSuccess)); },
        std::move(onComplete));
}

void ScriptedService::Camera::deleteEvent(std::int64_t event, ReplyCompletion onComplete) {
    ScriptedRequest r = request("deleteEvent");
    r.id = event;
    state_->ask(
        r,
        [&](ScriptedFootage& f) {
            constexpr std::int32_t notFound = 404;
            return f.removeEvent(event) ? std::pair(Reply("The event was deleted."), std::int32_t(StatusSuccess))
                                        : std::pair(Reply("There is no such event."), notFound);
        },
        std::move(onComplete));
}

void ScriptedService::Camera::getActivity(int, TimeMs start, TimeMs end, const std::optional<std::string>& events, int,
                                          int, std::int32_t limit, std::int32_t offset, ReplyCompletion onComplete) {
    ScriptedRequest r = request("getActivity");
    r.start = start;
    r.end = end;
    r.events = events;
    r.limit = limit;
    r.offset = offset;
    state_->ask(
        r, [&](ScriptedFootage& f) { return std::pair(f.activity(start, end, events), std::int32_t(StatusSuccess)); },
        std::move(onComplete));
}

std::shared_ptr<Timeline> ScriptedService::Camera::getTimelineSync(TimeMs start, TimeMs end) {
    ScriptedRequest r = request("getTimelineSync");
    r.start = start;
    r.end = end;
    std::shared_ptr<Timeline> result;
    const auto reply = state_->askSync(r, [&](ScriptedFootage& f) {
        result = std::make_shared<Timeline>(f.timeline(start, end));
        return std::pair(Reply(), std::int32_t(StatusSuccess));
    });
    return reply ? result : nullptr;
}

std::int32_t ScriptedService::Camera::getCalendar(TimeMs start, TimeMs end, std::int32_t limit, std::int32_t offset,
                                                  ReplyCompletion onComplete) {
    ScriptedRequest r = request("getCalendar");
    r.start = start;
    r.end = end;
    r.limit = limit;
    r.offset = offset;
    if (state_->lifeOf(connection_) != State::Life::Open) {
        state_->note(r);
        return StatusBadCall;
    }
    state_->ask(
        r, [&](ScriptedFootage& f) { return std::pair(f.calendar(), std::int32_t(StatusSuccess)); },
        std::move(onComplete));
    return StatusSuccess;
}

ScriptedRequest ScriptedService::Camera::request(std::string name) const {
    ScriptedRequest r;
    r.name = std::move(name);
    r.connection = connection_;
    return r;
}

}  // namespace korvane::test
