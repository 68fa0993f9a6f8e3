#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace korvane {

/// The camera service over loopback, with events and no media.
class BenchService {
  public:
    explicit BenchService(std::int64_t events);
    ~BenchService();

    /// For the one camera; empty when something failed.
    const std::string& token() const { return token_; }

  private:
    struct Running;

    std::unique_ptr<Running> running_;
    std::string token_;
};

}  // namespace korvane
