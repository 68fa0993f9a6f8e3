#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "korvane/client/Reply.h"

namespace korvane {

/// One page of a list as the service gives it.
struct ServicePage {
    /// Entries that the whole list has; nothing when the reply's number cannot be one, 0 when it tells none.
    std::optional<std::uint64_t> total;
    bool tellsTotal = false;
    /// Null when the reply has none.
    Reply objects;

    /// Nothing for a reply that is no object. Of the elements, `limit` or 1000 are taken, whichever is more, and a line
    /// under `classPath` in the log tells when some are left out.
    static std::optional<ServicePage> read(const Reply& reply, std::int64_t limit, std::string_view classPath);

    /// How many entries the list has, when this page was asked for at `offset` and `known` were known of; nothing when
    /// it does not tell, or cannot be right.
    std::optional<std::uint64_t> count(std::int64_t offset, std::uint64_t known) const;
};

}  // namespace korvane
