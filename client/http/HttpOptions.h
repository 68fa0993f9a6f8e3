#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace korvane {

/// What a host may set of the client. The defaults suit a service on the internet.
struct HttpOptions {
    /// Where a connection goes that is opened with a token alone. To an address without a path "/v1" is added. Empty:
    /// nowhere, such an opening fails.
    std::string defaultBaseUrl;
    /// For the connection to stand, TLS included.
    std::chrono::milliseconds connectTimeout{10'000};
    /// For a whole request.
    std::chrono::milliseconds totalTimeout{30'000};
    /// A longer reply is refused.
    std::size_t maxReplyBytes = std::size_t{16} * 1024 * 1024;
    /// A file of certificates to trust in place of the system's; empty for the system's.
    std::string caFile;
};

}  // namespace korvane
