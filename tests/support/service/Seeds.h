#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

namespace korvane::test {

/// How many of the seeds of a test run here: all where code is optimised, fewer where each step takes longer.
constexpr unsigned roundsOf(unsigned full) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    return (full + 9) / 10;
#elif defined(NDEBUG)
    return full;
#else
    return (full + 3) / 4;
#endif
}

/// The seeds of a storm. KORVANE_STORM_FIRST_SEED and KORVANE_STORM_SEEDS try others, and more of them.
inline auto stormSeeds(unsigned full) {
    const auto given = [](const char* name, unsigned otherwise) {
        const char* const text = std::getenv(name);
        return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
    };
    const unsigned first = given("KORVANE_STORM_FIRST_SEED", 1);
    return testing::Range(first, first + given("KORVANE_STORM_SEEDS", roundsOf(full)));
}

}  // namespace korvane::test
