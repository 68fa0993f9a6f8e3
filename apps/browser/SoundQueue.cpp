#include "korvane/apps/browser/SoundQueue.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace korvane {

namespace {
constexpr std::size_t mostPieces = 1'000;
constexpr std::size_t mostSamples = SoundQueue::rate * SoundQueue::channels * 60;
// Sound that flows is left alone while it is nearer than this to the picture; correcting it can be heard.
constexpr double toleratedDrift = 60;
constexpr double framesPerMs = SoundQueue::rate / 1000.0;
}  // namespace

double SoundQueue::Piece::at() const {
    return position + static_cast<double>(used / channels) / framesPerMs;
}

void SoundQueue::add(TimeMs position, std::vector<std::int16_t> samples) {
    if (samples.empty()) return;
    const std::lock_guard lock(mutex_);
    pieces_.push_back({static_cast<double>(position), 0, std::move(samples)});
    std::size_t held = 0;
    for (const Piece& piece : pieces_) held += piece.samples.size();
    for (; pieces_.size() > mostPieces || held > mostSamples; pieces_.pop_front())
        held -= pieces_.front().samples.size();
}

/// Drops what has passed, up to within one sample of the position.
void SoundQueue::align(double position) {
    while (!pieces_.empty()) {
        Piece& piece = pieces_.front();
        const double passed = std::floor((position - piece.at()) * framesPerMs);
        if (passed <= 0) return;
        const std::size_t left = piece.samples.size() - piece.used;
        const auto samples = static_cast<std::size_t>(std::min(passed, 1e9)) * channels;
        if (samples < left) {
            piece.used += samples;
            return;
        }
        pieces_.pop_front();
    }
}

void SoundQueue::take(double position, std::span<std::int16_t> into) {
    const std::lock_guard lock(mutex_);
    const bool isNear = !pieces_.empty() && std::abs(pieces_.front().at() - position) < toleratedDrift;
    if (!isFlowing_ || !isNear) align(position);
    std::size_t filled = 0;
    while (filled < into.size() && !pieces_.empty()) {
        Piece& piece = pieces_.front();
        const double ahead = piece.at() - position - static_cast<double>(filled / channels) / framesPerMs;
        if (ahead > toleratedDrift || (!isFlowing_ && filled == 0 && ahead > 1)) {
            const auto silent = static_cast<std::size_t>(ahead * framesPerMs) * channels;
            const std::size_t count = std::min(silent, into.size() - filled);
            std::fill_n(into.begin() + static_cast<std::ptrdiff_t>(filled), count, std::int16_t{0});
            filled += count;
            if (count < silent) break;
        }
        const std::size_t count = std::min(into.size() - filled, piece.samples.size() - piece.used);
        std::copy_n(piece.samples.begin() + static_cast<std::ptrdiff_t>(piece.used), count,
                    into.begin() + static_cast<std::ptrdiff_t>(filled));
        filled += count;
        piece.used += count;
        isFlowing_ = true;
        if (piece.used >= piece.samples.size()) pieces_.pop_front();
    }
    if (filled < into.size()) isFlowing_ = false;
    std::fill(into.begin() + static_cast<std::ptrdiff_t>(filled), into.end(), std::int16_t{0});
}

void SoundQueue::clear() {
    const std::lock_guard lock(mutex_);
    pieces_.clear();
    isFlowing_ = false;
}

}  // namespace korvane
