#pragma once

#include <httplib.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "korvane/server/Storage.h"

namespace korvane {

/// A request that is answered with an HTTP status of 400 and above.
class ApiFailure : public std::runtime_error {
  public:
    ApiFailure(int status, const std::string& message) : std::runtime_error(message), status_(status) {}
    int status() const { return status_; }

  private:
    int status_;
};

/// Reads a request; whatever is wrong with it is an ApiFailure.
class ApiRequest {
  public:
    explicit ApiRequest(const httplib::Request& request) : request_(request) {}

    /// The path cut at its slashes, without the empty piece before the first.
    std::vector<std::string> pathPieces() const;

    /// From the header, else from the query; empty when neither has one.
    std::string bearer() const;

    std::int64_t integer(const char* name, std::int64_t fallback) const;
    bool flag(const char* name) const { return integer(name, 0) != 0; }
    std::string text(const char* name) const { return request_.get_param_value(name); }
    std::vector<std::int64_t> integers(const char* name) const;
    TimeRange range() const;
    PageQuery page() const;

    /// "http://HOST" as the peer has called this service.
    std::string root() const;

    /// A whole number in decimal, nothing before or after it.
    static std::int64_t parseInteger(std::string_view text, const std::string& what);

  private:
    const httplib::Request& request_;
};

}  // namespace korvane
