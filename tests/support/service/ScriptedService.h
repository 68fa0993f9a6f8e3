#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string_view>

#include "korvane/base/Scheduler.h"
#include "korvane/client/KorvaneService.h"
#include "korvane/tests/support/service/ScriptedFootage.h"

namespace korvane::test {

/// One request as it was made. `name` is the function of the surface: "openSync", "update", "close", "getCamera",
/// "setFullSharedToken", "getEvents", "getEventsSync", "getRecords", "getTimelineThumbnailsFull", "deleteEvent",
/// "getActivity", "getTimelineSync", "getCalendar". Fields that it does not have keep their defaults.
struct ScriptedRequest : ScriptedPage {
    std::string name{};
    /// Counts connections from 1 in the order in which they were made.
    int connection = 0;
    std::optional<std::string> events{};
    /// Camera of getCamera, event of deleteEvent.
    std::int64_t id = 0;
    /// Of openSync, update (the bearer) and setFullSharedToken (the whole token).
    std::string token{};
    std::string baseUrl{};
};

/// How one request is answered. As it stands: at once and truly.
struct Script {
    /// Waits to be released. A synchronous call blocks its caller meanwhile.
    bool isHeld = false;
    /// Comes that much later.
    std::chrono::milliseconds delay{0};
    /// Something else than the footage's answer. For getCamera, the error text; for getTimelineSync, the periods as
    /// pairs of start and end, or null for none.
    std::optional<Reply> reply{};
    /// Other than 0, the request fails, with `reply` or a text. A synchronous call then gives nothing.
    std::int32_t status = 0;
    /// Comes although the connection has been closed meanwhile, as a reply does that was already on its way.
    bool isUnstoppable = false;
    /// Last change of a true reply before it is given.
    std::function<void(Reply&)> alter{};

    static Script held() { return {.isHeld = true}; }
    static Script late(std::chrono::milliseconds delay) { return {.delay = delay}; }
    static Script failed(std::int32_t status) { return {.status = status}; }
    static Script answered(Reply reply) { return {.reply = std::move(reply)}; }
    static Script altered(std::function<void(Reply&)> alter) { return {.alter = std::move(alter)}; }
};

/// A service with one camera in memory. Each answer can be held, delayed, reordered, failed or replaced; each request
/// is written down. Completions run one after the other on background threads of the scheduler, never on the caller's
/// stack. Tokens and expiry monitors are the real ones. All functions may be called from any thread.
class ScriptedService final : public KorvaneService {
  public:
    /// `scheduler` is a virtual or a real one and outlives the service.
    explicit ScriptedService(Scheduler& scheduler);

    /// Drops answers that have not been given.
    ~ScriptedService() override;

    /// Looks at or changes what the camera has stored. `use` calls nothing else here.
    void withFootage(const std::function<void(ScriptedFootage&)>& use);

    /// `count` events of 30 s distance, the newest `newest`, ids 1 and up from the oldest.
    void addEvents(std::int64_t count, TimeMs newest, const std::string& name = "motion");

    /// A whole token for the camera, good for an hour of the scheduler's clock.
    std::string makeToken() const;
    /// A whole token of these keys; an empty `expires` never expires.
    std::string makeToken(std::int64_t camid, const std::string& expires,
                          const std::string& svcp = "http://127.0.0.1:1", const std::string& bearer = "bearer") const;

    /// The answer to the next request of that name that has none yet; more wait in a queue.
    void scriptNext(const std::string& name, Script script);
    /// The answer to each request of that name for which none waits in the queue.
    void scriptAll(const std::string& name, Script script);

    /// Requests from now on are answered at once and truly.
    void clearScripts();

    /// Requests whose answers are held, in the order of the requests.
    std::vector<ScriptedRequest> held() const;
    /// Gives all held answers, the first request's first.
    void releaseAll();
    /// Gives all held answers, the last request's first.
    void releaseAllReversed();

    /// All requests so far in order, or those of one name.
    std::vector<ScriptedRequest> requests(std::string_view name = {}) const;
    std::size_t count(std::string_view name) const;
    /// Forgets the requests so far.
    void clearRequests();
    /// Connections that were opened and neither closed nor dropped.
    int openConnections() const;

    std::shared_ptr<const KorvaneHelpers> helpers() const override;
    std::shared_ptr<KorvaneShareConnection> makeConnection() override;
    std::shared_ptr<KorvaneCameraList> makeCameraList(
        const std::shared_ptr<KorvaneShareConnection>& connection) override;

  private:
    class State;
    class Connection;
    class CameraList;
    class Camera;

    const std::shared_ptr<State> state_;
};

}  // namespace korvane::test
