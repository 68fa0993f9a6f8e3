#include "korvane/views/timeline/Binding/RulerBinding.h"

#include <utility>

#include "korvane/base/SaturatingTime.h"
#include "korvane/base/Scheduler.h"
#include "korvane/base/TaskGuard.h"
#include "korvane/client/KorvaneCamera.h"
#include "korvane/client/KorvanePlayer.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/Model/Ruler/RulerWindow.h"
#include "korvane/views/timeline/Presentation/Timeline/TimelineSlider.h"
#include "korvane/views/timeline/TimelineView.h"

namespace korvane {
namespace {

constexpr TimeMs second = 1000;

}  // namespace

RulerBinding::RulerBinding(TimelineView& view)
    : view_(view),
      host_("TimelineViewDelegate"),
      sectors_(std::make_shared<RulerSectors>()),
      updates_(view.toolkit()->scheduler, *sectors_, *this) {}

void RulerBinding::setSlider(TimelineSlider* slider) {
    slider_ = slider;
}

void RulerBinding::setRange(const std::optional<RulerRange>& range) {
    const std::lock_guard lock(mutex_);
    isRangeSet_ = range.has_value();
    if (range) range_ = *range;
}

std::shared_ptr<KorvanePlayer> RulerBinding::player() const {
    const std::lock_guard lock(mutex_);
    return player_;
}

std::shared_ptr<KorvaneCamera> RulerBinding::camera() const {
    const std::lock_guard lock(mutex_);
    return curcam_;
}

void RulerBinding::setPlayer(std::shared_ptr<KorvanePlayer> player) {
    const std::lock_guard lock(mutex_);
    player_.swap(player);
}

void RulerBinding::setCamera(std::shared_ptr<KorvaneCamera> camera) {
    const std::lock_guard lock(mutex_);
    curcam_.swap(camera);
}

// What the axis wants

void RulerBinding::updateTimeline(TimeSec start, TimeSec end) {
    if (!camera() || !slider_) return;
    // What somebody has flown over must not keep waiting what is in view.
    const RulerWindow seen = window();
    const std::pair borders(seen.left(), seen.right());
    if (std::exchange(demandedIn_, borders) != borders) sectors_->dropOutside(borders.first, borders.second);
    updates_.updateTimeline(start, end);
}

RulerWindow RulerBinding::window() const {
    return {slider_->getCenterTime(), slider_->timeScale(), slider_->width()};
}

void RulerBinding::makePositionVisible(TimeSec time, float /*position*/) {
    {
        const std::lock_guard lock(mutex_);
        if (isRangeSet_) return;
    }
    if (!slider_) return;
    slider_->setCenterTime(time);
    slider_->timelineReload();
    view_.onMain([this] { emit view_.centerTimeChanged(); });
}

void RulerBinding::startPositionChanging(TimeSec /*time*/, float /*position*/) {
    updates_.startPositionChanging();
}

void RulerBinding::continuePositionChanging(TimeSec time, float /*position*/) {
    updates_.startPositionChanging();
    showKnob(time);
}

void RulerBinding::endPositionChanging(TimeSec time, float /*position*/) {
    showKnob(time);
    const QPointer<TimelineView> self(&view_);
    if (const auto player = this->player()) {
        detail::runGuarded([&] { player->setPosition(saturatingMultiply(time, second)); }, "KorvanePlayer");
    }
    if (!self) return;
    updates_.endPositionChanging();
    if (slider_) emit view_.positionSet(time);
}

void RulerBinding::sliderGoes() {
    updates_.stopUpdates();
    slider_ = nullptr;
}

void RulerBinding::showKnob(TimeSec time) {
    if (!slider_) return;
    slider_->setCurrentPosition(time);
    slider_->timelineReload();
}

// What the threads want

std::shared_ptr<const Timeline> RulerBinding::fetch(TimeMs start, TimeMs end) {
    if (host_.answers(&TimelineViewDelegate::OnTimelineDataRequest)) {
        return host_.call(&TimelineViewDelegate::OnTimelineDataRequest, start, end);
    }
    std::shared_ptr<KorvaneCamera> asked;
    {
        const std::lock_guard lock(mutex_);
        asked = asked_ = curcam_;
    }
    std::shared_ptr<const Timeline> found;
    detail::runGuarded([&] { found = asked ? asked->getTimelineSync(start, end) : nullptr; }, "KorvaneCamera");
    const std::lock_guard lock(mutex_);
    asked_.reset();
    return found;
}

void RulerBinding::breakOffFetch() {
    std::shared_ptr<KorvaneCamera> asked;
    {
        const std::lock_guard lock(mutex_);
        asked = asked_;
    }
    if (asked) asked->cancelSyncRequests();
}

void RulerBinding::timelineReload() {
    if (slider_) slider_->timelineReload();
}

void RulerBinding::sectorStateChanged() {
    if (slider_ && showsSectorStates_) slider_->timelineReload();
}

std::optional<TimeMs> RulerBinding::playerPosition() {
    const auto player = this->player();
    return player ? std::optional(player->getPosition()) : std::nullopt;
}

void RulerBinding::positionChanged(TimeMs position) {
    RulerRange range;
    {
        const std::lock_guard lock(mutex_);
        range = range_;
    }
    const TimeMs start = saturatingMultiply(range.start_range, second);
    const TimeMs end = saturatingMultiply(range.end_range, second);
    constexpr TimeMs noDuration = -1;
    // Of a player that has been left meanwhile nothing is told.
    const void* const from = player().get();
    view_.onMain([this, from, position, start, end] {
        if (from && from == player().get()) emit view_.timelinePositionChanged(position, noDuration, start, end);
    });
    host_.call(&TimelineViewDelegate::OnTimelinePositionChanged, position, noDuration, start, end);
}

void RulerBinding::showPosition(TimeSec position) {
    if (!slider_) return;
    slider_->setCurrentPosition(position);
    slider_->updateTimelineData();
    slider_->timelineReload();
    view_.onMain([this] { refreshPresent(); });
}

void RulerBinding::refresh() {
    if (!slider_) return;
    const RulerWindow seen = window();
    sectors_->forgetOutside(seen.left(), seen.right());
    updateTimeline(seen.left(), saturatingAdd(seen.right(), RulerSectors::sectorLength));
}

/// What is being recorded may show anywhere in the view; the axis itself keeps only its left edge fresh.
void RulerBinding::refreshPresent() {
    if (!slider_) return;
    const TimeSec present = view_.scheduler().utcNow() / second;
    const TimeSec sector = present / RulerSectors::sectorLength * RulerSectors::sectorLength;
    if (sector < window().left() || present > window().right()) return;
    if (sectors_->state(sector) == RulerSectorState::Recorded) {
        updateTimeline(sector, sector + RulerSectors::sectorLength);
    }
}

}  // namespace korvane
