// The whole way of a host with an event strip against the real service, on real time.
#include <filesystem>

#include "korvane/tests/views/RealStrip.h"
#include "korvane/tests/views/Road.h"

namespace korvane::test {
namespace {

class RoadServiceTest : public RealStripTest {};

TEST_F(RoadServiceTest, FromTheTokenToTheNextEventAndAway) {
    Road road(*view_, {scheduler(), [this](const auto& condition) { return until(condition); },
                       [this](double by) { drag(by); }});
    road.bind(token(), eventCount);
    EXPECT_TRUE(until([this] { return showsPreviews(); }));
    road.lookAtAPageThatIsMissing();
    road.dragToAnEvent();
    road.seekWithinIt();
    road.letTheNextFollow();
    EXPECT_TRUE(until([this] { return showsPreviews(); }));
    road.clean();
}

TEST_F(RoadServiceTest, RecordingsShowThemselvesAndAnEventGoes) {
    const auto isBound = [this] { return view_->getState() == ScrubberStateReady && view_->getEventsCount() > 0; };
    view_->getConfig().setDataSourceType(ScrubberDataSourceTypeRecords);
    ASSERT_EQ(view_->setSource(QString::fromStdString(token())), 0);
    ASSERT_TRUE(until(isBound));
    EXPECT_EQ(view_->getEventsCount(), recordingCount + 2);
    EXPECT_TRUE(until([this] { return showsPreviews(); }));

    view_->getConfig().setDataSourceType(ScrubberDataSourceTypeEvents);
    ASSERT_EQ(view_->setSource(QString::fromStdString(token())), 0);
    ASSERT_TRUE(until(isBound));
    const auto last = view_->getEvent(eventCount);
    int status = -1;
    EXPECT_EQ(view_->deleteEvent(last, [&](auto answer, const auto& /*message*/) { status = answer; }), 0);
    EXPECT_TRUE(until([&] { return status == 0; }));
    EXPECT_EQ(view_->getEventsCount(), eventCount + 1);
    EXPECT_EQ(storage_->events(camera_, {})->totalCount, eventCount - 1);
    ASSERT_EQ(view_->setSource(QString::fromStdString(token())), 0);
    EXPECT_TRUE(until([&] { return isBound() && view_->getEventsCount() == eventCount + 1; }));
}

TEST_F(RoadServiceTest, CyclesLeaveNoThreadAndNoSocket) {
    const auto count = [](const char* folder) {
        return std::distance(std::filesystem::directory_iterator(folder), {});
    };
    const auto threads = [&] { return count("/proc/self/task"); };
    const auto files = [&] { return count("/proc/self/fd"); };
    std::ptrdiff_t threadsAtRest = 0, filesAtRest = 0;
    for (int cycle = 0; cycle < 50; ++cycle) {
        ASSERT_EQ(view_->setSource(QString::fromStdString(token())), 0);
        ASSERT_TRUE(until([this] { return view_->getIndexPathFromPointer() == eventCount + 1; }));
        view_->toEvent(view_->getEvent(eventCount - 10));
        ASSERT_TRUE(until([this] { return view_->getCurrentEvent() != nullptr; }));
        view_->clean();
        if (cycle == 9) {
            threadsAtRest = threads();
            filesAtRest = files();
        }
    }
    EXPECT_TRUE(until([&] { return threads() <= threadsAtRest; })) << threads() << " of " << threadsAtRest;
    EXPECT_TRUE(until([&] { return files() <= filesAtRest; })) << files() << " of " << filesAtRest;
}

}  // namespace
}  // namespace korvane::test
