#pragma once

#include "korvane/views/timeline/Model/ScrubberPagedDataProvider.h"

namespace korvane {

/// The events of a camera. An event covers the time from 5 s before its moment to 45 s after it; events whose moments
/// lie no more than 10 s apart fold into a group.
class ScrubberEventsDataProvider final : public ScrubberPagedDataProvider {
  public:
    /// Made by std::make_shared. Scheduler and service outlive the provider.
    ScrubberEventsDataProvider(Scheduler& scheduler, KorvaneService& service);

  protected:
    void requestPage(KorvaneCamera& camera, const PageQuery& query, ReplyCompletion onComplete) override;
    void readElement(ScrubberEvent::Fields& event, const Reply& element, const KorvaneCamera* camera) const override;
    bool joins(const ScrubberEvent::Fields& previous, const ScrubberEvent::Fields& current) const override;
    void startGroup(ScrubberEvent::Fields& group, const ScrubberEvent::Fields& first) const override;
    void extendGroup(ScrubberEvent::Fields& group, const ScrubberEvent::Fields& member) const override;
};

}  // namespace korvane
