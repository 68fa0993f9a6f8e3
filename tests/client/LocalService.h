#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/Time.h"
#include "tests/support/service/ScriptedFootage.h"

namespace korvane::test {

/// The real camera service on a free loopback port, with a data base of its own that goes with it.
class LocalService {
  public:
    /// Camera 1 stores one file for each of `records`, with the events that fall into it.
    LocalService(const std::vector<ScriptedRecord>& records, const std::vector<ScriptedEvent>& events,
                 const std::string& zone);
    ~LocalService();

    std::string url() const;
    /// A whole token of the camera.
    std::string token(std::chrono::seconds lifetime = std::chrono::hours(1)) const;

  private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace korvane::test
