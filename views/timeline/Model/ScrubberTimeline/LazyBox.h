#pragma once

#include <atomic>
#include <memory>

namespace korvane {

/// One word for what most items of a tree never need. It is made when first asked for, by whatever thread, and goes
/// with the box only, so that it may be used unlocked.
template <typename Content>
class LazyBox {
  public:
    LazyBox() = default;
    ~LazyBox() { delete content_.load(); }
    LazyBox(const LazyBox&) = delete;
    LazyBox& operator=(const LazyBox&) = delete;

    /// Null until it has been made.
    Content* get() const { return content_.load(); }

    Content& make() {
        if (Content* const existing = get()) return *existing;
        auto fresh = std::make_unique<Content>();
        Content* faster = nullptr;
        return content_.compare_exchange_strong(faster, fresh.get()) ? *fresh.release() : *faster;
    }

  private:
    std::atomic<Content*> content_ = nullptr;
};

}  // namespace korvane
