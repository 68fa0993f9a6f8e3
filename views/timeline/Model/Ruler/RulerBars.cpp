#include "korvane/views/timeline/Model/Ruler/RulerBars.h"

#include <algorithm>

#include "korvane/views/timeline/Model/Ruler/Truncated.h"
#include "korvane/views/timeline/Model/TimelineSearch.h"

namespace korvane {
namespace {

constexpr double fewBars = 64;  // so many of a sector are always bars of their own

/// The first index from `begin` to before `end` for which `isBefore` no longer holds.
template <class IsBefore>
std::int32_t boundary(std::int32_t begin, std::int32_t end, IsBefore isBefore) {
    while (begin < end) {
        const std::int32_t middle = begin + (end - begin) / 2;
        if (isBefore(middle)) {
            begin = middle + 1;
        } else {
            end = middle;
        }
    }
    return begin;
}

}  // namespace

RulerBars::RulerBars(const Timeline* sector, const RulerWindow& window, std::int32_t trackFillMode, float knobX)
    : scale_(window.scale()),
      left_(window.left()),
      right_(window.right()),
      drawable_(narrowed(window.drawableWidth())),
      trackFillMode_(trackFillMode),
      knobX_(knobX) {
    if (!sector || drawable_ <= 0 || left_ >= sector->end() || right_ <= sector->start()) return;
    const Index first = indexElement(sector, left_);
    const Index last = indexElement(sector, right_);
    if (first < 0 || last < 0) return;
    periods_ = &*sector->periods();
    index_ = first;
    last_ = last;
    const double count = static_cast<double>(last) - first + 1;
    const double points = along(period(last).end()) - along(period(first).start());
    if (count > std::max(fewBars, std::min(points, window.drawableWidth()))) findJoined();
}

void RulerBars::findJoined() {
    joinedBegin_ = boundary(index_, last_ + 1, [this](Index i) { return period(i).start() <= left_; });
    joinedEnd_ = boundary(joinedBegin_, last_ + 1, [this](Index i) { return period(i).end() < right_; });
}

std::optional<RulerBar> RulerBars::next() {
    while (index_ <= last_) {
        const bool isJoined = index_ >= joinedBegin_ && index_ < joinedEnd_;
        const auto bar = played(isJoined ? nextJoined() : barOf(index_++));
        if (bar) return bar;
    }
    return std::nullopt;
}

std::optional<RulerBar> RulerBars::barOf(Index index) const {
    const TimeSec start = period(index).start();
    const TimeSec end = period(index).end();
    if (left_ < end && end < right_) {
        const float x0 = start > left_ ? trackX(start) : RulerWindow::leadingMargin;
        const float x1 = along(end);
        return RulerBar{x0, x0 >= x1 ? x0 + 1 : x1};
    }
    if (left_ < start && start < right_) {
        const float x0 = trackX(start);
        return RulerBar{x0 >= drawable_ ? drawable_ - 1 : x0, drawable_};
    }
    if (start < left_ && end > right_) return RulerBar{RulerWindow::leadingMargin, drawable_};
    return std::nullopt;
}

std::optional<RulerBar> RulerBars::nextJoined() {
    auto joined = barOf(index_++);
    while (joined && index_ < joinedEnd_) {
        const Index last = lastBeginningBy(joined->x1);
        if (last < index_) break;
        // One of the last two reaches farthest: only a short bar, widened to a point, can reach past its successor.
        for (Index i = std::max(index_, last - 1); i <= last; ++i) {
            if (const auto bar = barOf(i)) joined->x1 = std::max(joined->x1, bar->x1);
        }
        index_ = last + 1;
    }
    return joined;
}

RulerBars::Index RulerBars::lastBeginningBy(float x) const {
    const auto beginsBy = [&](Index i) { return trackX(period(i).start()) <= x; };
    return boundary(index_, joinedEnd_, beginsBy) - 1;
}

std::optional<RulerBar> RulerBars::played(std::optional<RulerBar> bar) const {
    if (!bar || bar->x0 < 0) return std::nullopt;
    if (trackFillMode_ == 1) {
        if (!(knobX_ > 0) || knobX_ < bar->x0) return std::nullopt;
        bar->x1 = std::min(knobX_, bar->x1);
    }
    return RulerBar{std::min(bar->x0, bar->x1), std::max(bar->x0, bar->x1)};
}

}  // namespace korvane
