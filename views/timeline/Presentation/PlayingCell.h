#pragma once

#include <QPointer>
#include <QQuickItem>
#include <functional>
#include <memory>

#include "korvane/base/LifeToken.h"
#include "korvane/toolkit/AttributedString.h"
#include "korvane/toolkit/CollectionViewCell.h"
#include "korvane/toolkit/ImageView.h"
#include "korvane/toolkit/LayoutConstraint.h"
#include "korvane/views/timeline/Presentation/PlaybackEngine.h"
#include "korvane/views/timeline/Presentation/ScrubberCellOwner.h"
#include "korvane/views/timeline/Presentation/ScrubberPreview.h"

namespace korvane {

/// One cell of a scrubber: shows an entry with its preview, time and icon. While it is the playing one it follows the
/// player, whom a thread of its own asks, with its bar and with the strip. How wide its scale is, how its motion looks,
/// in which zone it shows times and whether it has a bar is the subclass's. Main thread only.
class PlayingCell : public CollectionViewCell {
    Q_OBJECT

  public:
    ~PlayingCell() override;

    void awakeFromNib() override;
    void prepareForReuse() override;

    /// Held weakly where the list keeps it. A cell that plays goes on with this object.
    void setEvent(const std::shared_ptr<ScrubberEvent>& event);
    /// Null once the entry has left its list.
    std::shared_ptr<ScrubberEvent> getEvent() const { return event_.lock(); }
    void setIndex(IndexPath index) { index_ = index; }
    /// Not owned; lives until stopProgress(), clean() or the next owner.
    void setOwner(ScrubberCellOwner* owner) { owner_ = owner; }

    /// Fills the cell from its entry and the owner's settings.
    virtual void update() = 0;
    /// Empties it.
    virtual void clean();

    /// Makes it the playing cell of `owner`, from the begin of its scale. The owner outlives that.
    void startProgress(ScrubberCellOwner* owner);
    /// Ends that: the bar goes back to 0 and the cell has no owner. Waits for a callback that a host is in; no other
    /// comes after it. A host that calls this from such a callback has the rest done on the next turn of the main loop.
    void stopProgress();
    bool isStartedProgress() const { return playback_.isRunning(); }
    /// A paused bar does not move.
    void pauseProgress(bool paused) { isProgressPaused_ = paused; }
    /// A paused cell does not move the strip.
    void pauseScroll(bool paused) { isScrollPaused_ = paused; }
    /// Where on its scale, in points, the strip stands: the next advance moves it from there.
    void setOffset(double offset) { prevOffset_ = offset; }

    /// The moment (ms) at a point of the scale: a whole second, or the entry's start outside of its span.
    TimeMs getPositionFromOffset(double offset) const;
    /// On the next turn of the main loop: seeks the host to the moment at that point, within the range that the host
    /// plays, and takes up bar and scrolling again.
    void setPositionByOffset(double offset);

    /// On the next turn of the main loop, if this run of playback lasts: moves bar and strip over one second to
    /// `position` (ms) in the range that is played. A position before the range counts as its begin; one behind the
    /// scale's end leaves the strip where it is. The offsets are points and must live as long as the cell; the first
    /// receives the strip's content offset when it is 0, the second is the way that the strip has gone already. Also on
    /// the thread of playback.
    void advanceProgressTo(TimeMs position, TimeMs startRange, TimeMs endRange, double& baseOffset, double& prevOffset);
    /// The animation of an advance is over: the player is asked again.
    void actionEnded() { playback_.wake(); }

  protected:
    PlayingCell(const PlaybackRules& rules, const char* classPath, QQuickItem* parent);

    /// Width of what the entry's span is laid out over, in points.
    virtual double scaleWidth() const = 0;
    /// Runs `body` as the motion of an advance.
    virtual void animateAdvance(double seconds, const std::function<void()>& body) = 0;
    /// Whether the list makes entries only when asked, so that the cell is the one to keep its own.
    virtual bool keepsEntry() const { return false; }
    /// Whether the bar follows the player.
    virtual bool hasBar() const { return true; }
    virtual QString timeZone(const ScrubberConfig& config, const ScrubberEvent::Fields& event) const = 0;

    ScrubberCellOwner* owner() const { return owner_; }
    IndexPath index() const { return index_; }
    /// Pieces of update().
    void setPartsBackground(const QColor& color);
    void updateLiveLabel(const ScrubberConfig& config, bool isLive);
    /// Gives the text.
    AttributedString updateDate(const ScrubberConfig& config, const ScrubberEvent::Fields& event);
    void updateIcon(const ScrubberConfig& config, const ScrubberEvent::Fields& event);
    void updatePreview(const ScrubberConfig& config, const ScrubberEvent::Fields& event);
    /// For an entry that has none; the space is `color`.
    void removePreview(const QColor& color);
    ImageView* previewImageView() const { return previewImageView_; }
    ImageView* eventTypeImageView() const { return eventTypeImageView_; }

  private:
    void moveTo(double offset, double& prevOffset);

    const char* const classPath_;
    const std::shared_ptr<ToolkitContext> context_;
    std::weak_ptr<ScrubberEvent> event_;
    std::shared_ptr<ScrubberEvent> kept_;
    ScrubberCellOwner* owner_ = nullptr;
    IndexPath index_;
    bool isProgressPaused_ = false;
    bool isScrollPaused_ = false;
    double prevOffset_ = 0;
    double baseOffset_ = 0;
    QPointer<ImageView> previewImageView_;
    QPointer<QQuickItem> liveViewLabel_;
    QPointer<ImageView> eventTypeImageView_;
    QPointer<QQuickItem> eventDateTimeaLabel_;
    QPointer<QQuickItem> favariteImageView_;
    QPointer<LayoutConstraint> progress_;
    ScrubberPreview preview_;
    PlaybackEngine playback_;
    LifeToken newestAdvance_;
    LifeToken shown_;  // a new one with each clean(): what was posted for another entry does nothing
};

}  // namespace korvane
