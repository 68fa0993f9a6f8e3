#pragma once

#include <vector>

#include "apps/browser/RecordingCatalog.h"
#include "client/KorvaneHelpers.h"
#include "client/Reply.h"

namespace korvane {

struct RecordingsPage {
    std::vector<Recording> recordings;
    /// The service has further ones after this page.
    bool hasMore = false;
};

/// Reads a reply of getRecords(). Elements without a time or a URL are passed over; a reply of another kind is an empty
/// page. Any thread.
RecordingsPage readRecordings(const Reply& reply, const KorvaneHelpers& helpers);

}  // namespace korvane
