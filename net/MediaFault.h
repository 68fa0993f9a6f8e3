#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace korvane {

/// Why a film cannot be read.
enum class MediaFault {
    None,
    /// Neither http nor https, or no address at all; also where a redirection leads to such, or from https to http.
    BadAddress,
    Unreachable,
    TimedOut,
    /// The certificate or the encryption was refused.
    Insecure,
    /// The service refuses it.
    Refused,
    /// The service knows no such film.
    Gone,
    /// The service broke off, or what it sends is no HTTP.
    Broken,
    /// It is no film, or of a kind that is not read.
    NotAFilm,
    /// It takes more memory or time than a film may, or is made to bring its reader down.
    BeyondLimits,
    Cancelled,
    /// The system gives no thread or memory for it.
    NoRoom,
};

struct MediaOptions {
    /// For the connection to stand, TLS included.
    std::chrono::milliseconds connectTimeout{10'000};
    /// For the next few kilobytes to come.
    std::chrono::milliseconds stallTimeout{15'000};
    /// A file of certificates to trust in place of the system's; empty for the system's.
    std::string caFile;
    /// Asked several times a second while nothing comes; true breaks reading off. Empty for never.
    std::function<bool()> isOver = {};
};

}  // namespace korvane
