#include "korvane/net/RangeTransfer.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

#include "korvane/net/CurlHandles.h"
#include "korvane/net/FramingGuard.h"

namespace korvane {
namespace {

constexpr long wholeFile = 200;
constexpr long partOfFile = 206;
constexpr long partIsBeyond = 416;

MediaFault faultOf(CURLcode code) {
    if (isInsecure(code)) return MediaFault::Insecure;
    switch (code) {
        case CURLE_OK:
            return MediaFault::None;
        case CURLE_OPERATION_TIMEDOUT:
            return MediaFault::TimedOut;
        case CURLE_URL_MALFORMAT:
        case CURLE_UNSUPPORTED_PROTOCOL:
            return MediaFault::BadAddress;
        case CURLE_PARTIAL_FILE:
        case CURLE_GOT_NOTHING:
        case CURLE_RECV_ERROR:
        case CURLE_SEND_ERROR:
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_WRITE_ERROR:
        case CURLE_ABORTED_BY_CALLBACK:
            return MediaFault::Broken;
        default:
            return MediaFault::Unreachable;
    }
}

MediaFault faultOfStatus(long status) {
    if (status == wholeFile || status == partOfFile || status == partIsBeyond) return MediaFault::None;
    if (status == 404 || status == 410) return MediaFault::Gone;
    return status >= 400 ? MediaFault::Refused : MediaFault::Broken;
}

std::optional<std::int64_t> numberIn(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    std::int64_t number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    return read.ec == std::errc() && number >= 0 ? std::optional(number) : std::nullopt;
}

}  // namespace

struct RangeTransfer::State {
    State(const MediaOptions& given, Sink taker);
    void setUp();
    void readContentRange();
    bool readHead();
    Outcome end(CURLcode code);
    void stop();
    static std::size_t takeBody(char* data, std::size_t size, std::size_t count, void* context) noexcept;

    const MediaOptions options;
    const Sink sink;
    MultiHandle multi;
    FramingGuard framing;
    EasyHandle easy;
    bool isRunning = false;
    bool isHeadRead = false;
    std::int64_t from = 0;
    std::int64_t next = 0;
    std::optional<std::int64_t> fileSize;
};

RangeTransfer::State::State(const MediaOptions& given, Sink taker) : options(given), sink(std::move(taker)) {
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (initialised != CURLE_OK) return;
    multi.reset(curl_multi_init());
    easy.reset(curl_easy_init());
    if (easy) setUp();
}

void RangeTransfer::State::setUp() {
    CURL* handle = easy.get();
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    // Otherwise giving up waits for the look-up of the name.
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(options.connectTimeout.count()));
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
    if (!options.caFile.empty()) curl_easy_setopt(handle, CURLOPT_CAINFO, options.caFile.c_str());
    // A second version of the protocol would win nothing for one request at a time.
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, takeBody);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
}

// "bytes 100-199/1000", the size of the file being "*" where the service does not know it.
void RangeTransfer::State::readContentRange() {
    curl_header* header = nullptr;
    if (curl_easy_header(easy.get(), "Content-Range", 0, CURLH_HEADER, -1, &header) != CURLHE_OK) return;
    const std::string_view range = header->value;
    if (const auto slash = range.find('/'); slash != std::string_view::npos)
        fileSize = numberIn(range.substr(slash + 1));
    next = -1;
    if (range.starts_with("bytes ")) next = numberIn(range.substr(6)).value_or(-1);
}

/// False when the body is not of the file, or not of the part that was asked for.
bool RangeTransfer::State::readHead() {
    isHeadRead = true;
    long status = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
    if (status == partOfFile) {
        readContentRange();
        return next == from;
    }
    if (status != wholeFile) return false;
    next = 0;
    curl_off_t length = -1;
    curl_easy_getinfo(easy.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    if (length >= 0) fileSize = length;
    return true;
}

std::size_t RangeTransfer::State::takeBody(char* data, std::size_t size, std::size_t count, void* context) noexcept {
    auto& state = *static_cast<State*>(context);
    const std::size_t bytes = size * count;
    try {
        if (!state.isHeadRead && !state.readHead()) return 0;
        state.sink(state.next, {reinterpret_cast<const std::uint8_t*>(data), bytes});
    } catch (...) {
        return 0;
    }
    state.next += static_cast<std::int64_t>(bytes);
    return bytes;
}

RangeTransfer::Outcome RangeTransfer::State::end(CURLcode code) {
    long status = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
    const char* location = nullptr;
    if (status >= 300 && status < 400) curl_easy_getinfo(easy.get(), CURLINFO_REDIRECT_URL, &location);
    Outcome outcome{faultOf(code), location ? location : ""};
    // The body of an error is not read, which looks like a transfer that failed.
    const bool isAnswered = code == CURLE_OK || code == CURLE_WRITE_ERROR;
    if (isAnswered && faultOfStatus(status) != MediaFault::None) outcome.fault = faultOfStatus(status);
    if (isAnswered && status == partIsBeyond) {
        readContentRange();
        fileSize = std::min(fileSize.value_or(from), from);
        outcome.fault = MediaFault::None;
    }
    // Where the service has not told how long the file is, its end tells.
    if (code == CURLE_OK && status == wholeFile) {
        if (!isHeadRead) next = 0;
        fileSize = next;
    }
    if (location) outcome.fault = MediaFault::None;
    stop();
    return outcome;
}

void RangeTransfer::State::stop() {
    if (std::exchange(isRunning, false)) curl_multi_remove_handle(multi.get(), easy.get());
}

RangeTransfer::RangeTransfer(const MediaOptions& options, Sink sink)
    : state_(std::make_unique<State>(options, std::move(sink))) {}

RangeTransfer::~RangeTransfer() {
    state_->stop();
}

void RangeTransfer::start(const std::string& url, std::int64_t from, std::int64_t count) {
    state_->stop();
    state_->isHeadRead = false;
    state_->from = state_->next = from;
    if (!state_->multi || !state_->easy) return;
    const std::string range = std::to_string(from) + "-" + std::to_string(from + count - 1);
    state_->framing.watch(state_->easy.get());
    curl_easy_setopt(state_->easy.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(state_->easy.get(), CURLOPT_RANGE, range.c_str());
    state_->isRunning = curl_multi_add_handle(state_->multi.get(), state_->easy.get()) == CURLM_OK;
}

std::optional<RangeTransfer::Outcome> RangeTransfer::step(std::chrono::milliseconds longest) {
    if (!state_->isRunning) return Outcome{MediaFault::NoRoom, {}};
    CURLM* multi = state_->multi.get();
    const std::int64_t before = state_->next;
    int running = 0;
    if (curl_multi_perform(multi, &running) != CURLM_OK) return state_->end(CURLE_RECV_ERROR);
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi, &left)) {
        if (message->msg == CURLMSG_DONE) return state_->end(message->data.result);
    }
    if (state_->next == before) curl_multi_poll(multi, nullptr, 0, static_cast<int>(longest.count()), nullptr);
    return std::nullopt;
}

bool RangeTransfer::isRunning() const {
    return state_->isRunning;
}

std::int64_t RangeTransfer::next() const {
    return state_->next;
}

std::optional<std::int64_t> RangeTransfer::fileSize() const {
    return state_->fileSize;
}

void RangeTransfer::wake() {
    if (state_->multi) curl_multi_wakeup(state_->multi.get());
}

}  // namespace korvane
