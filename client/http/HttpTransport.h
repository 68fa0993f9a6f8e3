#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "korvane/base/Scheduler.h"
#include "korvane/client/http/HttpExchange.h"
#include "korvane/client/http/HttpOptions.h"

namespace korvane {

/// Runs requests over kept-alive connections on one thread, which starts with the first request and sleeps in the
/// network: the scheduler must be a real one. A few requests to one server run at a time, further ones wait for their
/// turn; servers do not wait for each other. Follows no redirection, speaks http and https only, verifies TLS, and
/// reads nothing from the environment. All functions may be called from any thread.
class HttpTransport {
  public:
    /// Requests that are cancelled together; 0 is no group.
    using Group = std::uint64_t;
    /// A request may stand in two.
    using Groups = std::array<Group, 2>;
    /// Runs once on the transport's thread, which it must not hold up.
    using Arrival = std::function<void(HttpResponse response)>;

    HttpTransport(Scheduler& scheduler, HttpOptions options);

    /// As end().
    ~HttpTransport();

    HttpTransport(const HttpTransport&) = delete;
    HttpTransport& operator=(const HttpTransport&) = delete;

    /// Returns at once. Gives why the request cannot be made, and then nothing arrives: it is cancelled after end(),
    /// and the transport failed where the system gives no thread.
    std::optional<HttpResponse::End> start(Groups groups, HttpRequest request, Arrival arrival);

    /// Requests of the group that were started before this arrive as cancelled. Does not wait for that, and neither a
    /// server nor the look-up of its name delays it.
    void cancel(Group group);

    /// Cancels all requests and waits until they have arrived. Not to be called from an arrival.
    void end();

  private:
    class Worker;

    Scheduler& scheduler_;
    const std::shared_ptr<Worker> worker_;
};

}  // namespace korvane
