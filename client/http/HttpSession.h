#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "korvane/client/BaseUrl.h"
#include "korvane/client/http/CallbackThread.h"
#include "korvane/client/http/HttpTransport.h"

namespace korvane {

/// What the objects of one connection share: where requests go and under which bearer. All functions may be called from
/// any thread.
class HttpSession {
  public:
    /// The parts that all connections of one service use.
    struct Engine {
        Scheduler& scheduler;
        HttpOptions options;
        HttpTransport transport;
        CallbackThread callbacks;

        Engine(Scheduler& s, const HttpOptions& o) : scheduler(s), options(o), transport(s, o), callbacks(s) {}
    };

    explicit HttpSession(std::shared_ptr<Engine> engine);

    /// Whether addresses without a path are already those under which the requests lie.
    void setIsPathIncluded(bool isPathIncluded);

    /// An empty URL means the service's default address. Gives a Status; sends nothing.
    std::int32_t open(const std::string& bearer, const std::string& baseUrl);

    /// False, and nothing changed, when the session is not open or the bearer or URL is malformed.
    bool update(const std::string& bearer, const std::string& baseUrl);

    void close();

    /// Requests under way that read complete with StatusClosed. The session stays open.
    void cancelReads();

    /// A group for requestSync() alone.
    static HttpTransport::Group makeGroup();

    /// Requests of the group that are under way complete with StatusClosed. The session stays open.
    void cancel(HttpTransport::Group group);

    /// What a request that is made now would fail with before it is sent, or 0.
    std::int32_t status() const;

    /// `target` is what follows the service's path: "/cameras/7". Completes once, on the callback thread.
    void request(HttpMethod method, const std::string& target, ReplyCompletion onComplete);

    /// As request(), blocking; cancel() of the group breaks it off.
    HttpResult requestSync(HttpMethod method, const std::string& target, HttpTransport::Group group = 0);

    /// Completes without a request.
    void fail(std::int32_t status, ReplyCompletion onComplete);

  private:
    enum class Life { Closed, Open, Ended };

    std::int32_t start(HttpMethod method, const std::string& target, HttpTransport::Group group,
                       HttpTransport::Arrival arrival);
    // mutex_ held.
    std::int32_t statusLocked() const;

    const std::shared_ptr<Engine> engine_;
    const HttpTransport::Group reads_;
    const HttpTransport::Group writes_;
    mutable std::mutex mutex_;
    Life life_ = Life::Closed;
    bool isPathIncluded_ = false;
    std::string bearer_;
    BaseUrl baseUrl_;
};

}  // namespace korvane
