#pragma once

#include <functional>

#include "korvane/views/timeline/Model/ScrubberPagedDataProvider.h"

namespace korvane {

/// The recordings of a camera. Each page is followed by a request for the thumbnails of its recordings, without which
/// it is shown all the same. Recordings between which no more than 10 s lie fold into a group. No filter applies.
class ScrubberRecordsDataProvider final : public ScrubberPagedDataProvider {
  public:
    /// Made by std::make_shared. Scheduler and service outlive the provider.
    ScrubberRecordsDataProvider(Scheduler& scheduler, KorvaneService& service);

  protected:
    void requestPage(KorvaneCamera& camera, const PageQuery& query, ReplyCompletion onComplete) override;
    void completePage(const PageQuery& query, Reply objects,
                      const std::function<void(Reply objects)>& onComplete) override;
    void readElement(ScrubberEvent::Fields& event, const Reply& element, const KorvaneCamera* camera) const override;
    bool joins(const ScrubberEvent::Fields& previous, const ScrubberEvent::Fields& current) const override;
    void startGroup(ScrubberEvent::Fields& group, const ScrubberEvent::Fields& first) const override;
    void extendGroup(ScrubberEvent::Fields& group, const ScrubberEvent::Fields& member) const override;
};

}  // namespace korvane
