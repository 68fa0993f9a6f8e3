#pragma once

#include <httplib.h>

#include <functional>

#include "korvane/base/Time.h"

namespace korvane {

class AccessToken;
class Storage;

/// What the service answers. Every reply but a picture or a video is JSON; a failure is
/// {"error":{"code":STATUS,"message":TEXT}}. All functions may be called from any thread.
class Api {
  public:
    /// Pages without a limit, or with a negative one, hold this many; none holds more than the most.
    static constexpr std::int64_t defaultLimit = 100;
    static constexpr std::int64_t mostRows = 1000;

    /// Both must outlive this object. With `followLinks`, links in the cameras' folders are followed.
    Api(Storage& storage, const AccessToken& tokens, std::function<TimeMs()> now, bool followLinks);

    /// Answers any request, bad ones too. Does not throw.
    void answer(const httplib::Request& request, httplib::Response& response) const;

    /// Makes `response` a failure.
    static void fail(httplib::Response& response, int status, const std::string& message);

  private:
    Storage& storage_;
    const AccessToken& tokens_;
    std::function<TimeMs()> now_;
    bool followLinks_;
};

}  // namespace korvane
