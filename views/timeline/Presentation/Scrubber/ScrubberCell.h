#pragma once

#include <QPointer>
#include <QQuickItem>
#include <memory>

#include "base/LifeToken.h"
#include "toolkit/CollectionViewCell.h"
#include "toolkit/ImageView.h"
#include "toolkit/LayoutConstraint.h"
#include "views/timeline/Presentation/CellScale.h"
#include "views/timeline/Presentation/ScrubberCellOwner.h"
#include "views/timeline/Presentation/ScrubberPreview.h"

namespace korvane {

/// One cell of the event strip: shows an entry with its preview, time and icon, and knows its place in time while it is
/// the playing one. Root of the interface file layouts/ScrubberCell.qml, whose properties are its outlets. Main thread
/// only.
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

    /// Makes it the playing cell of `owner`.
    void startProgress(ScrubberCellOwner* owner);
    /// Ends that: the bar goes back to 0 and the cell has no owner.
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

    /// On the next turn of the main loop, while this is the playing cell: moves bar and strip over one second to
    /// `position` (ms) in the range that is played. The offsets are points and must live as long as the cell; the first
    /// receives the strip's content offset when it is 0, the second is the way that the strip has gone already.
    void advanceProgressTo(TimeMs position, TimeMs startRange, TimeMs endRange, double& baseOffset, double& prevOffset);

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
    bool isProgressStarted_ = false;
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
    LifeToken life_;
};

}  // namespace korvane
