#include <gtest/gtest.h>

#include <array>
#include <random>

#include "korvane/apps/browser/SoundQueue.h"

namespace korvane {
namespace {

TEST(SoundQueue, IsHeardAtItsMomentAndWithoutHolesWhileItFlows) {
    constexpr int piece = 21;  // ms
    constexpr int perMs = SoundQueue::rate / 1000;
    SoundQueue queue;
    // Each sample tells its ms; from 2000 to 3000 there is silence.
    for (int at = 1; at < 6'000; at += piece) {
        if (at > 2'000 && at < 3'000) continue;
        std::vector<std::int16_t> samples;
        for (int i = 0; i < piece * perMs; ++i)
            samples.insert(samples.end(), 2, static_cast<std::int16_t>(at + i / perMs));
        queue.add(at, std::move(samples));
    }
    std::array<std::int16_t, 10 * perMs * 2> heard{};
    std::minstd_rand random(3);
    int before = 0;
    for (int at = 100; at < 5'500; at += 10) {
        if (at == 4'000) at = 4'600;
        queue.take(at + static_cast<int>(random() % 11) - 5, heard);
        const int first = heard.front();
        if (at > 2'100 && at < 2'900) {
            EXPECT_EQ(first, 0) << at;
        } else if (first != 0) {
            EXPECT_NEAR(first, at, 60);
            const bool flows = before != 0 && at != 4'600;
            EXPECT_TRUE(!flows || std::abs(first - before - 10) <= 1) << at;
        }
        before = first;
    }
    queue.clear();
    queue.take(5'600, heard);
    EXPECT_EQ(heard, decltype(heard){});
}

}  // namespace
}  // namespace korvane
