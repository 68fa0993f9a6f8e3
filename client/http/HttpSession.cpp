#include "korvane/client/http/HttpSession.h"

#include <atomic>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/Semaphore.h"
#include "korvane/client/Bearer.h"
#include "korvane/client/Status.h"

namespace korvane {
namespace {

/// The path of the service where a base URL has none.
constexpr std::string_view servicePath = "/v1";

/// `target` up to its query, which may hold what a person looked for.
void traceOutcome(std::string_view target, std::int32_t status) {
    trace(1, "HttpSession", target.substr(0, target.find('?')), " status: ", status);
}

HttpResult refusal(std::int32_t status) {
    return {status == StatusClosed ? "The connection was closed." : "The request could not be made.", status};
}

}  // namespace

HttpSession::HttpSession(std::shared_ptr<Engine> engine)
    : engine_(std::move(engine)), reads_(makeGroup()), writes_(makeGroup()) {}

HttpTransport::Group HttpSession::makeGroup() {
    static std::atomic<HttpTransport::Group> last{0};
    return ++last;
}

void HttpSession::setIsPathIncluded(bool isPathIncluded) {
    const std::lock_guard lock(mutex_);
    isPathIncluded_ = isPathIncluded;
}

std::int32_t HttpSession::open(const std::string& bearer, const std::string& baseUrl) {
    const auto base = BaseUrl::parse(baseUrl.empty() ? engine_->options.defaultBaseUrl : baseUrl);
    const std::lock_guard lock(mutex_);
    if (life_ == Life::Ended) return StatusClosed;
    if (!base || !isBearer(bearer)) return StatusBadCall;
    bearer_ = bearer;
    baseUrl_ = *base;
    life_ = Life::Open;
    return StatusSuccess;
}

bool HttpSession::update(const std::string& bearer, const std::string& baseUrl) {
    const auto base = BaseUrl::parse(baseUrl);
    const std::lock_guard lock(mutex_);
    if (life_ != Life::Open || !isBearer(bearer) || (!base && !baseUrl.empty())) return false;
    bearer_ = bearer;
    if (base) baseUrl_ = *base;
    return true;
}

void HttpSession::close() {
    const std::lock_guard lock(mutex_);
    life_ = Life::Ended;
    bearer_.clear();
    engine_->transport.cancel(reads_);
    engine_->transport.cancel(writes_);
}

void HttpSession::cancelReads() {
    engine_->transport.cancel(reads_);
}

void HttpSession::cancel(HttpTransport::Group group) {
    engine_->transport.cancel(group);
}

std::int32_t HttpSession::status() const {
    const std::lock_guard lock(mutex_);
    return statusLocked();
}

void HttpSession::request(HttpMethod method, const std::string& target, ReplyCompletion onComplete) {
    const auto completion = std::make_shared<ReplyCompletion>(std::move(onComplete));
    const auto arrival = [engine = std::weak_ptr(engine_), completion, target](HttpResponse response) {
        const auto alive = engine.lock();
        if (!alive) return;
        alive->callbacks.run([completion, target, response = std::move(response)] {
            HttpResult result = readResponse(response);
            traceOutcome(target, result.status);
            if (const auto complete = std::exchange(*completion, nullptr)) {
                complete(std::move(result.reply), result.status);
            }
        });
    };
    const std::int32_t status = start(method, target, 0, arrival);
    if (status != StatusSuccess) fail(status, std::move(*completion));
}

HttpResult HttpSession::requestSync(HttpMethod method, const std::string& target, HttpTransport::Group group) {
    struct Wait {
        explicit Wait(Scheduler& scheduler) : arrived(scheduler) {}
        Semaphore arrived;
        HttpResponse response;
    };
    const auto wait = std::make_shared<Wait>(engine_->scheduler);
    const std::int32_t status = start(method, target, group, [wait](HttpResponse response) {
        wait->response = std::move(response);
        wait->arrived.signal();
    });
    if (status != StatusSuccess) return refusal(status);
    wait->arrived.wait();
    HttpResult result = readResponse(wait->response);
    traceOutcome(target, result.status);
    return result;
}

void HttpSession::fail(std::int32_t status, ReplyCompletion onComplete) {
    if (!onComplete) return;
    engine_->callbacks.run([onComplete = std::move(onComplete), status] { onComplete(refusal(status).reply, status); });
}

std::int32_t HttpSession::start(HttpMethod method, const std::string& target, HttpTransport::Group group,
                                HttpTransport::Arrival arrival) {
    // Under the lock: a request goes out before a close() and is cancelled by it, or does not go out.
    const std::lock_guard lock(mutex_);
    if (const std::int32_t status = statusLocked(); status != StatusSuccess) return status;
    HttpRequest request;
    request.method = method;
    request.url = baseUrl_.text;
    if (!isPathIncluded_ && !baseUrl_.hasPath) request.url += servicePath;
    request.url += target;
    request.bearer = bearer_;
    const auto kind = method == HttpMethod::Get ? reads_ : writes_;
    const auto refused = engine_->transport.start({kind, group}, std::move(request), std::move(arrival));
    return refused ? readResponse({*refused, 0, {}}).status : StatusSuccess;
}

std::int32_t HttpSession::statusLocked() const {
    if (life_ == Life::Ended) return StatusClosed;
    return life_ == Life::Open ? StatusSuccess : StatusBadCall;
}

}  // namespace korvane
