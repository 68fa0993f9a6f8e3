// A strip that is bound, plays and is cleaned again and again leaves nothing behind.
#include <malloc.h>

#include <QCoreApplication>

#include "korvane/tests/support/service/Seeds.h"
#include "korvane/tests/views/StripFixture.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

using LifeCyclesTest = StripTest;

std::int64_t bytesInUse() {
    const auto info = mallinfo2();
    return static_cast<std::int64_t>(info.uordblks + info.hblkhd);
}

TEST_F(LifeCyclesTest, ManyLeaveNothingBehind) {
    constexpr int cycles = roundsOf(1'000);
    [[maybe_unused]] std::int64_t bytes = 0;
    service_.addEvents(250, ui_.scheduler().utcNow());
    int threads = 0;
    for (int cycle = 0; cycle < cycles; ++cycle) {
        view_->setSource(QString::fromStdString(service_.makeToken()));
        settle();
        view_->toEvent(view_->getEvent(200));
        ui_.advance(50ms);
        ASSERT_TRUE(view_->getCurrentEvent());
        view_->clean();
        settle();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        // The thread of the service's expiry monitors stays.
        if (cycle == 0) threads = ui_.scheduler().liveThreads();
        ASSERT_EQ(ui_.scheduler().liveThreads(), threads);
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
