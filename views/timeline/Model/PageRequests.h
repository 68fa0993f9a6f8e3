#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "korvane/views/timeline/Model/FailedPages.h"

namespace korvane {

/// Where the view shall scroll once a page is in: an index as it was given, and the slot that it stood for. -1 is
/// nowhere.
struct PageWish {
    std::int64_t scrollToIndex = -1;
    std::optional<std::uint64_t> slot;

    bool isSet() const { return scrollToIndex >= 0; }
};

/// One page that the service has been asked for.
struct PageRequest {
    /// Slots that it fills, both included, and the one that the view asked for.
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    std::uint64_t wanted = 0;
    std::int64_t offset = 0;
    PageWish wish;
    /// Deletions that had been confirmed when it was sent.
    std::uint64_t confirmed = 0;

    bool covers(std::uint64_t slot) const { return first <= slot && slot <= last; }
};

/// What has become of the pages of one list: which are under way, which wait to be asked for again, and which have
/// failed and may not be asked for yet. It has no lock of its own.
class PageRequests {
  public:
    using Request = std::shared_ptr<PageRequest>;

    /// Forgets all: they are of a list that is no more.
    void clear();

    void add(Request request) { underWay_.push_back(std::move(request)); }
    /// Ends a request that is under way. False when it is of another list, or has been answered before.
    bool finish(const Request& request);
    /// Keeps a finished request until takeWaiting(), since it cannot be asked again before.
    void keep(Request request) { waiting_.push_back(std::move(request)); }
    std::vector<Request> takeWaiting() { return std::exchange(waiting_, {}); }
    /// Nobody waits for these pages to scroll there any more.
    void dropWishes();
    /// The request that will fill `slot`; null without one.
    Request covering(std::uint64_t slot) const;

    /// Bars the slots of a finished request until release() of the number that it gives, which is due after the delay.
    PageFailure fail(const PageRequest& request, std::int32_t status);
    /// Forgets the failures of slots that a page has filled.
    void succeed(const PageRequest& request);
    /// Whether that failure was still remembered.
    bool release(std::uint64_t number);
    /// The status with which the page of `slot` has failed, while it may not be asked for again.
    std::optional<std::int32_t> barredWith(std::uint64_t slot) const;

    /// Follows the list when a slot is taken out of it.
    void slotErased(std::uint64_t slot);

  private:
    struct FailedPage {
        PageRequest request;
        std::int32_t status = 0;
    };

    std::vector<Request> underWay_;
    std::vector<Request> waiting_;
    FailedPages<FailedPage> failed_;
};

}  // namespace korvane
