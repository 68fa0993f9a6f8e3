#pragma once

#include <QImage>
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "korvane/toolkit/IndexPath.h"
#include "korvane/toolkit/WidgetItem.h"
#include "korvane/views/timeline/ScrubberConfig.h"
#include "korvane/views/timeline/ScrubberEventInfo.h"
#include "korvane/views/timeline/ScrubberViewDelegate.h"
#include "korvane/views/timeline/ScrubberViewPlayback.h"
#include "korvane/views/timeline/TimelineEnvironment.h"

namespace korvane {

class ScrubberDataSourceDelegate;
class ScrubberStripView;

/// What the scrubbers have in common for their hosts. Times are ms, UTC; lengths are points; statuses are 0 or the
/// client's Status.
///
/// The host edits getConfig(), calls applyConfig() and setDelegate(), then a setSource operation. All functions belong
/// to the main thread except where "any thread" is said. A host may destroy the widget at any time, from within its
/// callbacks too.
class ScrubberWidget : public WidgetItem {
    Q_OBJECT
    Q_PROPERTY(QString source READ source WRITE setSourceToken NOTIFY sourceChanged)
    Q_PROPERTY(int sourceStatus READ sourceStatus NOTIFY sourceChanged)
    Q_PROPERTY(korvane::ScrubberConfig config READ config WRITE setConfig NOTIFY configChanged)
    Q_PROPERTY(int scrubberState READ getState NOTIFY scrubberStateChanged)
    Q_PROPERTY(korvane::ScrubberViewPlayback* playback READ playback CONSTANT)

  public:
    using DeleteCompletion = std::function<void(std::int32_t status, std::string message)>;

    /// clean(), so the host hears of a last change of state.
    ~ScrubberWidget() override;

    Q_INVOKABLE static QString getVersion();

    /// The settings in use, for editing in place; see ScrubberConfig for what takes effect when. setSource() reads
    /// them, so they are left alone while it runs on another thread.
    ScrubberConfig& getConfig();
    /// Brings spacing, mark, colours, fonts and formats to the views and to the cells on screen, on the next turn of
    /// the main loop. Any thread.
    Q_INVOKABLE void applyConfig();

    /// Held weakly. Any thread.
    void setDelegate(const std::shared_ptr<ScrubberViewDelegate>& delegate);
    std::shared_ptr<ScrubberViewDelegate> getDelegate() const;

    /// A list of the host's own: count and entries come from it while it is set. It does not call the widget while it
    /// answers. The strip shows it from the next turn of the main loop on; later changes of it with reload(). Shared.
    /// Any thread.
    void setDataSourceDelegate(const std::shared_ptr<ScrubberDataSourceDelegate>& source);
    std::shared_ptr<ScrubberDataSourceDelegate> getDataSourceDelegate() const;

    /// Closes the list in use, empties the strip and binds to the camera of a token: at the live end, or at the entry
    /// of a moment, of which no selection is told; when the first page has none of exactly that moment, the service is
    /// asked for the one at or before it, which is selected. Gives the provider's status (-1 without a service); how
    /// the load ends is told by the state. Any thread; what is under way for the list before is broken off.
    Q_INVOKABLE int setSource(const QString& token);
    std::int32_t setSource(const QString& token, TimeMs startFrom);
    std::int32_t setSource(const QString& token, TimeMs startDateTime, TimeMs endDateTime,
                           const std::optional<QString>& eventType, std::int64_t sortAscending, std::int64_t withLimit,
                           std::int64_t withOffset, TimeMs startFrom);
    /// setSource(token, startFrom) for QML: a fresh token for the moment under the mark keeps the place. It is `source`
    /// from then on.
    Q_INVOKABLE int setSourceFrom(const QString& token, qint64 startFrom);
    /// Loads the list anew; the strip stays where it is, and what plays goes on. -1 without a provider. Any thread.
    Q_INVOKABLE int refresh();
    /// Folds events that lie close together into groups, or unfolds them, without a request: the setting eventGrouping
    /// for the list in use.
    Q_INVOKABLE void enableEventGrouping(bool isEnabled);
    /// Shows the list anew and goes back to the position.
    Q_INVOKABLE void reload();

    /// Takes any value, and tells the host each time. Any thread.
    void setState(std::int32_t state, std::int32_t andStatus);
    int getState() const;

    /// Back to the first state, with host, settings and views kept and the strip empty; empties the image cache of the
    /// whole application.
    Q_INVOKABLE virtual void clean();

    /// Length of the list, head and live entry included. Any thread.
    std::int64_t getEventsCount() const;
    /// The same with each event of a group by itself: it does not change while pages come and are grouped. Any thread.
    std::int64_t getUngroupedEventsCount() const;
    /// Null for an index outside of the list. Any thread.
    std::shared_ptr<ScrubberEvent> getEvent(std::int64_t index) const;
    /// The same two for QML; not valid for an index outside of the list.
    Q_INVOKABLE qint64 eventsCount() const { return getEventsCount(); }
    Q_INVOKABLE korvane::ScrubberEventInfo eventInfoAt(qint64 index) const {
        return ScrubberEventInfo(getEvent(index));
    }
    std::shared_ptr<ScrubberEvent> getEventByIndex(std::int64_t index) const { return getEvent(index); }
    /// The entry's picture where it is in memory, as it is once a cell has shown it; null for none.
    QImage getPreview(const std::shared_ptr<ScrubberEvent>& event) const;
    /// The provider's list; of a host's own source, all entries but the head. Any thread.
    std::vector<std::shared_ptr<ScrubberEvent>> getEvents() const;

    /// The playing entry; null without one.
    std::shared_ptr<ScrubberEvent> getCurrentEvent() const;
    Q_INVOKABLE korvane::ScrubberEventInfo currentEventInfo() const { return ScrubberEventInfo(getCurrentEvent()); }

    /// Makes the entry's moment the position, and scrolls there (null is the live end). With `withSendNotify` the host
    /// hears of the selection. Without `withScroll` nothing moves, and the playing cell starts anew. The last argument
    /// is in seconds. While a finger moves the strip it is the finger that decides where it goes.
    void toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify = true, bool withScroll = true);
    void toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll,
                 double withFixedAnimationTime);
    /// To the entry after the head and to the one before the live entry. Nothing for a list of less than two entries.
    Q_INVOKABLE void toFirstEvent();
    Q_INVOKABLE void toLastEvent();
    /// As a tap on its cell: selects an entry, plays it and loads it if need be; in ScrubberTimelineView the live entry
    /// alone. An index outside of the list and the head entry are ignored.
    Q_INVOKABLE void selectEventAt(qint64 index);

    /// Deletes an event at the service. Gives -1, with nothing done, for null and without a provider, otherwise 0: how
    /// it ends is told by the state, which stays at ScrubberStateDeleting when the provider refuses at once. Once the
    /// service has deleted it the entry leaves the strip, which goes to the entry that followed it; then `onComplete`,
    /// which may be empty, is called with 0 on the main thread. It is not called when the deletion fails, nor when the
    /// widget has been destroyed or has got another source by then. Any thread.
    std::int32_t deleteEvent(const std::shared_ptr<ScrubberEvent>& event, DeleteCompletion onComplete);

    /// The same for QML: to an event that a signal told of (one that is not valid is the live end), to an entry by its
    /// index (one that does not exist is ignored), and deletion, with scrubberEventDeleted() as its completion.
    Q_INVOKABLE void toEvent(const korvane::ScrubberEventInfo& event, bool withSendNotify = true);
    Q_INVOKABLE void toEventAt(qint64 index, bool withSendNotify = true);
    Q_INVOKABLE int deleteEvent(const korvane::ScrubberEventInfo& event);
    /// Index of what lies under the mark, in a gap of the nearer neighbour; -1 for an empty list.
    Q_INVOKABLE qint64 indexUnderMark() const;

    /// No finger, flick or scroll to an entry moves the strip; a playing entry may.
    Q_INVOKABLE bool isAtRest() const;
    /// A finger drags the strip.
    Q_INVOKABLE bool isHeld() const;
    /// Indexes of the entries that have a cell on screen, as of the last layout pass. Any thread.
    std::vector<std::int64_t> getVisibleIndexes() const;

    /// The strip's content offset.
    Point getBaseOffset() const;
    /// The item under the mark; nothing in a gap or beyond the last.
    IndexPath getIndexPathFromPointer() const;
    /// 0 when the item rests on the mark.
    double getOffsetBetweenPointerAndItemBegin(IndexPath indexPath) const;
    /// Moves the strip, as far as its first and live entry let it; ignored while a finger moves it and until a scroll
    /// to an entry has arrived.
    void scrollOnDeltaX(IndexPath indexPath, double delta);
    void scrollOnPositionX(IndexPath indexPath, double position);
    /// Queues a scroll to the position; nothing moves when no entry has exactly its moment, or in the day tree when
    /// none holds it. Any thread.
    void scrollToPosition(bool notify);
    void scrollToPosition(bool notify, double withFixedAnimationTime);
    /// Brings an item to the mark, in that many seconds, or at a speed of its own for 0.001 and below. Does nothing for
    /// the head entry and for no item: `completion`, which may be empty, is not called then. For an item that does not
    /// exist, and while a finger moves the strip, nothing moves.
    void scrollToPointer(IndexPath indexPath, double withFixedAnimationTime, std::function<void()> completion);

    /// For QML: the token in use (setting it is setSource(), an empty one clean()) with the status that setSource()
    /// gave, and the settings (setting them applies them).
    QString source() const { return sourceToken_; }
    void setSourceToken(const QString& token);
    int sourceStatus() const { return sourceStatus_; }
    ScrubberConfig config() const;
    void setConfig(const ScrubberConfig& config);
    /// Owned by the widget. What a host answers comes before what is set here.
    ScrubberViewPlayback* playback();

  signals:
    /// The host's callbacks for QML, all on the main thread.
    void scrubberDidSelectEvent(const korvane::ScrubberEventInfo& event);
    void scrubberDraggingStartFlyOverEvent(const korvane::ScrubberEventInfo& event);
    void scrubberDraggingContinueFlyOverEvent(const korvane::ScrubberEventInfo& event);
    void scrubberDraggingEndFlyOverEvent(const korvane::ScrubberEventInfo& event);
    void scrubberFlyOverEvent(const korvane::ScrubberEventInfo& event);
    void scrubberStateChanged(int from, int toState, int withStatus);
    void scrubberEventPlayStarted(const korvane::ScrubberEventInfo& event);
    void scrubberEventPlayFinished(const korvane::ScrubberEventInfo& event);
    void scrubberSetCurrentPositionForPlayingEvent(const korvane::ScrubberEventInfo& event, qint64 newPosition);
    /// The token expires in that many ms; repeated every 5 s from 5 minutes before on, and below zero after that.
    void sharedTokenWillExpireIn(qint64 timeLeft);
    /// A deleteEvent() from QML has succeeded. One that failed is told by scrubberStateChanged() alone.
    void scrubberEventDeleted(const korvane::ScrubberEventInfo& event, const QString& message);
    /// The space key, while the widget has the focus: the player is the host's.
    void playPauseRequested();
    void sourceChanged();
    void configChanged();

  protected:
    ScrubberWidget(const TimelineEnvironment& environment, QQuickItem* parent);
    /// A subclass gives its strip in its constructor, before anything else is called.
    void setStrip(std::unique_ptr<ScrubberStripView> strip, const Rect& frame);
    ScrubberStripView& strip() const { return *strip_; }

    /// With the focus: arrows a step, with Shift a long one, Page keys a screen, Home the first entry and End the live
    /// end.
    void keyPressEvent(QKeyEvent* event) override;
    void layoutSubviews() override;
    void awakeFromNib() override;

  private:
    friend class ScrubberViewBase;  // emits the signals, and asks who listens

    void bindTo(const QString& token);

    std::unique_ptr<ScrubberStripView> strip_;
    QString sourceToken_;
    int sourceStatus_ = 0;
};

}  // namespace korvane
