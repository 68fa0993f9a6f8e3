#pragma once

#include "korvane/views/timeline/Binding/ScrubberStripView.h"

namespace korvane {

/// The strip of ScrubberView: a cell an event, which comes to rest with its begin under the mark.
class EventStrip final : public ScrubberStripView {
  public:
    EventStrip(ScrubberWidget& widget, const TimelineEnvironment& environment);

    QUrl layoutFile() const override;

    /// As ScrubberView's.
    void toClosestEvent(const std::shared_ptr<ScrubberEvent>& event);
    void toNextEvent(bool withSendNotify);
    void toPreviousEvent(bool withSendNotify);

    void step(int direction, bool isLong) override;
    void scrollViewWillBeginDragging(CollectionView& view) override;
    void scrollViewDidScroll(CollectionView& view) override;

  protected:
    QUrl cellFile() const override;
    QString cellIdentifier() const override;
    std::unique_ptr<FlowLayout> makeLayout() const override;
    void handHasLeft(HandMove by) override;
    void tapped(std::int64_t index) override;
    void onReloadIndexRequired(const ScrubberProviderBridge::ReloadIndex& what) override;
    void continuePlaying(const std::shared_ptr<ScrubberEvent>& finished) override;
    TimeMs momentUnderMark(std::int64_t index) const override;
    std::shared_ptr<ScrubberEvent> eventNear(std::int64_t index, TimeMs moment) const override;
    QString zoneOf(const ScrubberEvent& entry) const override;

  private:
    void toNeighbour(std::int64_t step, bool notify);
    IndexPath neighbour(std::int64_t step) const;
    void goWhereAsked(const std::shared_ptr<ScrubberEvent>& target, std::int64_t expected, bool isRegrouped);
    void select(IndexPath indexPath);
};

}  // namespace korvane
