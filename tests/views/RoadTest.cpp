// The whole way of a host with an event strip against the scripted camera, on virtual time.
#include "korvane/tests/views/Road.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

class RoadTest : public StripTest {
  protected:
    bool until(const std::function<bool()>& condition) {
        for (int frame = 0; frame < 1'000 && !condition(); ++frame) ui_.advance(16ms);
        return condition();
    }
};

TEST_F(RoadTest, FromTheTokenToTheNextEventAndAway) {
    service_.addEvents(350, ui_.scheduler().utcNow());
    Road road(*view_, {ui_.scheduler(), [this](const auto& condition) { return until(condition); },
                       [this](double by) { drag(by); }});
    for (int time = 0; time < 2; ++time) {  // a view that was cleaned goes the same way again
        road.bind(service_.makeToken(), 350);
        const int threadsOfService = ui_.scheduler().liveThreads();
        road.lookAtAPageThatIsMissing();
        road.dragToAnEvent();
        road.seekWithinIt();
        road.letTheNextFollow();
        EXPECT_EQ(ui_.scheduler().liveThreads(), threadsOfService + 1);
        EXPECT_EQ(service_.count("getCamera"), 1U);
        EXPECT_EQ(service_.count("getEvents"), 2U);
        EXPECT_EQ(service_.requests("getEvents").back().limit, 100);
        road.clean();
        EXPECT_EQ(ui_.scheduler().liveThreads(), threadsOfService);
        EXPECT_EQ(service_.openConnections(), 0);
        service_.clearRequests();
    }
}

}  // namespace
}  // namespace korvane::test
