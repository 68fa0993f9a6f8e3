#pragma once

#include <memory>
#include <string>

#include "korvane/client/KorvaneCamera.h"
#include "korvane/client/http/HttpSession.h"

namespace korvane {

/// A camera over HTTP. Replies are passed on as the service gave them, whatever JSON they are: their readers check what
/// they need. Only addresses that are neither http nor https are left out. The service takes at most 1000 for a limit.
class HttpCamera final : public KorvaneCamera {
  public:
    HttpCamera(std::shared_ptr<HttpSession> session, std::int64_t id, std::string zone);

    std::int64_t getID() const override;
    std::string getTimezone() const override;
    /// Does nothing: requests carry the bearer of the connection, which its update() renews.
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
    void cancelSyncRequests() override;

  private:
    std::string path() const;
    void get(const std::string& target, ReplyCompletion onComplete);
    HttpResult getSync(const std::string& target);

    const std::shared_ptr<HttpSession> session_;
    const std::int64_t id_;
    const std::string timezone_;
    const HttpTransport::Group syncRequests_ = HttpSession::makeGroup();
};

}  // namespace korvane
