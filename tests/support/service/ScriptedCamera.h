#pragma once

#include "tests/support/service/ScriptedState.h"

namespace korvane::test {

/// The camera of a scripted service, on one connection.
class ScriptedService::Camera final : public KorvaneCamera {
  public:
    Camera(std::shared_ptr<State> state, int connection);

    std::int64_t getID() const override;
    std::string getTimezone() const override;
    void setFullSharedToken(const std::string& token) override;
    void getEvents(TimeMs start, TimeMs end, const std::optional<std::string>& events, int order, std::int64_t limit,
                   std::int64_t offset, ReplyCompletion onComplete) override;
    std::optional<Reply> getEventsSync(TimeMs start, TimeMs end, const std::optional<std::string>& events, int order,
                                       std::int64_t limit, std::int64_t offset) override;
    void getRecords(TimeMs start, TimeMs end, int order, std::int64_t limit, std::int64_t offset,
                    ReplyCompletion onComplete) override;
    void getTimelineThumbnailsFull(TimeMs start, TimeMs end, const std::string& origin,
                                   const std::vector<std::string>& originIds, std::int32_t limit, std::int32_t offset,
                                   int order, ReplyCompletion onComplete) override;
    void deleteEvent(std::int64_t event, ReplyCompletion onComplete) override;
    void getActivity(int activity, TimeMs start, TimeMs end, const std::optional<std::string>& events, int boundstime,
                     int daysincamtz, std::int32_t limit, std::int32_t offset, ReplyCompletion onComplete) override;
    std::shared_ptr<Timeline> getTimelineSync(TimeMs start, TimeMs end) override;
    std::int32_t getCalendar(TimeMs start, TimeMs end, std::int32_t limit, std::int32_t offset,
                             ReplyCompletion onComplete) override;

  private:
    ScriptedRequest request(std::string name) const;

    const std::shared_ptr<State> state_;
    const int connection_;
};

}  // namespace korvane::test
