#include "client/TokenExpiryApi.h"

#include <utility>

#include "base/UtcTime.h"

namespace korvane {

TokenExpiryApi::TokenExpiryApi(std::shared_ptr<ExpiryMonitors> monitors) : monitors_(std::move(monitors)) {}

void TokenExpiryApi::setShareTokenExpire(const std::string& expire) {
    const std::lock_guard lock(mutex_);
    setExpiry(expire);
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
    const auto heirloom = monitors_->takeOver(key, shared_from_this());
    ExpiryMonitors::Id former = 0;
    {
        const std::lock_guard lock(mutex_);
        key_ = std::move(key);
        if (!heirloom) return;
        former = isClosed_ ? heirloom->id : std::exchange(monitor_, heirloom->id);
        expiry_ = heirloom->expiry;
    }
    monitors_->stop(former);
}

void TokenExpiryApi::updated(const std::string& token, const std::string& expire, const std::string& baseUrl) {
    const std::lock_guard lock(mutex_);
    key_ = keyOf(token, baseUrl);
    setExpiry(expire);
}

void TokenExpiryApi::closed() {
    monitors_->stop(release());
}

void TokenExpiryApi::dropped() {
    const auto monitor = release();
    if (key_.empty()) {
        monitors_->stop(monitor);
    } else {
        monitors_->leave(monitor, key_);
    }
}

bool TokenExpiryApi::inherit(const ExpiryMonitors::Heirloom& heirloom) {
    const std::lock_guard lock(mutex_);
    if (isClosed_ || monitor_ != 0) return false;
    monitor_ = heirloom.id;
    // An update may have come before the inheritance.
    if (expiry_) {
        monitors_->setExpiry(monitor_, expiry_);
    } else {
        expiry_ = heirloom.expiry;
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

void TokenExpiryApi::setExpiry(const std::string& expire) {
    expiry_ = parseUtc(expire);
    monitors_->setExpiry(monitor_, expiry_);
}

}  // namespace korvane
