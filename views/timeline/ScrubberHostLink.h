#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <mutex>

#include "base/Log.h"
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
        try {
            return function(std::forward<Arguments>(arguments)...);
        } catch (const std::exception& error) {
            logError("ScrubberViewDelegate", error.what());
        } catch (...) {
            logError("ScrubberViewDelegate", "the host threw something that is no exception");
        }
        return Result();
    }

  private:
    mutable std::mutex mutex_;
    std::weak_ptr<ScrubberViewDelegate> host_;
};

}  // namespace korvane
