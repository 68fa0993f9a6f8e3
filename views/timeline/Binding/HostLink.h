#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

#include "korvane/base/TaskGuard.h"

namespace korvane {

/// A widget's weak hold on its host, shared with what calls the host from other threads. `Delegate` is a record of
/// std::function members, the callbacks. All functions may be called from any thread.
template <typename Delegate>
class HostLink {
  public:
    /// `place` names the record in log lines; it outlives the link.
    explicit HostLink(const char* place) : place_(place) {}

    void set(const std::shared_ptr<Delegate>& host) {
        const std::lock_guard lock(mutex_);
        host_ = host;
    }

    std::shared_ptr<Delegate> get() const {
        const std::lock_guard lock(mutex_);
        return host_.lock();
    }

    template <typename Function>
    bool answers(Function Delegate::*operation) const {
        const auto host = get();
        return host && (*host).*operation;
    }

    /// What the host answers; a default value when it does not answer, or throws.
    template <typename Result, typename... Parameters, typename... Arguments>
    Result call(std::function<Result(Parameters...)> Delegate::*operation, Arguments&&... arguments) const {
        const auto host = get();
        if (!host || !((*host).*operation)) return Result();
        const auto function = (*host).*operation;  // a copy: the host may change its record while it is called
        const auto ask = [&]() -> Result { return function(std::forward<Arguments>(arguments)...); };
        if constexpr (std::is_void_v<Result>) {
            detail::runGuarded(ask, place_);
        } else {
            auto result = Result();
            detail::runGuarded([&] { result = ask(); }, place_);
            return result;
        }
    }

  private:
    const char* const place_;
    mutable std::mutex mutex_;
    std::weak_ptr<Delegate> host_;
};

}  // namespace korvane
