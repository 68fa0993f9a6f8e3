#include "korvane/views/timeline/Presentation/PlaybackTick.h"

namespace korvane {

PlaybackTick playbackTick(const PlaybackRules& rules, const PlaybackProgress& before, TimeMs endRange,
                          TimeMs position) {
    PlaybackTick tick;
    tick.progress = before;
    tick.tellsStarted = !before.played;
    tick.progress.played = true;
    const bool isKnown = position != -1;
    tick.tellsFinished = isKnown && endRange != -1 && position >= endRange && !before.finished;
    tick.progress.finished = before.finished || tick.tellsFinished;
    const bool mayAdvance = rules.advancesAfterFinish || !tick.progress.finished;
    tick.advances = isKnown && mayAdvance && position != before.lastPosition;
    if (tick.advances) tick.progress.lastPosition = position;
    tick.wait = tick.advances ? playbackAdvanceTime : playbackTickTime;
    return tick;
}

}  // namespace korvane
