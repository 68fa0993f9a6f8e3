#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "korvane/base/Result.h"
#include "korvane/base/Time.h"

namespace korvane {

/// Issues and checks the tokens of one service. Immutable after creation: all functions may be called from any thread.
///
/// A bearer is base64url(JSON {"camid","exp"}) + "." + base64url(HMAC-SHA256 of the decoded first half). A whole token,
/// which a host is given, is base64url of a JSON object that holds a bearer and tells where the service is.
class AccessToken {
  public:
    /// The secret in the file beside `database` (its name with ".key" appended, mode 0600); made on first use. Refuses
    /// a link, another user's file and one that others may read or write.
    static Result<AccessToken> forDatabase(const std::filesystem::path& database);

    /// `secret` must not be empty.
    explicit AccessToken(std::string secret);

    std::string issueBearer(std::int64_t cameraId, TimeSec expires) const;

    /// A token for the service at `baseUrl` ("http://host:port" or https).
    Result<std::string> issue(std::int64_t cameraId, TimeSec expires, const std::string& baseUrl) const;

    /// The camera that `bearer` opens at `now`, or nothing when it is malformed, forged or expired.
    std::optional<std::int64_t> verify(std::string_view bearer, TimeSec now) const;

  private:
    std::string signature(std::string_view payload) const;

    std::string secret_;
};

}  // namespace korvane
