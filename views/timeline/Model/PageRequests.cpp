#include "korvane/views/timeline/Model/PageRequests.h"

#include <algorithm>

namespace korvane {
namespace {

void shift(PageRequest& request, std::uint64_t erased) {
    const auto follow = [erased](std::uint64_t& slot) {
        if (slot > erased) --slot;
    };
    follow(request.first);
    if (request.last >= erased) --request.last;
    follow(request.wanted);
    if (request.wish.slot) follow(*request.wish.slot);
}

}  // namespace

void PageRequests::clear() {
    underWay_.clear();
    waiting_.clear();
    failed_.clear();
}

bool PageRequests::finish(const Request& request) {
    return std::erase(underWay_, request) > 0;
}

void PageRequests::dropWishes() {
    for (const auto* requests : {&underWay_, &waiting_}) {
        for (const Request& request : *requests) request->wish = {};
    }
}

PageRequests::Request PageRequests::covering(std::uint64_t slot) const {
    for (const auto* requests : {&underWay_, &waiting_}) {
        const auto found = std::ranges::find_if(*requests, [slot](const Request& r) { return r->covers(slot); });
        if (found != requests->end()) return *found;
    }
    return nullptr;
}

PageFailure PageRequests::fail(const PageRequest& request, std::int32_t status) {
    return failed_.fail({request, status}, [&](const FailedPage& page) { return page.request.covers(request.wanted); });
}

void PageRequests::succeed(const PageRequest& request) {
    failed_.forget([&](const FailedPage& page) {
        return page.request.first <= request.last && request.first <= page.request.last;
    });
}

bool PageRequests::release(std::uint64_t number) {
    return failed_.release(number) != nullptr;
}

std::optional<std::int32_t> PageRequests::barredWith(std::uint64_t slot) const {
    const auto* const page = failed_.barred([slot](const FailedPage& p) { return p.request.covers(slot); });
    return page ? std::optional(page->status) : std::nullopt;
}

void PageRequests::slotErased(std::uint64_t slot) {
    for (const auto* requests : {&underWay_, &waiting_}) {
        for (const Request& request : *requests) shift(*request, slot);
    }
    failed_.changeAll([slot](FailedPage& page) { shift(page.request, slot); });
}

}  // namespace korvane
