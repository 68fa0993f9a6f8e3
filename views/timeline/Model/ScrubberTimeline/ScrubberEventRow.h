#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEvent.h"

namespace korvane {

/// Many small entries that lie in one piece, which takes a fraction of the time of making each by itself. Who holds one
/// of them holds them all.
class ScrubberEventRow : public std::enable_shared_from_this<ScrubberEventRow> {
  public:
    explicit ScrubberEventRow(std::size_t capacity)
        : room_(std::allocator<ScrubberEvent>().allocate(capacity)), capacity_(capacity) {}
    ~ScrubberEventRow() {
        std::destroy_n(room_, size_);
        std::allocator<ScrubberEvent>().deallocate(room_, capacity_);
    }

    ScrubberEventRow(const ScrubberEventRow&) = delete;
    ScrubberEventRow& operator=(const ScrubberEventRow&) = delete;

    /// Adds a pending entry of a moment, ms; nothing once the row is full.
    void add(TimeMs timeAsValue, const std::string& name, const std::string& timezone) {
        if (size_ == capacity_) return;
        std::construct_at(room_ + size_, timeAsValue, name, timezone);
        ++size_;
    }

    /// All entries in the order in which they were added. The row is held by a shared pointer.
    ScrubberEvent::Childs entries() {
        ScrubberEvent::Childs entries;
        entries.reserve(size_);
        for (std::size_t i = 0; i < size_; ++i) entries.emplace_back(shared_from_this(), room_ + i);
        return entries;
    }

  private:
    ScrubberEvent* const room_;
    const std::size_t capacity_;
    std::size_t size_ = 0;
};

}  // namespace korvane
