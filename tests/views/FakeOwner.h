#pragma once

#include "korvane/tests/views/FakePlaybackHost.h"
#include "korvane/views/timeline/Presentation/ScrubberCellOwner.h"

namespace korvane::test {

/// A view of one cell, with a player.
class FakeOwner final : public ScrubberCellOwner, public FakePlaybackHost {
  public:
    ScrubberConfig& getConfig() override { return config; }
    PlaybackHost& playbackHost() override { return *this; }
    QString formatTime(TimeMs time, const QString& format, const QString& zone) const override {
        return QStringLiteral("%1 %2 %3").arg(time).arg(format, zone);
    }
    Point getBaseOffset() const override { return {scrolled, 0}; }
    void scrollOnDeltaX(IndexPath /*index*/, double delta) override { scrolled += delta; }

    ScrubberConfig config;
    double scrolled = 0;
};

}  // namespace korvane::test
