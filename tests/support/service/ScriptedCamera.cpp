#include "korvane/tests/support/service/ScriptedState.h"

namespace korvane::test {

/// The camera of a scripted service, on one connection.
class ScriptedService::Camera final : public KorvaneCamera {
  public:
    Camera(std::shared_ptr<State> state, int connection) : state_(std::move(state)), connection_(connection) {}

    std::int64_t getID() const override {
        const std::lock_guard lock(state_->mutex);
        return state_->footage.camid;
    }

    std::string getTimezone() const override {
        const std::lock_guard lock(state_->mutex);
        return state_->footage.timezone;
    }

    void setFullSharedToken(const std::string& token) override {
        state_->note({{}, "setFullSharedToken", connection_, {}, 0, token});
    }

    void getEvents(TimeMs start, TimeMs end, const std::optional<std::string>& events, int order, std::int64_t limit,
                   std::int64_t offset, ReplyCompletion onComplete) override {
        state_->ask({{start, end, order, limit, offset}, "getEvents", connection_, events}, findEvents,
                    std::move(onComplete));
    }

    std::optional<Reply> getEventsSync(TimeMs start, TimeMs end, const std::optional<std::string>& events, int order,
                                       std::int64_t limit, std::int64_t offset) override {
        return state_->askSync({{start, end, order, limit, offset}, "getEventsSync", connection_, events}, findEvents,
                               this);
    }

    void getRecords(TimeMs start, TimeMs end, int order, std::int64_t limit, std::int64_t offset,
                    ReplyCompletion onComplete) override {
        const auto find = [](ScriptedFootage& f, const ScriptedRequest& r) { return f.records(r); };
        state_->ask({{start, end, order, limit, offset}, "getRecords", connection_}, find, std::move(onComplete));
    }

    void getTimelineThumbnailsFull(TimeMs start, TimeMs end, const std::string&,
                                   const std::vector<std::string>& originIds, std::int32_t limit, std::int32_t offset,
                                   int order, ReplyCompletion onComplete) override {
        const auto find = [&](ScriptedFootage& f, const ScriptedRequest& r) { return f.thumbnails(r, originIds); };
        state_->ask({{start, end, order, limit, offset}, "getTimelineThumbnailsFull", connection_}, find,
                    std::move(onComplete));
    }

    void deleteEvent(std::int64_t event, ReplyCompletion onComplete) override {
        const auto remove = [](ScriptedFootage& f, const ScriptedRequest& r) -> State::Answer {
            if (f.removeEvent(r.id)) return {"The event was deleted."};
            return {"There is no such event.", State::notFound};
        };
        state_->ask({{}, "deleteEvent", connection_, {}, event}, remove, std::move(onComplete));
    }

    void getActivity(int, TimeMs start, TimeMs end, const std::optional<std::string>& events, int, int,
                     std::int32_t limit, std::int32_t offset, ReplyCompletion onComplete) override {
        const auto find = [](ScriptedFootage& f, const ScriptedRequest& r) {
            return f.activity(r.start, r.end, r.events);
        };
        state_->ask({{start, end, 0, limit, offset}, "getActivity", connection_, events}, find, std::move(onComplete));
    }

    std::shared_ptr<Timeline> getTimelineSync(TimeMs start, TimeMs end) override {
        const auto find = [](ScriptedFootage& f, const ScriptedRequest& r) {
            Reply pairs = Reply::array();
            const Timeline stored = f.timeline(r.start, r.end);
            for (const auto& period : *stored.periods()) pairs.push_back({period.start(), period.end()});
            return pairs;
        };
        const auto pairs = state_->askSync({{start, end}, "getTimelineSync", connection_}, find, this);
        if (!pairs) return nullptr;
        auto timeline = std::make_shared<Timeline>(start, end);
        if (pairs->is_null()) return timeline;
        std::vector<TimelinePair> periods;
        for (const Reply& pair : *pairs) periods.emplace_back(pair.at(0).get<TimeMs>(), pair.at(1).get<TimeMs>());
        timeline->setPeriods(std::move(periods));
        return timeline;
    }

    std::int32_t getCalendar(TimeMs start, TimeMs end, std::int32_t limit, std::int32_t offset,
                             ReplyCompletion onComplete) override {
        const auto find = [](ScriptedFootage& f, const ScriptedRequest& r) {
            return Reply(f.recordedDays(r.start, r.end > 0 ? r.end : -1));
        };
        if (state_->lifeOf(connection_) != State::Life::Open) return StatusClosed;
        state_->ask({{start, end, 0, limit, offset}, "getCalendar", connection_}, find, std::move(onComplete));
        return StatusSuccess;
    }

    void cancelSyncRequests() override { state_->endSyncRequestsOf(this); }

  private:
    static State::Answer findEvents(ScriptedFootage& f, const ScriptedRequest& r) { return f.events(r, r.events); }

    const std::shared_ptr<State> state_;
    const int connection_;
};

std::shared_ptr<KorvaneCamera> ScriptedService::State::makeCamera(int connection) {
    return std::make_shared<Camera>(shared_from_this(), connection);
}

}  // namespace korvane::test
