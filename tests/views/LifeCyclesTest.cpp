// A strip that is bound, plays and is cleaned again and again leaves nothing behind.
#include <malloc.h>

#include <QCoreApplication>
#include <atomic>

#include "korvane/tests/support/service/Seeds.h"
#include "korvane/tests/views/StripFixture.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

std::int64_t bytesInUse() {
    const auto info = mallinfo2();
    return static_cast<std::int64_t>(info.uordblks + info.hblkhd);
}

class LifeCyclesTest : public StripTest {
  protected:
    LifeCyclesTest() {
        // Where nobody serves pictures: the loads fail, on real time.
        service_.withFootage([this](ScriptedFootage& footage) {
            for (std::int64_t id = 1; id <= 250; ++id) {
                footage.addEvent(
                    {id, ui_.scheduler().utcNow() - 8'000'000 + id * 30'000, "motion", "http://127.0.0.1:9/picture"});
            }
        });
        host_.delegate->OnScrubberGetCurrentPositionForPlayingEvent = [this](const auto& event) {
            return event ? event->end() - 1'000 + played_++ * 700 : -1;
        };
        // The thread of the service's expiry monitors stays.
        bind();
        view_->clean();
        settle();
        threadsOfService_ = ui_.scheduler().liveThreads();
    }

    void bind() { view_->setSource(QString::fromStdString(service_.makeToken())); }

    int threadsOfService_ = 0;
    std::atomic<int> played_ = 0;
};

TEST_F(LifeCyclesTest, ManyLeaveNothingBehind) {
    constexpr int cycles = roundsOf(1'000);
    [[maybe_unused]] std::int64_t bytes = 0;
    for (int cycle = 1; cycle <= cycles; ++cycle) {
        bind();
        settle();
        played_ = 0;
        view_->toEvent(view_->getEvent(200));
        ui_.advance(50ms);
        ASSERT_TRUE(view_->getCurrentEvent());
        ASSERT_EQ(ui_.scheduler().liveThreads(), threadsOfService_ + 1);
        view_->clean();
        settle();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        ASSERT_EQ(ui_.scheduler().liveThreads(), threadsOfService_);
        ASSERT_EQ(service_.openConnections(), 0);
        host_.take();
        service_.clearRequests();
        if (cycle == cycles / 5) bytes = bytesInUse();
    }
    // Sanitizers have a heap of their own, which keeps what was freed for a while.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_LT(bytesInUse() - bytes, cycles * 4 / 5 * 2'000) << "more than 2000 bytes a cycle";
#endif
}

}  // namespace
}  // namespace korvane::test
