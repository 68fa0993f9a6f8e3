#include "korvane/views/timeline/Model/ScrubberSourceBinding.h"

#include <utility>

#include "korvane/base/Log.h"
#include "korvane/views/timeline/Model/ReplyValues.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEventType.h"

namespace korvane {
namespace {

constexpr std::int64_t expiryCheckingRate = 5000;
constexpr std::int64_t expiryGuardTime = 300000;

}  // namespace

struct ScrubberSourceBinding::ParsedToken {
    // The token as the caller gave it, and the one for the service that it holds.
    std::string whole;
    std::string token;
    std::string expires;
    std::int64_t camid = 0;
    std::string baseUrl;
    bool isPathIncluded = false;
    std::optional<std::string> svcp;
};

struct ScrubberSourceBinding::FoundCamera {
    // The connection that was asked.
    std::weak_ptr<KorvaneShareConnection> over;
    std::shared_ptr<KorvaneCamera> camera;
    std::string wholeToken;
    TimeMs now = 0;
};

ScrubberSourceBinding::ScrubberSourceBinding(std::string_view classPath, Scheduler& scheduler, KorvaneService& service)
    : classPath_(classPath),
      scheduler_(scheduler),
      service_(service),
      helpers_(service.helpers()),
      listLock_(scheduler) {}

void ScrubberSourceBinding::setDelegate(const std::shared_ptr<ScrubberDataProviderDelegate>& delegate) {
    const std::lock_guard guard(mutex_);
    delegate_ = delegate;
}

std::shared_ptr<ScrubberDataProviderDelegate> ScrubberSourceBinding::getDelegate() const {
    const std::lock_guard guard(mutex_);
    return delegate_.lock();
}

void ScrubberSourceBinding::setApiProtocol(const std::string& protocol, std::int32_t andPort) {
    const std::lock_guard guard(mutex_);
    if (!protocol.empty()) apiProtocol_ = protocol;
    apiPort_ = andPort;
}

void ScrubberSourceBinding::enableEventGrouping(bool enabled) {
    eventGrouping_ = enabled;
}

std::int32_t ScrubberSourceBinding::setSource(const std::string& token) {
    return setSourceAfterClose(token, std::nullopt);
}

std::int32_t ScrubberSourceBinding::setSource(const std::string& token, TimeMs withPosition) {
    return setSourceAfterClose(token, withPosition);
}

std::int32_t ScrubberSourceBinding::setSourceAfterClose(const std::string& token, std::optional<TimeMs> position) {
    close();
    if (token.empty()) return StatusBadCall;
    const Range last = range();
    return setSource(token, last.datetimeStart, last.datetimeEnd, last.eventType, last.isAscending, last.limit,
                     last.offset, position.value_or(last.position));
}

std::int32_t ScrubberSourceBinding::setSource(const std::string& token, TimeMs startDateTime, TimeMs endDateTime,
                                              const std::optional<std::string>& eventType, std::int64_t sortAscending,
                                              std::int64_t withLimit, std::int64_t withOffset, TimeMs withPosition) {
    trace(1, classPath_, "setSource");
    if (token.empty()) {
        close();
        return StatusBadCall;
    }
    {
        const std::lock_guard guard(mutex_);
        range_.datetimeStart = startDateTime;
        range_.datetimeEnd = endDateTime;
        range_.eventType = eventType;
        range_.isAscending = (sortAscending & 0xff) != 0;
        if (withLimit > 0) range_.limit = withLimit;
        if (withOffset > 0) range_.offset = withOffset;
        range_.position = withPosition;
    }
    return guarded([&] { return bind(token); });
}

std::int32_t ScrubberSourceBinding::bind(const std::string& token) {
    const auto parsed = parse(token);
    if (!parsed) {
        close();
        const auto code = lastErrorCode();
        return code != StatusSuccess ? code : StatusBadCall;
    }
    if (updateToken(*parsed)) return StatusSuccess;
    // This puts range, filter, order, page size and position back: a new connection always starts at the defaults.
    close();
    connect(*parsed);
    return StatusSuccess;
}

std::optional<ScrubberSourceBinding::ParsedToken> ScrubberSourceBinding::parse(const std::string& token) {
    std::string protocol;
    std::int32_t port = 0;
    {
        const std::lock_guard guard(mutex_);
        protocol = apiProtocol_;
        port = apiPort_;
    }
    ParsedToken parsed;
    parsed.whole = token;
    std::int32_t code = StatusSuccess;
    std::string text;
    const Reply keys = helpers().parseToken(token, protocol, port, parsed.baseUrl, parsed.isPathIncluded, code, text);
    setLastError(code, std::move(text));
    if (!keys.is_object()) return std::nullopt;

    const auto textOf = [&keys](std::string_view key) { return textValue(findMember(keys, key)); };
    parsed.token = textOf("token").value_or("");
    parsed.expires = textOf("expires").value_or("");
    parsed.camid = integerValue(findMember(keys, "camid")).value_or(0);
    parsed.svcp = textOf("svcp");
    const std::lock_guard guard(mutex_);
    source_.api = textOf("api");
    source_.api_p = textOf("api_p");
    source_.api_sp = textOf("api_sp");
    source_.api_path = textOf("path");
    return parsed;
}

bool ScrubberSourceBinding::updateToken(const ParsedToken& parsed) {
    std::shared_ptr<KorvaneShareConnection> connection;
    std::shared_ptr<KorvaneCamera> camera;
    {
        const std::lock_guard guard(mutex_);
        const bool sameCamera = parsed.camid != -1 && parsed.camid == source_.camid;
        const bool sameService = !parsed.baseUrl.empty() && parsed.baseUrl == source_.lastSvcp;
        if (!sameCamera || !sameService || !source_.conn || !source_.cam || parsed.expires.empty()) return false;
        source_.token = parsed.token;
        source_.tokenExpire = parsed.expires;
        source_.svcp = parsed.svcp;
        connection = source_.conn;
        camera = source_.cam;
    }
    trace(1, classPath_, "setSource: token update");
    connection->update(parsed.token, parsed.expires, parsed.baseUrl);
    connection->setIsPathIncluded(parsed.isPathIncluded);
    camera->setFullSharedToken(parsed.whole);
    armExpiryMonitor(*connection);
    return true;
}

void ScrubberSourceBinding::connect(const ParsedToken& parsed) {
    {
        const std::lock_guard guard(mutex_);
        source_.lastSvcp = parsed.baseUrl;
        source_.token = parsed.token;
        source_.tokenExpire = parsed.expires;
        source_.svcp = parsed.svcp;
        source_.camid = parsed.camid;
    }
    {
        const auto watched = openConnection(parsed);
        watched->getKorvaneApi()->setShareTokenExpire(parsed.expires);
        armExpiryMonitor(*watched);
    }
    // A second one takes the place of the first, which is dropped unclosed: its monitor goes over to this one.
    requestCamera(openConnection(parsed), parsed);
}

std::shared_ptr<KorvaneShareConnection> ScrubberSourceBinding::openConnection(const ParsedToken& parsed) {
    auto connection = service_.makeConnection();
    auto before = connection;
    {
        const std::lock_guard guard(mutex_);
        before.swap(source_.conn);
    }
    before.reset();
    connection->setIsPathIncluded(parsed.isPathIncluded);
    if (parsed.baseUrl.empty()) {
        connection->openSync(parsed.token);
    } else {
        connection->openSync(parsed.token, parsed.baseUrl);
    }
    return connection;
}

void ScrubberSourceBinding::armExpiryMonitor(KorvaneShareConnection& connection) {
    connection.getKorvaneApi()->setExpireMonitorCallback(
        [weak = weak_from_this()](std::int64_t timeLeft) {
            if (const auto self = weak.lock()) self->onSharedTokenWillExpireIn(timeLeft);
        },
        expiryCheckingRate, expiryGuardTime);
}

void ScrubberSourceBinding::requestCamera(const std::shared_ptr<KorvaneShareConnection>& connection,
                                          const ParsedToken& parsed) {
    // The completion leaves the library's thread at once: what follows may take its time. The clock is read before
    // that, since the service waits for its own threads when it goes away, and not for the workers.
    service_.makeCameraList(connection)
        ->getCamera(parsed.camid, [self = shared_from_this(), whole = parsed.whole, over = std::weak_ptr(connection)](
                                      std::shared_ptr<KorvaneCamera> camera, std::string error, std::int32_t status) {
            if (status == StatusSuccess && !camera) status = StatusUnexpectedReply;
            const TimeMs now = self->helpers().currentTimestampUTC();
            self->scheduler_.runInBackground([self, found = FoundCamera{over, camera, whole, now}, status,
                                              error = std::move(error)] { self->onCamera(found, status, error); });
        });
}

void ScrubberSourceBinding::onCamera(const FoundCamera& found, std::int32_t status, const std::string& error) {
    auto before = found.camera;
    {
        const std::lock_guard guard(mutex_);
        // Closed or bound anew meanwhile: the answer belongs to an earlier binding.
        if (!source_.conn || found.over.lock() != source_.conn) return;
        lastErrorCode_ = status;
        lastErrorString_ = status == StatusSuccess ? "Success" : error;
        if (status == StatusSuccess) before.swap(source_.cam);
    }
    trace(1, classPath_, "getCamera: status: ", status);
    if (status != StatusSuccess) {
        tellReload(status, ScrubberStateReady);
        return;
    }
    found.camera->setFullSharedToken(found.wholeToken);
    const FullLoad load = beginLoad(found.now);
    const Range asked = range();
    scheduler_.runInBackground([self = shared_from_this(), asked, load] {
        // A refresh or another binding that came in between has asked for all that this would ask for.
        const std::lock_guard lock(self->listLock_);
        if (self->isNewest(load)) self->requestEvents(asked.datetimeStart, load.end, asked.position);
    });
}

std::int32_t ScrubberSourceBinding::refresh() {
    trace(1, classPath_, "refresh");
    if (isClosing()) return StatusBadCall;
    return guarded([this] {
        breakOffLoads();
        emptyList();
        if (!cam()) return StatusBadCall;
        const FullLoad load = beginLoad(helpers().currentTimestampUTC());
        requestEvents(range().datetimeStart, load.end, -1);
        return StatusSuccess;
    });
}

void ScrubberSourceBinding::breakOffLoads() {
    std::shared_ptr<KorvaneShareConnection> connection;
    {
        const std::lock_guard guard(mutex_);
        // While the camera is looked up there is nothing else under way, and that goes on.
        if (source_.cam) connection = source_.conn;
    }
    if (connection) connection->cancelRequests();
}

ScrubberSourceBinding::FullLoad ScrubberSourceBinding::beginLoad(TimeMs now) {
    const std::lock_guard guard(mutex_);
    range_.datetimeLastEnd = range_.datetimeEnd == -1 ? now : range_.datetimeEnd;
    return {++lastLoad_, range_.datetimeLastEnd};
}

bool ScrubberSourceBinding::isNewest(const FullLoad& load) const {
    const std::lock_guard guard(mutex_);
    return load.number == lastLoad_;
}

void ScrubberSourceBinding::close() {
    // Set before waiting for the lock, so that the work that holds it ends soon.
    if (isClosing_.exchange(true)) return;
    trace(1, classPath_, "close");
    guarded([this] {
        const std::lock_guard lock(listLock_);
        emptyList();
        std::shared_ptr<KorvaneShareConnection> connection;
        std::shared_ptr<KorvaneCamera> camera;
        {
            const std::lock_guard guard(mutex_);
            connection.swap(source_.conn);
            camera.swap(source_.cam);
            source_.svcp.reset();
            source_.camid = 0;
            source_.lastSvcp.clear();
            source_.token.clear();
            range_ = Range();
            ++lastLoad_;
        }
        if (connection) connection->close();
        cancelQueues();
        return StatusSuccess;
    });
    isClosing_ = false;
}

std::int32_t ScrubberSourceBinding::onSharedTokenWillExpireIn(std::int64_t timeLeft) {
    const auto delegate = getDelegate();
    if (!delegate) return 0;
    return guarded([&] { return delegate->onSharedTokenWillExpireIn(timeLeft); });
}

std::int32_t ScrubberSourceBinding::lastErrorCode() const {
    const std::lock_guard guard(mutex_);
    return lastErrorCode_;
}

std::optional<std::string> ScrubberSourceBinding::lastErrorString() const {
    const std::lock_guard guard(mutex_);
    return lastErrorString_;
}

std::shared_ptr<KorvaneCamera> ScrubberSourceBinding::cam() const {
    const std::lock_guard guard(mutex_);
    return source_.cam;
}

std::int64_t ScrubberSourceBinding::camid() const {
    const std::lock_guard guard(mutex_);
    return source_.camid;
}

ScrubberSourceBinding::Range ScrubberSourceBinding::range() const {
    const std::lock_guard guard(mutex_);
    return range_;
}

void ScrubberSourceBinding::tellReload(std::int32_t status, std::int32_t andState) const {
    if (status == StatusClosed) return;
    if (const auto delegate = getDelegate()) delegate->OnScrubberDataProviderReloadRequired(status, andState);
}

void ScrubberSourceBinding::setLastError(std::int32_t code, std::string text) {
    const std::lock_guard guard(mutex_);
    lastErrorCode_ = code;
    lastErrorString_ = std::move(text);
}

}  // namespace korvane
