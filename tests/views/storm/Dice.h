#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>

namespace korvane::test {

/// Draws by a seed, alike with every standard library.
class Dice {
  public:
    explicit Dice(std::uint64_t seed) : random_(seed) {}

    /// Both ends included.
    std::int64_t between(std::int64_t low, std::int64_t high) {
        return low + static_cast<std::int64_t>(random_() % static_cast<std::uint64_t>(high - low + 1));
    }

    bool oneIn(std::int64_t number) { return between(1, number) == 1; }

    template <typename Value>
    Value pick(std::initializer_list<Value> from) {
        return from.begin()[between(0, static_cast<std::int64_t>(from.size()) - 1)];
    }

  private:
    std::mt19937_64 random_;
};

}  // namespace korvane::test
