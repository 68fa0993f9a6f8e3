#include "korvane/net/MediaStream.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

namespace korvane {
namespace {

constexpr std::int64_t smallestRange = ByteCache::blockSize;
constexpr std::int64_t largestRange = 8 * ByteCache::blockSize;
constexpr std::int64_t leastProgress = 4096;              // bytes that must come within the time-out
constexpr std::int64_t farthest = std::int64_t{1} << 60;  // no film is that long
constexpr int mostRedirections = 5;
constexpr int mostFruitless = 3;
constexpr std::chrono::milliseconds longestStep{1'000};
constexpr std::chrono::milliseconds betweenQuestions{50};

std::string schemeOf(std::string_view url) {
    std::string scheme(url.substr(0, url.find("://")));
    std::ranges::transform(scheme, scheme.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return scheme;
}

bool isReadable(std::string_view url) {
    const std::string scheme = schemeOf(url);
    const bool isAddress = url.find("://") != std::string_view::npos;
    const bool isPlain = std::ranges::all_of(url, [](unsigned char c) { return c > 0x20 && c != 0x7f; });
    return isAddress && isPlain && (scheme == "http" || scheme == "https");
}

}  // namespace

MediaStream::MediaStream(Scheduler& scheduler, std::string url, const MediaOptions& options)
    : scheduler_(scheduler),
      options_(options),
      url_(std::move(url)),
      transfer_(options, [this](std::int64_t position, std::span<const std::uint8_t> bytes) {
          received_ += static_cast<std::int64_t>(bytes.size());
          cache_.put(position, bytes);
      }) {
    if (!isReadable(url_)) fault_ = MediaFault::BadAddress;
}

std::size_t MediaStream::read(std::span<std::uint8_t> into) {
    if (position_ < 0 || into.empty() || !fetch()) return 0;
    const std::size_t count = cache_.get(position_, into);
    position_ += static_cast<std::int64_t>(count);
    return count;
}

std::optional<std::int64_t> MediaStream::size() {
    if (!transfer_.fileSize()) fetch();
    return fault_ == MediaFault::None ? transfer_.fileSize() : std::nullopt;
}

void MediaStream::cancel() {
    isCancelled_ = true;
    transfer_.wake();
}

/// Until the byte at the position is there. False at the film's end and after a fault.
bool MediaStream::fetch() {
    if (position_ > farthest) return false;
    while (fault_ == MediaFault::None) {
        if (isCancelled_ || (options_.isOver && options_.isOver())) return fail(MediaFault::Cancelled);
        if (cache_.missingFrom(position_) > position_) {
            fruitless_ = 0;
            return true;
        }
        if (transfer_.fileSize() && position_ >= *transfer_.fileSize()) return false;
        if (!comesToPosition()) {
            if (++fruitless_ > mostFruitless) return fail(MediaFault::Broken);
            begin();
        }
        if (!waitOnce()) return fail(MediaFault::TimedOut);
    }
    return false;
}

bool MediaStream::comesToPosition() const {
    const std::int64_t next = transfer_.next();
    return transfer_.isRunning() && next <= position_ && position_ < std::max(rangeEnd_, next + smallestRange);
}

void MediaStream::begin() {
    const std::int64_t from = cache_.missingFrom(position_);
    // Who reads on gets more at a time, who jumps about does not wait for what nobody reads.
    rangeSize_ = from == rangeEnd_ ? std::clamp(2 * rangeSize_, smallestRange, largestRange) : smallestRange;
    rangeEnd_ = from + rangeSize_;
    transfer_.start(url_, from, rangeSize_);
}

/// False when nothing has come for too long.
bool MediaStream::waitOnce() {
    const auto before = scheduler_.monotonicNow();
    const std::int64_t received = received_;
    const auto outcome =
        transfer_.step(std::min(options_.isOver ? betweenQuestions : longestStep, options_.stallTimeout));
    waited_ += scheduler_.monotonicNow() - before;
    if (outcome) onEnd(*outcome);
    if (received / leastProgress != received_ / leastProgress || (outcome && received_ > received)) waited_ = {};
    return waited_ < options_.stallTimeout;
}

void MediaStream::onEnd(const RangeTransfer::Outcome& outcome) {
    if (!outcome.redirection.empty()) return redirect(outcome.redirection);
    // A connection that breaks is made anew, from where it broke.
    if (outcome.fault == MediaFault::Broken && transfer_.next() > 0) return;
    if (outcome.fault != MediaFault::None) fail(outcome.fault);
}

void MediaStream::redirect(const std::string& address) {
    const bool isDowngrade = schemeOf(url_) == "https" && schemeOf(address) != "https";
    if (!isReadable(address) || isDowngrade || ++redirections_ > mostRedirections)
        return static_cast<void>(fail(MediaFault::BadAddress));
    url_ = address;
    fruitless_ = 0;
}

bool MediaStream::fail(MediaFault fault) {
    if (fault_ == MediaFault::None) fault_ = fault;
    return false;
}

}  // namespace korvane
