#pragma once

#include <vector>

#include "korvane/apps/browser/RecordingCatalog.h"
#include "korvane/client/KorvaneHelpers.h"
#include "korvane/client/Reply.h"

namespace korvane {

struct RecordingsPage {
    std::vector<Recording> recordings;
    /// The service has further ones after this page.
    bool hasMore = false;
};

/// Reads a reply of getRecords(). Elements without a time or a URL are skipped; a reply of another kind is an empty
/// page. Any thread.
RecordingsPage readRecordings(const Reply& reply, const KorvaneHelpers& helpers);

}  // namespace korvane
