#pragma once

#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace korvane {

/// The list indexes of the cells on screen, as of the last layout pass: a provider asks for them from any thread, and
/// the main thread need not answer. All functions may be called from any thread.
class VisibleIndexes {
  public:
    /// Takes the indexes over, and gives those from before.
    void exchange(std::vector<std::int64_t>& indexes) {
        const std::lock_guard lock(mutex_);
        indexes_.swap(indexes);
    }

    std::vector<std::int64_t> get() const {
        const std::lock_guard lock(mutex_);
        return indexes_;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::int64_t> indexes_;
};

}  // namespace korvane
