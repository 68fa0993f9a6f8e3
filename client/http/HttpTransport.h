#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "base/Scheduler.h"
#include "client/http/HttpExchange.h"
#include "client/http/HttpOptions.h"

namespace korvane {

/// Runs requests over kept-alive connections on one thread, which starts with the first request and sleeps in the
/// network: the scheduler must be a real one. Follows no redirection, speaks http and https only, verifies TLS, and
/// reads nothing from the environment. All functions may be called from any thread.
class HttpTransport {
  public:
    /// Requests that are cancelled together.
    using Group = std::uint64_t;
    /// Runs once on the transport's thread, which it must not hold up.
    using Arrival = std::function<void(HttpResponse response)>;

    HttpTransport(Scheduler& scheduler, HttpOptions options);

    /// As end().
    ~HttpTransport();

    HttpTransport(const HttpTransport&) = delete;
    HttpTransport& operator=(const HttpTransport&) = delete;

    /// Returns at once. False after end(), or when there is no thread to be had; nothing arrives then.
    bool start(Group group, HttpRequest request, Arrival arrival);

    /// Requests of the group that were started before this arrive as cancelled. Does not wait for that.
    void cancel(Group group);

    /// Cancels all requests and waits until they have arrived. Not to be called from an arrival.
    void end();

  private:
    class Worker;

    Scheduler& scheduler_;
    const std::shared_ptr<Worker> worker_;
};

}  // namespace korvane
