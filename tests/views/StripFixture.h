#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/views/timeline/Presentation/Scrubber/ScrubberCell.h"
#include "korvane/views/timeline/Presentation/Scrubber/ScrubberCollectionView.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberDataSourceDelegate.h"
#include "korvane/views/timeline/ScrubberView.h"

namespace korvane::test {

/// A host that writes down what it hears, each call as one line.
class RecordingHost {
  public:
    RecordingHost();

    std::vector<std::string> take() { return std::exchange(lines, {}); }
    std::size_t count(const std::string& line) const {
        return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), line));
    }

    std::shared_ptr<ScrubberViewDelegate> delegate = std::make_shared<ScrubberViewDelegate>();
    std::vector<std::string> lines;
    /// Runs after a line that begins so has been written.
    std::map<std::string, std::function<void()>> on;

  private:
    void hear(const std::string& line);
};

/// A list of the host's own: head, items a minute apart, live entry. Items are made when asked for.
class OwnEvents final : public ScrubberDataSourceDelegate {
  public:
    explicit OwnEvents(std::int64_t entries) : count(entries) {}

    std::int64_t OnScrubberGetEventsCount() override { return count; }
    std::shared_ptr<ScrubberEvent> OnScrubberGetEventByIndex(std::int64_t index) override;
    std::int32_t OnScrubberDeleteEvent(const std::shared_ptr<ScrubberEvent>& /*event*/) override { return -1; }

    /// Head and live entry included.
    std::int64_t count;
    std::map<std::int64_t, std::shared_ptr<ScrubberEvent>> made;
};

/// What assistive technology hears of a scrubber: "value of minimum..maximum | name | description".
std::string spoken(ScrubberWidget& scrubber);

/// An event strip of 800 x 120 with cells of 100 on virtual time, and a scripted camera.
class StripTest : public ::testing::Test {
  protected:
    StripTest();
    ~StripTest() override;

    /// A strip on `events` of the camera that has loaded and rests at the live end; the host's lines are forgotten.
    void load(std::int64_t events);
    /// The same on a list of the host's own; gives it.
    std::shared_ptr<OwnEvents> show(std::int64_t entries);
    void comeToRestUnheard();
    /// A strip of the test's own, as the first one was made.
    void makeView();
    void settle() { ui_.settle(); }
    ScrubberCollectionView& strip() const;
    /// Whom the cells of the strip belong to.
    ScrubberCellOwner* owner() const { return dynamic_cast<ScrubberCellOwner*>(strip().delegate()); }
    ScrubberCell* cell(std::int64_t index) const;
    /// The item under the mark, -1 for none.
    std::int64_t underMark() const { return view_->getIndexPathFromPointer().value_or(-1); }
    Rect frame(std::int64_t index) const { return strip().layoutAttributesForItemAtIndexPath(index).value_or(Rect{}); }
    /// Puts the strip so that the item lies `offset` points from its rest, without telling anyone.
    void moveTo(std::int64_t index, double offset = 0);
    /// A finger moves the strip by so many points (to the left when negative), stops, and lets go.
    void drag(double by);
    /// The same, until the strip has snapped.
    void dragToRest(double by);

    VirtualUi ui_;
    ScriptedService service_;
    RecordingHost host_;
    TimelineEnvironment environment_;
    std::unique_ptr<ScrubberView> view_;
};

}  // namespace korvane::test
