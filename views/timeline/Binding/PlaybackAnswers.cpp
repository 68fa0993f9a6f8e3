#include "korvane/views/timeline/Binding/PlaybackAnswers.h"

#include <utility>

namespace korvane {
namespace {

constexpr std::int32_t hostWantsNext = 1;

}  // namespace

PlaybackAnswers::PlaybackAnswers(ScrubberWidget& widget, const HostLink<ScrubberViewDelegate>& host,
                                 const ScrubberViewPlayback& playback, WantsNext wantsNext)
    : widget_(widget), host_(host), playback_(playback), wantsNext_(std::move(wantsNext)) {}

std::int32_t PlaybackAnswers::OnScrubberEventPlayStarted(const std::shared_ptr<ScrubberEvent>& event) {
    widget_.onMain([this, event] { emit widget_.scrubberEventPlayStarted(ScrubberEventInfo(event)); });
    return host_.call(&ScrubberViewDelegate::OnScrubberEventPlayStarted, event);
}

std::int32_t PlaybackAnswers::OnScrubberEventPlayFinished(const std::shared_ptr<ScrubberEvent>& event) {
    widget_.onMain([this, event] { emit widget_.scrubberEventPlayFinished(ScrubberEventInfo(event)); });
    std::int32_t answer = playback_.nextEventFollows() ? hostWantsNext : 0;
    if (host_.answers(&ScrubberViewDelegate::OnScrubberEventPlayFinished)) {
        answer = host_.call(&ScrubberViewDelegate::OnScrubberEventPlayFinished, event);
    }
    if (answer == hostWantsNext) widget_.onMain([wantsNext = wantsNext_, event] { wantsNext(event); });
    return answer;
}

void PlaybackAnswers::OnScrubberGetRangeForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event, TimeMs* startRange,
                                                        TimeMs* endRange) {
    if (startRange) *startRange = event ? event->start() : 0;
    if (endRange) *endRange = event ? event->end() : 0;
    if (host_.answers(&ScrubberViewDelegate::OnScrubberGetRangeForPlayingEvent)) {
        host_.call(&ScrubberViewDelegate::OnScrubberGetRangeForPlayingEvent, event, startRange, endRange);
        return;
    }
    if (startRange && playback_.rangeStart() >= 0) *startRange = playback_.rangeStart();
    if (endRange && playback_.rangeEnd() >= 0) *endRange = playback_.rangeEnd();
}

void PlaybackAnswers::OnScrubberSetCurrentPositionForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event,
                                                                  TimeMs newPosition) {
    widget_.onMain([this, event, newPosition] {
        emit widget_.scrubberSetCurrentPositionForPlayingEvent(ScrubberEventInfo(event), newPosition);
    });
    host_.call(&ScrubberViewDelegate::OnScrubberSetCurrentPositionForPlayingEvent, event, newPosition);
}

TimeMs PlaybackAnswers::OnScrubberGetCurrentPositionForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event) {
    if (!host_.answers(&ScrubberViewDelegate::OnScrubberGetCurrentPositionForPlayingEvent)) return playback_.position();
    return host_.call(&ScrubberViewDelegate::OnScrubberGetCurrentPositionForPlayingEvent, event);
}

}  // namespace korvane
