#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "korvane/base/RecursiveLock.h"
#include "korvane/base/Scheduler.h"
#include "korvane/base/TaskGuard.h"
#include "korvane/base/Time.h"
#include "korvane/client/KorvaneService.h"
#include "korvane/client/Status.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberDataProvider.h"

namespace korvane {

/// Binds a provider to one camera by one token: reads the token, opens the connection, watches its expiry, looks the
/// camera up and starts the first load. What the provider makes of the camera is its subclass's.
///
/// Providers are made by std::make_shared: requests under way hold them until they have completed. A subclass calls
/// close() in its destructor. All public functions may be called from any thread, and none of them throws.
class ScrubberSourceBinding : public ScrubberDataProvider, public std::enable_shared_from_this<ScrubberSourceBinding> {
  public:
    ScrubberSourceBinding(const ScrubberSourceBinding&) = delete;
    ScrubberSourceBinding& operator=(const ScrubberSourceBinding&) = delete;

    void setDelegate(const std::shared_ptr<ScrubberDataProviderDelegate>& delegate) override;
    std::shared_ptr<ScrubberDataProviderDelegate> getDelegate() const override;
    void setApiProtocol(const std::string& protocol, std::int32_t andPort) override;
    /// Before setSource(), unless the provider says otherwise.
    void enableEventGrouping(bool enabled) override;

    std::int32_t setSource(const std::string& token) override;
    std::int32_t setSource(const std::string& token, TimeMs withPosition) override;
    std::int32_t setSource(const std::string& token, TimeMs startDateTime, TimeMs endDateTime,
                           const std::optional<std::string>& eventType, std::int64_t sortAscending,
                           std::int64_t withLimit, std::int64_t withOffset, TimeMs withPosition) override;
    /// Breaks off the requests under way that read, and does not wait for the network.
    std::int32_t refresh() override;
    /// Breaks off all requests under way, of which the delegate hears nothing. Waits for a fill under way and the
    /// delegate call it makes, never for the network. A call while another one runs returns at once.
    void close() override;

    /// Asks the service for the list between two moments, ms. With `withStartFrom` above 0 the view is brought there
    /// afterwards. The delegate hears of the outcome; without a camera nothing happens. Always 0.
    virtual std::int32_t requestEvents(TimeMs start, TimeMs withEnd, TimeMs withStartFrom) = 0;

    /// Passes the warning of the expiry monitor on to the delegate: `timeLeft` ms, below zero once the token has
    /// expired. It comes every 5 s from 5 minutes before the expiry until the token is swapped or the provider closed.
    /// Gives the delegate's answer, or 0 without one.
    std::int32_t onSharedTokenWillExpireIn(std::int64_t timeLeft);

    /// Status of the last binding, and its text: what is wrong with the token or the camera, or "Success".
    std::int32_t lastErrorCode() const;
    std::optional<std::string> lastErrorString() const;

  protected:
    /// What the loads ask for. Times are ms.
    struct Range {
        TimeMs datetimeStart = -1;
        /// -1 is now.
        TimeMs datetimeEnd = -1;
        /// The end that the last full load had; -1 before one.
        TimeMs datetimeLastEnd = -1;
        /// Nothing is all types.
        std::optional<std::string> eventType;
        /// Newest first when false.
        bool isAscending = false;
        /// Entries a page.
        std::int64_t limit = 100;
        /// Of the first page.
        std::int64_t offset = 0;
        /// To go to after the first load; -1 is none.
        TimeMs position = -1;
    };

    /// `classPath` begins the provider's log lines. Scheduler and service outlive the provider.
    ScrubberSourceBinding(std::string_view classPath, Scheduler& scheduler, KorvaneService& service);

    /// Drops what is loaded. Called with the lock held by close(), without it by refresh().
    virtual void emptyList() = 0;
    /// Drops queued work; the last thing that close() does under the lock.
    virtual void cancelQueues() {}

    /// Guards the list; held during delegate calls.
    RecursiveLock& listLock() { return listLock_; }
    bool isClosing() const { return isClosing_.load(); }
    bool eventGrouping() const { return eventGrouping_.load(); }
    /// Null until the camera has been found.
    std::shared_ptr<KorvaneCamera> cam() const;
    std::int64_t camid() const;
    Range range() const;

    std::string_view classPath() const { return classPath_; }
    Scheduler& scheduler() { return scheduler_; }
    const KorvaneHelpers& helpers() const { return *helpers_; }

    /// Says nothing of StatusClosed: close() and refresh() are the caller's own.
    void tellReload(std::int32_t status, std::int32_t andState) const;

    /// The result of `body`, or StatusBadCall and a line in the log when an exception leaves it.
    template <typename Body>
    std::int32_t guarded(Body body) {
        return guarded(std::int32_t{StatusBadCall}, body);
    }

    /// As above, with `otherwise` for a result.
    template <typename Result, typename Body>
    Result guarded(Result otherwise, Body body) {
        try {
            return body();
        } catch (...) {
            detail::logException(classPath_);
            return otherwise;
        }
    }

  private:
    // The connection in use and the values of its token. The last six are kept for the debugger; nothing reads them.
    struct Source {
        std::string lastSvcp;
        std::string token;
        std::string tokenExpire;
        std::int64_t camid = 0;
        std::shared_ptr<KorvaneShareConnection> conn;
        std::shared_ptr<KorvaneCamera> cam;
        std::int64_t cmngrid = 0;
        std::optional<std::string> svcp, api, api_p, api_sp, api_path;
    };

    struct ParsedToken;
    struct FoundCamera;

    struct FullLoad {
        std::uint64_t number = 0;
        TimeMs end = -1;
    };

    std::int32_t bind(const std::string& token);
    std::optional<ParsedToken> parse(const std::string& token);
    std::int32_t setSourceAfterClose(const std::string& token, std::optional<TimeMs> position);
    bool updateToken(const ParsedToken& parsed);
    void connect(const ParsedToken& parsed);
    std::shared_ptr<KorvaneShareConnection> openConnection(const ParsedToken& parsed);
    void requestCamera(const std::shared_ptr<KorvaneShareConnection>& connection, const ParsedToken& parsed);
    void armExpiryMonitor(KorvaneShareConnection& connection);
    void onCamera(const FoundCamera& found, std::int32_t status, const std::string& error);
    void breakOffLoads();
    FullLoad beginLoad(TimeMs now);
    // False once another load has begun, or the provider been closed.
    bool isNewest(const FullLoad& load) const;
    void setLastError(std::int32_t code, std::string text);

    const std::string classPath_;
    Scheduler& scheduler_;
    KorvaneService& service_;
    // Held, since a fill may still run when the service goes.
    const std::shared_ptr<const KorvaneHelpers> helpers_;
    RecursiveLock listLock_;
    std::atomic<bool> isClosing_ = false;
    std::atomic<bool> eventGrouping_ = false;

    // Guards what follows, and is never held over a call out of this class.
    mutable std::mutex mutex_;
    std::weak_ptr<ScrubberDataProviderDelegate> delegate_;
    Source source_;
    Range range_;
    std::uint64_t lastLoad_ = 0;
    std::string apiProtocol_ = "https";
    std::int32_t apiPort_ = 443;
    std::int32_t lastErrorCode_ = 0;
    std::optional<std::string> lastErrorString_;
};

}  // namespace korvane
