#include <gmock/gmock.h>

#include "korvane/client/Status.h"
#include "korvane/tests/views/StripFixture.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class DeletionTest : public StripTest {
  protected:
    /// Asks for a deletion; its completion is a line among the host's.
    std::int32_t deleteEvent(const std::shared_ptr<ScrubberEvent>& event) {
        return view_->deleteEvent(event, [this](std::int32_t status, const std::string& message) {
            host_.lines.push_back("done " + std::to_string(status) + " " + message);
        });
    }

    void load(std::int64_t events) {
        service_.withFootage([](ScriptedFootage& footage) { footage.clear(); });
        StripTest::load(events);
    }

    void finish() { ui_.advance(1100ms); }

    void expectEachCellToShowItsEntry() const {
        strip().layoutIfNeeded();
        ASSERT_EQ(strip().numberOfItems(), view_->getEventsCount());
        for (const std::int64_t index : strip().indexPathsForVisibleItems()) {
            EXPECT_EQ(cell(index)->getEvent(), view_->getEvent(index)) << index;
        }
    }

    const std::string done_ = "done 0 The event was deleted.";
};

TEST_F(DeletionTest, GoesToWhatFollowed) {
    struct Case {
        std::int64_t events;
        std::int64_t deleted;  // index and id
        std::int64_t playing;  // 0: none, at the live end
        std::string selected;
    };
    const Case cases[] = {{5, 1, 0, "2"}, {5, 3, 3, "4"},    {5, 3, 2, "4"},
                          {5, 2, 4, "3"}, {5, 5, 5, "live"}, {1, 1, 1, "live"}};
    for (const Case& c : cases) {
        load(c.events);
        if (c.playing) view_->toEvent(view_->getEvent(c.playing));
        comeToRestUnheard();
        EXPECT_EQ(deleteEvent(view_->getEvent(c.deleted)), 0);
        finish();
        EXPECT_THAT(host_.take(), ElementsAre("state 0>4 0", "state 4>0 0", done_, "select " + c.selected));
        EXPECT_EQ(view_->getEventsCount(), c.events + 1);
        expectEachCellToShowItsEntry();
        EXPECT_EQ(underMark(), c.deleted);
        EXPECT_EQ(view_->getCurrentEvent(), c.selected == "live" ? nullptr : view_->getEvent(c.deleted));
    }
}

TEST_F(DeletionTest, FailuresAreToldByTheStateAlone) {
    host_.take();
    EXPECT_EQ(deleteEvent(nullptr), StatusBadCall);
    EXPECT_EQ(deleteEvent(ScrubberEvent::build(1, 5)), 0) << "before any source";
    finish();
    EXPECT_THAT(host_.take(), ElementsAre("state 0>4 0")) << "refused at once";

    load(5);
    const auto event = view_->getEvent(2);
    service_.scriptNext("deleteEvent", Script::failed(403));
    deleteEvent(event);
    finish();
    EXPECT_THAT(host_.take(), ElementsAre("state 0>4 0", "state 4>0 403"));
    EXPECT_EQ(view_->getEvent(2), event);

    // An event that has left the list: only the strip moves.
    service_.scriptNext("deleteEvent", Script::answered("gone"));
    deleteEvent(ScrubberEvent::build(77, event->timeAsValue()));
    finish();
    EXPECT_THAT(host_.take(), ElementsAre("state 0>4 0", "state 4>0 0", "done 0 gone", "select live"));
    EXPECT_EQ(view_->getEventsCount(), 7);
}

TEST_F(DeletionTest, AListOfTheHostsOwnKeepsItsEntries) {
    load(5);
    const auto event = view_->getEvent(2);
    show(40);
    deleteEvent(event);
    finish();
    EXPECT_THAT(host_.take(), ElementsAre("state 0>4 0", "state 4>0 0", done_, "select live"));
    EXPECT_EQ(view_->getEventsCount(), 40);
    expectEachCellToShowItsEntry();
    view_->setDataSourceDelegate(nullptr);
    EXPECT_EQ(view_->getEventsCount(), 6);
}

TEST_F(DeletionTest, ACopyOfAnEntryStandsForTheEntryAsItIsNow) {
    load(5);
    const ScrubberEventInfo copy(view_->getEvent(2));
    const auto next = view_->getEvent(3);
    view_->getEvent(2)->setTimeAsValue(next->timeAsValue() - 1'000);  // as a drag within it does
    view_->toEvent(copy);
    finish();
    EXPECT_EQ(view_->getCurrentEvent(), view_->getEvent(2));
    EXPECT_EQ(view_->deleteEvent(copy), 0);
    finish();
    EXPECT_EQ(view_->getCurrentEvent(), next);
}

TEST_F(DeletionTest, WorksWithoutALayoutAndFromOtherThreads) {
    load(5);
    delete view_->contentView();
    ui_.scheduler().spawn("host", [&] { deleteEvent(view_->getEvent(2)); })->join();
    finish();
    EXPECT_THAT(host_.take(), ElementsAre("state 0>4 0", "state 4>0 0", done_));
    EXPECT_EQ(view_->getEventsCount(), 6);
}

TEST_F(DeletionTest, AnotherSourceOrTheEndOfTheViewSilencesIt) {
    const std::function<void()> ends[] = {
        [this] { EXPECT_EQ(view_->setSource(QString::fromStdString(service_.makeToken())), 0); },
        [this] { view_.reset(); },
    };
    for (const std::string stage : {"state 0>4", "state 4>0", "state 4>0, two turns on", "asked", "done"}) {
        for (const auto& end : ends) {
            if (!view_) makeView();
            load(5);
            Script late = Script::late(50ms);
            late.isUnstoppable = true;
            service_.scriptNext("deleteEvent", late);
            // The service's thread leaves the view's end to the main thread.
            host_.on[stage.substr(0, stage.find(','))] = [&] {
                if (ui_.scheduler().isMainThread()) return end();
                if (stage == "state 4>0") return ui_.scheduler().post(end);
                ui_.scheduler().post([&] { ui_.scheduler().post(end); });
            };
            int completions = 0;
            view_->deleteEvent(view_->getEvent(2), [&](auto, const auto&) {
                ++completions;
                if (stage == "done") end();
            });
            if (stage == "asked") end();
            finish();
            host_.on.clear();
            EXPECT_EQ(completions, stage == "done" ? 1 : 0) << stage;
            if (!view_) continue;
            EXPECT_EQ(view_->getState(), ScrubberStateReady) << stage;
            expectEachCellToShowItsEntry();
        }
    }
}

}  // namespace
}  // namespace korvane::test
