#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// The address under which a service's requests lie: http or https, a host, perhaps a port and a path. No user, query
/// or fragment. Any thread.
struct BaseUrl {
    /// "http://127.0.0.1:8080" or "https://host/path": never ends in a slash.
    std::string text;
    bool hasPath = false;

    /// Nothing when `url` is anything else. Slashes at its end do not count as a path.
    static std::optional<BaseUrl> parse(std::string_view url);
};

}  // namespace korvane
