#include "korvane/client/TokenExpiryApi.h"

#include <utility>

#include "korvane/base/UtcTime.h"

namespace korvane {

TokenExpiryApi::TokenExpiryApi(std::shared_ptr<ExpiryMonitors> monitors) : monitors_(std::move(monitors)) {}

void TokenExpiryApi::setShareTokenExpire(const std::string& expire) {
    const std::lock_guard lock(mutex_);
    setExpiryLocked(expire);
}

void TokenExpiryApi::setExpireMonitorCallback(ExpireMonitorCallback callback, std::int64_t withCheckingRate,
                                              std::int64_t withDeltaTimeGuardInMs) {
    ExpiryMonitors::Id former = 0;
    {
        const std::lock_guard lock(mutex_);
        if (isClosed_) return;
        former = std::exchange(monitor_, 0);
        if (callback) {
            monitor_ = monitors_->start({std::move(callback), std::chrono::milliseconds(withCheckingRate),
                                         std::chrono::milliseconds(withDeltaTimeGuardInMs), expiry_});
        }
    }
    monitors_->stop(former);
}

void TokenExpiryApi::opened(const std::string& token, const std::string& baseUrl) {
    std::string key = keyOf(token, baseUrl);
    const auto opening = monitors_->opened(key, shared_from_this());
    ExpiryMonitors::Id former = 0;
    {
        const std::lock_guard lock(mutex_);
        key_ = std::move(key);
        opening_ = opening.number;
        if (!opening.left) return;
        former = isClosed_ ? opening.left->id : std::exchange(monitor_, opening.left->id);
        expiry_ = opening.left->expiry;
    }
    monitors_->stop(former);
}

void TokenExpiryApi::updated(const std::string& token, const std::string& expire, const std::string& baseUrl) {
    const std::lock_guard lock(mutex_);
    key_ = keyOf(token, baseUrl);
    setExpiryLocked(expire);
}

void TokenExpiryApi::closed() {
    monitors_->stop(release());
}

void TokenExpiryApi::dropped() {
    const auto monitor = release();
    if (key_.empty()) {
        monitors_->stop(monitor);
    } else {
        monitors_->leave(monitor, key_, opening_);
    }
}

bool TokenExpiryApi::takeOver(const std::string& key, const ExpiryMonitors::LeftMonitor& left) {
    const std::lock_guard lock(mutex_);
    if (isClosed_ || monitor_ != 0 || key_ != key) return false;
    monitor_ = left.id;
    // The expiry may have been set before the monitor came.
    if (expiry_) {
        monitors_->setExpiry(monitor_, expiry_);
    } else {
        expiry_ = left.expiry;
    }
    return true;
}

ExpiryMonitors::Id TokenExpiryApi::release() {
    const std::lock_guard lock(mutex_);
    isClosed_ = true;
    return std::exchange(monitor_, 0);
}

std::string TokenExpiryApi::keyOf(const std::string& token, const std::string& baseUrl) {
    return baseUrl + ' ' + token;
}

void TokenExpiryApi::setExpiryLocked(const std::string& expire) {
    expiry_ = parseUtc(expire);
    monitors_->setExpiry(monitor_, expiry_);
}

}  // namespace korvane
