#include "korvane/views/timeline/Model/PageRequests.h"

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

PageRequests::Failure PageRequests::fail(const PageRequest& request, std::int32_t status) {
    const auto before =
        std::ranges::find_if(failed_, [&](const FailedPage& page) { return page.request.covers(request.wanted); });
    FailedPage page{request, status, ++lastNumber_, before == failed_.end() ? RetryDelay() : before->delay, true};
    const Failure failure{page.number, page.delay.next()};
    if (before != failed_.end()) failed_.erase(before);
    failed_.push_back(page);
    return failure;
}

void PageRequests::succeed(const PageRequest& request) {
    std::erase_if(failed_, [&](const FailedPage& page) {
        return page.request.first <= request.last && request.first <= page.request.last;
    });
}

bool PageRequests::release(std::uint64_t number) {
    const auto found = std::ranges::find(failed_, number, &FailedPage::number);
    if (found == failed_.end()) return false;
    found->isBarred = false;
    return true;
}

std::optional<std::int32_t> PageRequests::barredWith(std::uint64_t slot) const {
    const auto found = std::ranges::find_if(
        failed_, [slot](const FailedPage& page) { return page.isBarred && page.request.covers(slot); });
    if (found == failed_.end()) return std::nullopt;
    return found->status;
}

void PageRequests::slotErased(std::uint64_t slot) {
    for (const auto* requests : {&underWay_, &waiting_}) {
        for (const Request& request : *requests) shift(*request, slot);
    }
    for (FailedPage& page : failed_) shift(page.request, slot);
}

}  // namespace korvane
