#include <gtest/gtest.h>

#include <vector>

#include "korvane/apps/browser/ServiceWatch.h"
#include "korvane/base/VirtualScheduler.h"
#include "korvane/client/Status.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

TEST(ServiceWatchTest, TriesAgainLessAndLessOften) {
    VirtualScheduler scheduler;
    ServiceWatch watch(scheduler);
    std::vector<std::int64_t> tries;
    const auto begin = scheduler.utcNow();
    QObject::connect(&watch, &ServiceWatch::tryAgain, [&] {
        EXPECT_TRUE(watch.isTrying());
        tries.push_back((scheduler.utcNow() - begin) / 1000);
        watch.lose();
    });
    watch.lose();
    watch.lose();  // each part of the window tells of the same loss
    scheduler.advance(100s);
    EXPECT_EQ(tries, (std::vector<std::int64_t>{1, 3, 7, 15, 31, 61, 91}));
    watch.tryNow();
    EXPECT_EQ(tries.back(), 100);
    watch.find();
    EXPECT_FALSE(watch.isLost());
    watch.tryNow();
    scheduler.advance(31s);
    EXPECT_EQ(tries.back(), 100) << "what is found is not looked for";
    watch.lose();
    scheduler.advance(1s);
    EXPECT_EQ(tries.back(), 132) << "after a while it begins anew";
    for (const int status : {StatusTransportFailed + 0, StatusTimedOut + 0, 502, 504})
        EXPECT_TRUE(ServiceWatch::isLoss(status)) << status;
    for (const int status : {0, StatusTokenExpired + 0, StatusInsecure + 0, 401, 404, 500})
        EXPECT_FALSE(ServiceWatch::isLoss(status)) << status;
}

}  // namespace
}  // namespace korvane::test
