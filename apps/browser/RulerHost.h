#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <memory>
#include <optional>

#include "korvane/apps/browser/ClockStyle.h"
#include "korvane/apps/browser/RecordingPlayer.h"
#include "korvane/base/LifeToken.h"
#include "korvane/base/Scheduler.h"
#include "korvane/client/KorvanePlayer.h"
#include "korvane/views/timeline/TimelineView.h"

namespace korvane {

/// Hosts the time ruler: its player is the application's, and its ticks stand on round times at every scale. While it
/// is closed the ruler asks for nothing. Main thread only, except for what the ruler's threads ask of the player.
class RulerHost : public QObject, private KorvanePlayer {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the browser")
    Q_PROPERTY(bool canMove READ canMove NOTIFY changed)
    Q_PROPERTY(bool hasRange READ hasRange WRITE setHasRange NOTIFY changed)

  public:
    /// All outlive the host.
    RulerHost(Scheduler& scheduler, RecordingPlayer& player, QObject* parent = nullptr);
    ~RulerHost() override;

    /// Takes a ruler over; it lives elsewhere. Null for none.
    void attach(TimelineView* view);
    TimelineView* view() const { return view_; }

    /// Shows the player's camera, with the player's moment in the middle.
    void open();
    /// Empties the ruler.
    void close();

    /// Recordings may have come or gone: asks anew, and stays where it is.
    void refresh() {
        if (view_ && isOpen_) view_->refresh();
    }

    /// Once the player has come to where it is going, that moment stands in the middle.
    void showNext();

    /// How the labels are written; takes effect at once.
    void setClockStyle(const ClockStyle& style) {
        clockStyle_ = style;
        setTicks();
    }

    /// In the ruler's colours as they are now.
    void renewKnob() {
        if (view_ && isOpen_) view_->setKnobImage(knob());
    }

    /// There is a moment to go away from.
    bool canMove() const;
    Q_INVOKABLE void toFirst();
    Q_INVOKABLE void goByHours(int hours);

    /// The hour around the player's moment fills the ruler, and a player that leaves it takes it along. Off after
    /// close().
    bool hasRange() const { return range_.has_value(); }
    void setHasRange(bool hasRange);

  signals:
    void changed();

  private:
    enum class Show { None, OutOfView, Always };
    struct Range {
        TimeSec start = 0;
        TimeSec end = 0;
    };

    TimeMs getPosition() const override { return player_.getPosition(); }
    void setPosition(TimeMs position) override;
    std::shared_ptr<KorvaneCamera> getSource() const override { return player_.getSource(); }

    void onPlayerState();
    void onPlayerPosition(TimeMs position);
    void showMoment(Show show);
    void showRange();
    void leaveRange();
    void setTicks();
    QImage knob() const;

    Scheduler& scheduler_;
    RecordingPlayer& player_;
    QPointer<TimelineView> view_;
    std::optional<Range> range_;
    ClockStyle clockStyle_;
    bool isOpen_ = false;
    bool isPlaced_ = false;   // the ruler stands where the knob will come
    Show next_ = Show::None;  // whether the moment that the player comes to next is shown
    LifeToken life_;
};

}  // namespace korvane
