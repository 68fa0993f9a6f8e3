#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

#include "base/TaskGuard.h"
#include "views/timeline/ScrubberViewDelegate.h"

namespace korvane {

/// A view's weak hold on its host, shared with what calls the host from other threads. All functions may be called from
/// any thread.
class ScrubberHostLink {
  public:
    void set(const std::shared_ptr<ScrubberViewDelegate>& host) {
        const std::lock_guard lock(mutex_);
        host_ = host;
    }

    std::shared_ptr<ScrubberViewDelegate> get() const {
        const std::lock_guard lock(mutex_);
        return host_.lock();
    }

    template <typename Function>
    bool answers(Function ScrubberViewDelegate::*operation) const {
        const auto host = get();
        return host && (*host).*operation;
    }

    /// What the host answers; a default value when it does not answer, or throws.
    template <typename Result, typename... Parameters, typename... Arguments>
    Result call(std::function<Result(Parameters...)> ScrubberViewDelegate::*operation, Arguments&&... arguments) const {
        const auto host = get();
        if (!host || !((*host).*operation)) return Result();
        const auto function = (*host).*operation;  // a copy: the host may change its record while it is called
        constexpr const char* place = "ScrubberViewDelegate";
        const auto ask = [&]() -> Result { return function(std::forward<Arguments>(arguments)...); };
        if constexpr (std::is_void_v<Result>) {
            detail::runGuarded(ask, place);
        } else {
            auto result = Result();
            detail::runGuarded([&] { result = ask(); }, place);
            return result;
        }
    }

  private:
    mutable std::mutex mutex_;
    std::weak_ptr<ScrubberViewDelegate> host_;
};

}  // namespace korvane
