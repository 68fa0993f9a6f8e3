#include "korvane/server/sample/SamplePlan.h"

#include <algorithm>
#include <cmath>

#include "korvane/server/LocalDays.h"

namespace korvane {
namespace {

constexpr TimeMs minuteLength = 60'000;
constexpr TimeMs hourLength = 60 * minuteLength;
constexpr TimeMs dayLength = 24 * hourLength;
constexpr TimeMs span = 3 * dayLength;
constexpr int spread = 45;
constexpr int chained = 3;
constexpr TimeMs gap = 4 * minuteLength;

/// A generator of our own: the standard's distributions differ from library to library.
class Dice {
  public:
    explicit Dice(std::uint64_t seed) : state_(seed) {}

    std::uint32_t roll() {
        state_ += 0x9e3779b97f4a7c15U;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
        return static_cast<std::uint32_t>((z ^ (z >> 31)) >> 32);
    }
    /// Below `end`.
    int below(int end) { return static_cast<int>(roll() % static_cast<std::uint32_t>(end)); }
    float between(float low, float high) { return low + (high - low) * static_cast<float>(roll() & 0xffff) / 65536.0F; }

  private:
    std::uint64_t state_;
};

/// How much goes on at an hour of the local day.
double bustle(double hour) {
    if (hour < 5.5 || hour >= 23) return 0.12;
    if (hour < 7) return 0.6;
    if (hour < 9.5 || (hour >= 15.5 && hour < 19)) return 1.7;
    return hour < 20 ? 1.0 : 0.5;
}

Movement::Kind chooseKind(Dice& dice, bool night) {
    using Kind = Movement::Kind;
    static constexpr Kind all[] = {Kind::Passer, Kind::Car,    Kind::Dog, Kind::Jogger, Kind::Cyclist,
                                   Kind::Comer,  Kind::Leaver, Kind::Car, Kind::Passer};
    static constexpr Kind nightKinds[] = {Kind::Passer, Kind::Car, Kind::Dog, Kind::Comer, Kind::Leaver, Kind::Car};
    return night ? nightKinds[dice.below(6)] : all[dice.below(9)];
}

/// Fills a recording with `count` movements; `burst` puts them close together.
void stage(PlannedRecording& recording, Dice& dice, const LocalDays& calendar, int count, bool courier) {
    const double hour =
        static_cast<double>((recording.start + calendar.offsetAt(recording.start)) % dayLength) / hourLength;
    const bool night = hour < 6 || hour > 19;
    const bool burst = dice.below(3) == 0;
    float time = dice.between(2.5F, 5);
    for (int i = 0; i < count; ++i) {
        Movement movement;
        movement.kind = courier && i == 0 ? Movement::Kind::Courier : chooseKind(dice, night);
        if (burst && i > 0 && i < 4) movement.kind = dice.below(2) == 0 ? Movement::Kind::Car : Movement::Kind::Dog;
        movement.start = time;
        movement.look = dice.roll();
        recording.movements.push_back(movement);
        time = movement.end() + (burst && i < 4 ? dice.between(2.8F, 4) : dice.between(3.5F, 9));
    }
    recording.duration = static_cast<TimeMs>(std::ceil(time + 2)) * 1000;
}

/// Moments spread over the span by how busy the hour is, ascending.
std::vector<TimeMs> chooseStarts(Dice& dice, TimeMs from, TimeMs to, const LocalDays& calendar) {
    constexpr TimeMs stepLength = 5 * minuteLength;
    std::vector<double> upTo = {0};
    for (TimeMs time = from; time < to; time += stepLength)
        upTo.push_back(upTo.back() +
                       bustle(static_cast<double>((time + calendar.offsetAt(time)) % dayLength) / hourLength));
    std::vector<TimeMs> starts;
    for (int i = 0; i < spread; ++i) {
        const double wanted = upTo.back() * (i + static_cast<double>(dice.between(0.15F, 0.85F))) / spread;
        const auto step = std::lower_bound(upTo.begin(), upTo.end(), wanted) - upTo.begin() - 1;
        starts.push_back(from + step * stepLength + dice.below(static_cast<int>(stepLength / 1000)) * 1000);
    }
    return starts;
}

}  // namespace

SamplePlan SamplePlan::make(std::uint64_t seed, TimeMs end) {
    Dice dice(seed);
    const LocalDays calendar(yardTimezone);
    SamplePlan plan;
    end = end / 1000 * 1000 - 6 * minuteLength;
    const TimeMs midnight = (end - dayLength) / dayLength * dayLength;
    PlannedRecording overMidnight{midnight - 35'000, 0, {}};
    stage(overMidnight, dice, calendar, 7, false);
    // The newest ones follow each other without a gap, so that a player crosses their borders.
    std::vector<PlannedRecording> chain(chained);
    TimeMs length = 0;
    for (PlannedRecording& recording : chain) {
        recording.start = end;
        stage(recording, dice, calendar, 6, &recording == &chain.front());
        length += recording.duration;
    }
    TimeMs next = end - length;
    for (PlannedRecording& recording : chain) {
        recording.start = next;
        next = recording.end();
    }
    const auto collides = [](const PlannedRecording& a, TimeMs from, TimeMs to) {
        return from < a.end() + gap && a.start < to + gap;
    };
    int number = 0;
    for (const TimeMs start : chooseStarts(dice, end - span, end - length - gap, calendar)) {
        PlannedRecording recording{start, 0, {}};
        const bool courier = ++number == spread / 3;
        stage(recording, dice, calendar, 5 + dice.below(3), courier);
        if (!plan.recordings.empty() && recording.start < plan.recordings.back().end() + gap)
            recording.start = plan.recordings.back().end() + gap;
        if (collides(overMidnight, recording.start, recording.end()) || recording.end() > chain.front().start - gap) {
            if (!courier) continue;
            recording.start -= hourLength;
        }
        plan.recordings.push_back(recording);
    }
    plan.recordings.push_back(overMidnight);
    plan.recordings.insert(plan.recordings.end(), chain.begin(), chain.end());
    std::sort(plan.recordings.begin(), plan.recordings.end(),
              [](const PlannedRecording& a, const PlannedRecording& b) { return a.start < b.start; });
    for (const PlannedRecording& recording : plan.recordings)
        for (const Movement& movement : recording.movements)
            if (movement.kind == Movement::Kind::Courier)
                plan.doorbells.push_back(recording.start +
                                         static_cast<TimeMs>((movement.start + Movement::courierRings) * 1000));
    return plan;
}

}  // namespace korvane
