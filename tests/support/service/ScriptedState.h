#pragma once

#include <deque>
#include <map>
#include <mutex>
#include <utility>

#include "korvane/base/Semaphore.h"
#include "korvane/base/SerialQueue.h"
#include "korvane/client/ExpiryMonitors.h"
#include "korvane/client/IcuHelpers.h"
#include "korvane/client/Status.h"
#include "korvane/tests/support/service/ScriptedService.h"

namespace korvane::test {

/// What a scripted service and the objects that it made share.
class ScriptedService::State : public std::enable_shared_from_this<State> {
  public:
    enum class Life { Closed, Open, Ended };

    static constexpr std::int32_t notFound = 404;

    struct Answer {
        Answer(Reply theReply = nullptr, std::int32_t theStatus = StatusSuccess)
            : reply(std::move(theReply)), status(theStatus) {}
        Reply reply;
        std::int32_t status;
    };

    using Compute = std::function<Answer(ScriptedFootage&, const ScriptedRequest&)>;

    explicit State(Scheduler& s);

    Life lifeOf(int connection) const;
    std::shared_ptr<KorvaneCamera> makeCamera(int connection);
    void setLife(int connection, Life life);
    int openConnections() const;
    /// Completes what waits of a connection, but for what cannot be stopped and for requests of the name `spared`.
    void endRequestsOf(int connection, std::string_view spared = "");

    /// Completes what waits of a camera's synchronous calls, but for what cannot be stopped.
    void endSyncRequestsOf(const void* camera);

    /// Writes the request down and gives its status: the script's, or that of a connection that is not open.
    std::int32_t note(const ScriptedRequest& request);

    void ask(ScriptedRequest request, const Compute& compute, ReplyCompletion onComplete);
    /// Nothing when the request failed.
    std::optional<Reply> askSync(ScriptedRequest request, const Compute& compute, const void* camera);

    std::vector<ScriptedRequest> held() const;
    void releaseAll(bool isReversed);
    void stop();

    mutable std::mutex mutex;
    ScriptedFootage footage;
    std::vector<ScriptedRequest> requests;
    std::map<std::string, std::deque<Script>> nextScripts;
    std::map<std::string, Script> standingScripts;
    int connections = 0;

    Scheduler& scheduler;
    const IcuHelpers helpers;
    const std::shared_ptr<ExpiryMonitors> monitors;

  private:
    struct Pending {
        ScriptedRequest request;
        Script script;
        Answer answer;
        ReplyCompletion onComplete;
        // Of a synchronous call: its caller waits for it, and takes `answer` itself.
        std::shared_ptr<Semaphore> arrival;
        // Likewise; who was asked, to be compared alone.
        const void* camera = nullptr;
        bool isGiven = false;
    };
    using PendingPtr = std::shared_ptr<Pending>;

    PendingPtr begin(ScriptedRequest request, const Compute& compute, ReplyCompletion onComplete,
                     std::shared_ptr<Semaphore> arrival, const void* camera = nullptr);
    /// `mutex` held.
    void endRequests(const std::function<bool(const Pending&)>& isEnded);
    Script takeScript(const std::string& name);
    void give(const PendingPtr& pending);
    void giveLocked(const PendingPtr& pending);

    std::map<int, Life> lives_;
    std::deque<PendingPtr> pending_;
    SerialQueue queue_;
};

}  // namespace korvane::test
