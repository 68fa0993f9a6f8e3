#include "korvane/tests/support/service/ScriptedService.h"

#include <algorithm>

#include "korvane/base/Base64Url.h"
#include "korvane/base/UtcTime.h"
#include "korvane/client/TokenExpiryApi.h"
#include "korvane/tests/support/service/ScriptedState.h"

namespace korvane::test {

class ScriptedService::Connection final : public KorvaneShareConnection {
  public:
    explicit Connection(std::shared_ptr<State> state)
        : state_(std::move(state)), api_(std::make_shared<TokenExpiryApi>(state_->monitors)) {
        const std::lock_guard lock(state_->mutex);
        number_ = ++state_->connections;
    }

    ~Connection() override {
        if (state_->lifeOf(number_) != State::Life::Ended) api_->dropped();
        state_->setLife(number_, State::Life::Ended);
    }

    void setIsPathIncluded(bool) override {}

    std::int32_t openSync(const std::string& token) override { return openSync(token, ""); }

    std::int32_t openSync(const std::string& token, const std::string& sSvcpBaseUrl) override {
        const std::int32_t status = note("openSync", token, sSvcpBaseUrl);
        if (status != StatusSuccess) return status;
        if (state_->lifeOf(number_) == State::Life::Ended) return StatusClosed;
        state_->setLife(number_, State::Life::Open);
        api_->opened(token, sSvcpBaseUrl);
        return StatusSuccess;
    }

    void update(const std::string& token, const std::string& expire, const std::string& sSvcpBaseUrl) override {
        note("update", token, sSvcpBaseUrl);
        api_->updated(token, expire, sSvcpBaseUrl);
    }

    void cancelRequests() override { state_->endRequestsOf(number_, "deleteEvent"); }

    void close() override {
        note("close");
        state_->setLife(number_, State::Life::Ended);
        api_->closed();
        state_->endRequestsOf(number_);
    }

    std::shared_ptr<KorvaneApi> getKorvaneApi() override { return api_; }

    int number() const { return number_; }

  private:
    std::int32_t note(const char* name, const std::string& token = "", const std::string& baseUrl = "") const {
        return state_->note({{}, name, number_, {}, 0, token, baseUrl});
    }

    const std::shared_ptr<State> state_;
    const std::shared_ptr<TokenExpiryApi> api_;
    int number_ = 0;
};

class ScriptedService::CameraList final : public KorvaneCameraList {
  public:
    CameraList(std::shared_ptr<State> state, int connection) : state_(std::move(state)), connection_(connection) {}

    void getCamera(std::int64_t camid, CameraCompletion onComplete) override {
        const auto find = [](ScriptedFootage& f, const ScriptedRequest& r) -> State::Answer {
            if (r.id == f.camid) return {};
            return {"There is no such camera.", State::notFound};
        };
        const auto give = [state = state_, connection = connection_, onComplete = std::move(onComplete)](
                              const Reply& reply, std::int32_t status) {
            const auto camera = status == StatusSuccess ? state->makeCamera(connection) : nullptr;
            if (onComplete) onComplete(camera, !camera && reply.is_string() ? reply.get<std::string>() : "", status);
        };
        state_->ask({{}, "getCamera", connection_, {}, camid}, find, give);
    }

  private:
    const std::shared_ptr<State> state_;
    const int connection_;
};

ScriptedService::ScriptedService(Scheduler& scheduler) : state_(std::make_shared<State>(scheduler)) {}

ScriptedService::~ScriptedService() {
    state_->stop();
}

void ScriptedService::withFootage(const std::function<void(ScriptedFootage&)>& use) {
    const std::lock_guard lock(state_->mutex);
    use(state_->footage);
}

void ScriptedService::addEvents(std::int64_t count, TimeMs newest, const std::string& name) {
    constexpr TimeMs distance = 30'000;
    withFootage([&](ScriptedFootage& f) {
        for (std::int64_t i = 0; i < count; ++i) {
            f.addEvent({i + 1, newest - (count - 1 - i) * distance, name,
                        "http://127.0.0.1:1/thumb/" + std::to_string(i + 1) + ".jpg"});
        }
    });
}

std::string ScriptedService::makeToken() const {
    constexpr TimeMs hour = 3'600'000;
    const std::lock_guard lock(state_->mutex);
    return makeToken(state_->footage.camid, formatUtc(state_->scheduler.utcNow() + hour));
}

std::string ScriptedService::makeToken(std::int64_t camid, const std::string& expires, const std::string& svcp,
                                       const std::string& bearer) const {
    return encodeBase64Url(Reply{{"token", bearer}, {"expires", expires}, {"camid", camid}, {"svcp", svcp}}.dump());
}

void ScriptedService::scriptNext(const std::string& name, Script script) {
    const std::lock_guard lock(state_->mutex);
    state_->nextScripts[name].push_back(std::move(script));
}

void ScriptedService::scriptAll(const std::string& name, Script script) {
    const std::lock_guard lock(state_->mutex);
    state_->standingScripts[name] = std::move(script);
}

void ScriptedService::clearScripts() {
    const std::lock_guard lock(state_->mutex);
    state_->nextScripts.clear();
    state_->standingScripts.clear();
}

std::vector<ScriptedRequest> ScriptedService::held() const {
    return state_->held();
}

void ScriptedService::releaseAll() {
    state_->releaseAll(false);
}

void ScriptedService::releaseAllReversed() {
    state_->releaseAll(true);
}

std::vector<ScriptedRequest> ScriptedService::requests(std::string_view name) const {
    const std::lock_guard lock(state_->mutex);
    auto result = state_->requests;
    std::erase_if(result, [name](const ScriptedRequest& r) { return !name.empty() && r.name != name; });
    return result;
}

std::size_t ScriptedService::count(std::string_view name) const {
    return requests(name).size();
}

void ScriptedService::clearRequests() {
    const std::lock_guard lock(state_->mutex);
    state_->requests.clear();
}

int ScriptedService::openConnections() const {
    return state_->openConnections();
}

std::shared_ptr<const KorvaneHelpers> ScriptedService::helpers() const {
    return {state_, &state_->helpers};
}

std::shared_ptr<KorvaneShareConnection> ScriptedService::makeConnection() {
    return std::make_shared<Connection>(state_);
}

std::shared_ptr<KorvaneCameraList> ScriptedService::makeCameraList(
    const std::shared_ptr<KorvaneShareConnection>& connection) {
    const auto own = std::dynamic_pointer_cast<Connection>(connection);
    return std::make_shared<CameraList>(state_, own ? own->number() : 0);
}

}  // namespace korvane::test
