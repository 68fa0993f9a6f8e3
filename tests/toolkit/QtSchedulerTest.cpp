#include "korvane/toolkit/QtScheduler.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <string>
#include <vector>

namespace korvane {
namespace {

using namespace std::chrono_literals;

TEST(QtScheduler, RunsTasksOfAllThreadsOnTheEventLoopInOrder) {
    QtScheduler scheduler;
    QEventLoop loop;
    std::vector<std::string> order;
    const auto note = [&](const char* name) {
        return [&order, &scheduler, name] {
            EXPECT_TRUE(scheduler.isMainThread());
            order.push_back(name);
        };
    };
    scheduler.post(note("posted"));
    scheduler.post([] { throw 1; });
    scheduler.after(0ms, note("at once"));
    scheduler.cancel(scheduler.after(0ms, note("cancelled")));
    scheduler.cancel(scheduler.after(1ms, note("cancelled too")));
    scheduler.cancel(12345);
    EXPECT_TRUE(order.empty()) << "never within the call";
    scheduler.runInBackground([&] {
        EXPECT_FALSE(scheduler.isMainThread());
        scheduler.post(note("from a worker"));
        scheduler.after(5ms, [&] {
            note("timer of a worker")();
            loop.quit();
        });
    });
    loop.exec();
    EXPECT_EQ(order, (std::vector<std::string>{"posted", "at once", "from a worker", "timer of a worker"}));
}

TEST(QtScheduler, DropsWhatHasNotBegunWhenItGoes) {
    auto alive = std::make_shared<int>(1);
    auto scheduler = std::make_unique<QtScheduler>();
    scheduler->post([alive] { FAIL(); });
    scheduler->after(1ms, [alive] { FAIL(); });
    scheduler->after(0ms, [alive] { FAIL(); });
    scheduler.reset();
    EXPECT_EQ(alive.use_count(), 1);
    QCoreApplication::processEvents();
}

}  // namespace
}  // namespace korvane
