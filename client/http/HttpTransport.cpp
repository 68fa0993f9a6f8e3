#include "korvane/client/http/HttpTransport.h"

#include <algorithm>
#include <deque>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "korvane/base/Log.h"
#include "korvane/net/CurlHandles.h"
#include "korvane/net/FramingGuard.h"

namespace korvane {
namespace {

using End = HttpResponse::End;

struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

/// One request on its way.
struct Transfer {
    HttpTransport::Groups groups{};
    std::string server;
    HttpRequest request;
    HttpTransport::Arrival arrival;
    std::unique_ptr<curl_slist, ListDeleter> headers;
    FramingGuard framing;
    EasyHandle easy;
    std::string body;
    std::size_t maxReplyBytes = 0;
    bool isTooLarge = false;
};

/// "http://host:8080" of "http://host:8080/v1/cameras/7".
std::string serverOf(const std::string& url) {
    const std::size_t scheme = url.find("://");
    return url.substr(0, scheme == std::string::npos ? scheme : url.find('/', scheme + 3));
}

std::size_t takeBody(char* data, std::size_t size, std::size_t count, void* context) noexcept {
    auto& transfer = *static_cast<Transfer*>(context);
    const std::size_t bytes = size * count;
    transfer.isTooLarge = bytes > transfer.maxReplyBytes - transfer.body.size();
    try {
        if (!transfer.isTooLarge) transfer.body.append(data, bytes);
    } catch (const std::bad_alloc&) {
        transfer.isTooLarge = true;
    }
    return transfer.isTooLarge ? 0 : bytes;
}

End endOf(CURLcode code, bool isTooLarge) {
    if (isTooLarge) return End::TooLarge;
    if (isInsecure(code)) return End::Insecure;
    switch (code) {
        case CURLE_OK:
            return End::Complete;
        case CURLE_FILESIZE_EXCEEDED:
            return End::TooLarge;
        case CURLE_OPERATION_TIMEDOUT:
            return End::TimedOut;
        case CURLE_URL_MALFORMAT:
            return End::BadRequest;
        case CURLE_PARTIAL_FILE:
        case CURLE_WEIRD_SERVER_REPLY:
        // The URL's protocol has been checked before: this is a reply without a status line.
        case CURLE_UNSUPPORTED_PROTOCOL:
            return End::CutShort;
        default:
            return End::TransportFailed;
    }
}

void setUp(Transfer& transfer, const HttpOptions& options) {
    CURL* easy = transfer.easy.get();
    curl_easy_setopt(easy, CURLOPT_URL, transfer.request.url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_PROXY, "");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    // What stands around the body of the second version's frames, nobody counts.
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
    // Otherwise giving a request up waits for the look-up of its name, and all others wait with it.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(options.connectTimeout.count()));
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(options.totalTimeout.count()));
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    if (!options.caFile.empty()) curl_easy_setopt(easy, CURLOPT_CAINFO, options.caFile.c_str());
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(options.maxReplyBytes));
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, takeBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &transfer);
    transfer.framing.watch(easy);
    if (transfer.request.method == HttpMethod::Delete) curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, "DELETE");

    curl_slist* headers = curl_slist_append(nullptr, "Accept: application/json");
    if (!transfer.request.bearer.empty()) {
        headers = curl_slist_append(headers, ("Authorization: Bearer " + transfer.request.bearer).c_str());
    }
    transfer.headers.reset(headers);
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
}

}  // namespace

/// The thread's body and what it shares with the callers.
class HttpTransport::Worker : public std::enable_shared_from_this<Worker> {
  public:
    explicit Worker(HttpOptions options) : options_(std::move(options)) {
        static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
        if (initialised == CURLE_OK) multi_.reset(curl_multi_init());
        if (!multi_) return;
        curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, mostKeptConnections);
    }

    /// Without a transfer, an order to cancel the group.
    struct Order {
        std::unique_ptr<Transfer> transfer;
        Group cancelled = 0;
    };

    std::optional<End> give(Order order, Scheduler& scheduler);
    void end();

  private:
    // Enough to overlap requests, few enough for a small service that gives each connection a thread. Counted here:
    // under libcurl's own limit a waiting transfer is sometimes forgotten until its connect time-out.
    static constexpr int mostActivePerServer = 4;
    static constexpr long mostKeptConnections = 16;

    void run();
    bool takeOrders();
    void beginWaiting();
    bool hasRoomFor(const Transfer& transfer) const;
    void begin(std::unique_ptr<Transfer> transfer);
    void finishDone();
    void finish(CURL* easy, End end);
    void cancel(Group group);

    const HttpOptions options_;
    MultiHandle multi_;
    std::mutex mutex_;
    std::deque<Order> orders_;
    bool isEnding_ = false;
    std::shared_ptr<Thread> thread_;
    // The thread's own.
    std::deque<std::unique_ptr<Transfer>> waiting_;
    std::map<CURL*, std::unique_ptr<Transfer>> active_;
    std::map<std::string, int> activeOf_;  // by server
};

std::optional<End> HttpTransport::Worker::give(Order order, Scheduler& scheduler) {
    {
        const std::lock_guard lock(mutex_);
        if (isEnding_) return End::Cancelled;
        if (!multi_) return End::TransportFailed;
        if (!order.transfer && !thread_) return std::nullopt;
        if (!thread_) thread_ = scheduler.spawn("korvane-http", [self = shared_from_this()] { self->run(); });
        if (!thread_) return End::TransportFailed;
        orders_.push_back(std::move(order));
    }
    curl_multi_wakeup(multi_.get());
    return std::nullopt;
}

void HttpTransport::Worker::end() {
    std::shared_ptr<Thread> thread;
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
        thread = thread_;
    }
    if (!thread) return;
    curl_multi_wakeup(multi_.get());
    thread->join();
}

void HttpTransport::Worker::run() {
    while (takeOrders()) {
        beginWaiting();
        int running = 0;
        if (curl_multi_perform(multi_.get(), &running) != CURLM_OK)
            logError("HttpTransport", "the transfer loop failed");
        finishDone();
        const auto canBegin = [this](const auto& transfer) { return hasRoomFor(*transfer); };
        if (std::any_of(waiting_.begin(), waiting_.end(), canBegin)) continue;
        // Wakes for orders, traffic and the time-outs of transfers.
        constexpr int longestSleepMs = 60'000;
        curl_multi_poll(multi_.get(), nullptr, 0, longestSleepMs, nullptr);
    }
    while (!active_.empty()) finish(active_.begin()->first, End::Cancelled);
    for (const auto& transfer : waiting_) transfer->arrival({});
    waiting_.clear();
}

/// False when it is time to end; what was ordered until then is on its way or waits for its turn.
bool HttpTransport::Worker::takeOrders() {
    std::deque<Order> orders;
    bool goesOn = true;
    {
        const std::lock_guard lock(mutex_);
        orders.swap(orders_);
        goesOn = !isEnding_;
    }
    for (Order& order : orders) {
        if (order.transfer) {
            waiting_.push_back(std::move(order.transfer));
        } else {
            cancel(order.cancelled);
        }
    }
    return goesOn;
}

void HttpTransport::Worker::beginWaiting() {
    auto waiting = std::exchange(waiting_, {});
    for (auto& transfer : waiting) {
        if (hasRoomFor(*transfer)) {
            begin(std::move(transfer));
        } else {
            waiting_.push_back(std::move(transfer));
        }
    }
}

bool HttpTransport::Worker::hasRoomFor(const Transfer& transfer) const {
    const auto found = activeOf_.find(transfer.server);
    return found == activeOf_.end() || found->second < mostActivePerServer;
}

void HttpTransport::Worker::begin(std::unique_ptr<Transfer> transfer) {
    transfer->easy.reset(curl_easy_init());
    CURL* easy = transfer->easy.get();
    if (!easy) return transfer->arrival({End::TransportFailed, 0, {}});
    transfer->maxReplyBytes = options_.maxReplyBytes;
    setUp(*transfer, options_);
    ++activeOf_[transfer->server];
    active_.emplace(easy, std::move(transfer));
    if (curl_multi_add_handle(multi_.get(), easy) != CURLM_OK) finish(easy, End::TransportFailed);
}

void HttpTransport::Worker::finishDone() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        CURL* easy = message->easy_handle;
        const Transfer& transfer = *active_.at(easy);
        finish(easy, endOf(message->data.result, transfer.isTooLarge || transfer.framing.hasEndedIt()));
    }
}

void HttpTransport::Worker::finish(CURL* easy, End end) {
    const auto node = active_.extract(easy);
    Transfer& transfer = *node.mapped();
    const auto count = activeOf_.find(transfer.server);
    if (--count->second == 0) activeOf_.erase(count);
    long httpStatus = 0;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &httpStatus);
    curl_multi_remove_handle(multi_.get(), easy);
    transfer.arrival({end, static_cast<std::int32_t>(httpStatus), std::move(transfer.body)});
}

void HttpTransport::Worker::cancel(Group group) {
    const auto isOf = [group](const Transfer& transfer) { return std::ranges::count(transfer.groups, group) > 0; };
    std::vector<CURL*> cancelled;
    for (const auto& [easy, transfer] : active_) {
        if (isOf(*transfer)) cancelled.push_back(easy);
    }
    for (CURL* easy : cancelled) finish(easy, End::Cancelled);
    std::erase_if(waiting_, [&](const std::unique_ptr<Transfer>& transfer) {
        const bool isCancelled = isOf(*transfer);
        if (isCancelled) transfer->arrival({});
        return isCancelled;
    });
}

HttpTransport::HttpTransport(Scheduler& scheduler, HttpOptions options)
    : scheduler_(scheduler), worker_(std::make_shared<Worker>(std::move(options))) {}

HttpTransport::~HttpTransport() {
    end();
}

std::optional<HttpResponse::End> HttpTransport::start(Groups groups, HttpRequest request, Arrival arrival) {
    auto transfer = std::make_unique<Transfer>();
    transfer->groups = groups;
    transfer->server = serverOf(request.url);
    transfer->request = std::move(request);
    transfer->arrival = std::move(arrival);
    return worker_->give({std::move(transfer)}, scheduler_);
}

void HttpTransport::cancel(Group group) {
    worker_->give({nullptr, group}, scheduler_);
}

void HttpTransport::end() {
    worker_->end();
}

}  // namespace korvane
