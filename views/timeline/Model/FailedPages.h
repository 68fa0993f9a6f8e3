#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>
#include <vector>

namespace korvane {

/// Waits that double from 5 s to a minute.
class RetryDelay {
  public:
    std::chrono::seconds next() {
        const auto now = next_;
        next_ = std::min(next_ * 2, std::chrono::seconds(60));
        return now;
    }

  private:
    std::chrono::seconds next_{5};
};

/// A failure by its number, and when its page may be asked for again.
struct PageFailure {
    std::uint64_t number = 0;
    std::chrono::seconds delay{0};
};

/// Requests that have failed, each barred for a while that doubles with every further failure. It has no lock of its
/// own.
template <typename Page>
class FailedPages {
  public:
    /// Bars a page until release() of the number that it gives, which is due after the delay. `isSame` tells of an
    /// earlier failure whether it was of the same page.
    template <typename IsSame>
    PageFailure fail(Page page, const IsSame& isSame) {
        const auto before = std::ranges::find_if(entries_, isSame, &Entry::page);
        Entry entry{std::move(page), ++lastNumber_, before == entries_.end() ? RetryDelay() : before->delay, true};
        const PageFailure failure{entry.number, entry.delay.next()};
        if (before != entries_.end()) entries_.erase(before);
        entries_.push_back(std::move(entry));
        return failure;
    }

    /// The page of that failure, which may be asked for again from now on; null when it is no longer remembered.
    const Page* release(std::uint64_t number) {
        const auto found = std::ranges::find(entries_, number, &Entry::number);
        if (found == entries_.end()) return nullptr;
        found->isBarred = false;
        return &found->page;
    }

    /// The first page of which `fits` holds and that may not be asked for yet; null without one.
    template <typename Fits>
    const Page* barred(const Fits& fits) const {
        const auto found = std::ranges::find_if(entries_, [&](const Entry& e) { return e.isBarred && fits(e.page); });
        return found == entries_.end() ? nullptr : &found->page;
    }

    template <typename Fits>
    void forget(const Fits& fits) {
        std::erase_if(entries_, [&](const Entry& entry) { return fits(entry.page); });
    }
    void clear() { entries_.clear(); }

    template <typename Change>
    void changeAll(const Change& change) {
        for (Entry& entry : entries_) change(entry.page);
    }

  private:
    struct Entry {
        Page page;
        std::uint64_t number = 0;
        RetryDelay delay;
        bool isBarred = true;
    };

    std::vector<Entry> entries_;
    std::uint64_t lastNumber_ = 0;
};

}  // namespace korvane
