#pragma once

#include <QPointer>
#include <QQuickItem>
#include <memory>

#include "base/LifeToken.h"
#include "toolkit/CollectionViewCell.h"
#include "toolkit/ImageView.h"
#include "toolkit/LayoutConstraint.h"
#include "views/timeline/Presentation/CellScale.h"
#include "views/timeline/Presentation/PlaybackEngine.h"
#include "views/timeline/Presentation/ScrubberCellOwner.h"
#include "views/timeline/Presentation/ScrubberPreview.h"

namespace korvane {

/// One cell of the event strip: shows an entry with its preview, time and icon. While it is the playing one it follows
/// the player, whom a thread of its own asks, with its bar and with the strip. Root of the interface file
/// layouts/ScrubberCell.qml, whose properties are its outlets. Main thread only.
class ScrubberCell : public CollectionViewCell {
    Q_OBJECT
    QML_ELEMENT

  public:
    explicit ScrubberCell(QQuickItem* parent = nullptr);
    ~ScrubberCell() override;

    void awakeFromNib() override;
    void prepareForReuse() override;

    /// Held weakly: the list keeps it.
    void setEvent(const std::shared_ptr<ScrubberEvent>& event) { event_ = event; }
    /// Null once the entry has left its list.
    std::shared_ptr<ScrubberEvent> getEvent() const { return event_.lock(); }
    void setIndex(IndexPath index) { index_ = index; }
    /// Not owned; lives until stopProgress(), clean() or the next owner.
    void setOwner(ScrubberCellOwner* owner) { owner_ = owner; }

    /// Fills the cell from its entry and the owner's settings.
    void update();
    /// Empties it.
    void clean();

    /// Makes it the playing cell of `owner`, from the begin of its picture. The owner outlives that.
    void startProgress(ScrubberCellOwner* owner);
    /// Ends that: the bar goes back to 0 and the cell has no owner. Waits for a callback that a host is in; no other
    /// comes after it. A host that calls this from such a callback has the rest done on the next turn of the main loop.
    void stopProgress();
    /// A paused bar does not move.
    void pauseProgress(bool paused) { isProgressPaused_ = paused; }
    /// A paused cell does not move the strip.
    void pauseScroll(bool paused) { isScrollPaused_ = paused; }

    /// The moment (ms) at a point of the picture: a whole second, or the entry's start outside of its span.
    TimeMs getPositionFromOffset(double offset) const;
    /// On the next turn of the main loop: seeks the host to the moment at that point, within the range that the host
    /// plays, and takes up bar and scrolling again.
    void setPositionByOffset(double offset);

    /// On the next turn of the main loop, if this run of playback lasts: moves bar and strip over one second to
    /// `position` (ms) in the range that is played. The offsets are points and must live as long as the cell; the first
    /// receives the strip's content offset when it is 0, the second is the way that the strip has gone already. Also on
    /// the thread of playback.
    void advanceProgressTo(TimeMs position, TimeMs startRange, TimeMs endRange, double& baseOffset, double& prevOffset);
    /// The animation of an advance is over: the player is asked again.
    void actionEnded() { playback_.wake(); }

  private:
    void updateColors(const ScrubberConfig& config);
    void updateLiveLabel(const ScrubberConfig& config, bool isLive);
    void updateDate(const ScrubberConfig& config, const ScrubberEvent::Fields& event);
    void updateIcon(const ScrubberConfig& config, const ScrubberEvent::Fields& event);
    void moveTo(double offset, double& prevOffset);
    double scaleWidth() const;

    const std::shared_ptr<ToolkitContext> context_;
    std::weak_ptr<ScrubberEvent> event_;
    ScrubberCellOwner* owner_ = nullptr;
    IndexPath index_;
    bool isProgressPaused_ = false;
    bool isScrollPaused_ = false;
    double prevOffset_ = 0;
    double baseOffset_ = 0;
    QPointer<QQuickItem> conatinerView_;
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
