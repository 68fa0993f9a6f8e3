#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace korvane {

/// The camera service over loopback, with events that end now and no videos.
class BenchService {
  public:
    /// With `jpeg` each event has that picture.
    explicit BenchService(std::int64_t events, const std::string& jpeg = {});
    ~BenchService();

    /// Where it listens; 0 when something failed.
    std::uint16_t port() const { return port_; }

    /// For the one camera, by way of another address; empty when something failed.
    std::string tokenBy(const std::string& url) const;

    /// For the one camera; empty when something failed.
    const std::string& token() const { return token_; }

  private:
    struct Running;

    std::unique_ptr<Running> running_;
    std::uint16_t port_ = 0;
    std::string token_;
};

}  // namespace korvane
