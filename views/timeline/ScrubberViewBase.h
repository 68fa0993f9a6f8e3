#pragma once

#include <QPointer>
#include <QQuickItem>
#include <QString>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/LifeToken.h"
#include "toolkit/IndexPath.h"
#include "views/timeline/Presentation/ScrubberCellOwner.h"
#include "views/timeline/ScrubberCommon/ScrubberConfig.h"
#include "views/timeline/ScrubberCommon/ScrubberDataProvider.h"
#include "views/timeline/ScrubberCommon/ScrubberEventInfo.h"
#include "views/timeline/ScrubberEntries.h"
#include "views/timeline/ScrubberHostLink.h"
#include "views/timeline/ScrubberProviderBridge.h"
#include "views/timeline/ScrubberViewDelegate.h"
#include "views/timeline/ScrubberViewPlayback.h"
#include "views/timeline/ScrubberViewState.h"
#include "views/timeline/TimelineEnvironment.h"

namespace korvane {

class CollectionView;
class Scheduler;

/// What the scrubber views have in common: settings, host, source and state. Times are ms, UTC; lengths are points;
/// statuses are 0 or the client's Status.
///
/// Made from C++ a view fills its parent item; in QML it lies where the host's bindings put it. The host edits
/// getConfig(), calls applyConfig() and setDelegate(), then a setSource operation. All functions belong to the main
/// thread except where "any thread" is said. A host may destroy the view at any time, from within its callbacks too.
class ScrubberViewBase : public QQuickItem, public ScrubberCellOwner {
    Q_OBJECT
    Q_PROPERTY(QString source READ source WRITE setSourceToken NOTIFY sourceChanged)
    Q_PROPERTY(int sourceStatus READ sourceStatus NOTIFY sourceChanged)
    Q_PROPERTY(korvane::ScrubberConfig config READ config WRITE setConfig NOTIFY configChanged)
    Q_PROPERTY(int scrubberState READ getState NOTIFY scrubberStateChanged)
    Q_PROPERTY(korvane::ScrubberViewPlayback* playback READ playback CONSTANT)

  public:
    static QString getVersion();

    /// The settings in use, for editing in place; see ScrubberConfig for what takes effect when. setSource() reads
    /// them, so they are left alone while it runs on another thread.
    ScrubberConfig& getConfig() override { return config_; }
    /// Brings spacing, mark and background colours to the views, on the next turn of the main loop. Any thread.
    Q_INVOKABLE virtual void applyConfig() = 0;

    /// Held weakly. Any thread.
    void setDelegate(const std::shared_ptr<ScrubberViewDelegate>& delegate) { host_->set(delegate); }
    std::shared_ptr<ScrubberViewDelegate> getDelegate() const { return host_->get(); }

    /// A list of the host's own: count and entries come from it while it is set. Shared. Any thread.
    void setDataSourceDelegate(const std::shared_ptr<ScrubberDataSourceDelegate>& source) {
        entries_->setSource(source);
    }
    std::shared_ptr<ScrubberDataSourceDelegate> getDataSourceDelegate() const { return entries_->source(); }

    /// Closes the list in use and binds to the camera of a token: at the live end, or at the entry of a moment. Gives
    /// the provider's status (-1 without a service); how the load ends is told by the state. Any thread; blocks while
    /// the connection opens.
    Q_INVOKABLE int setSource(const QString& token);
    std::int32_t setSource(const QString& token, TimeMs startFrom);
    std::int32_t setSource(const QString& token, TimeMs startDateTime, TimeMs endDateTime,
                           const std::optional<QString>& eventType, std::int64_t sortAscending, std::int64_t withLimit,
                           std::int64_t withOffset, TimeMs startFrom);
    /// Loads the list anew. -1 without a provider. Any thread.
    Q_INVOKABLE int refresh();
    /// Shows the list anew and goes back to the position.
    Q_INVOKABLE virtual void reload() = 0;

    /// Takes any value, and tells the host each time. Any thread.
    void setState(std::int32_t state, std::int32_t andStatus);
    int getState() const { return state_->get(); }

    /// Back to the first state, with host, settings and views kept; empties the image cache of the whole application.
    Q_INVOKABLE virtual void clean();

    /// Root of the loaded layout; null when it could not be loaded.
    QQuickItem* contentView() const { return contentView_; }
    void setContentView(QQuickItem* view) { contentView_ = view; }

    /// Length of the list, head and live entry included. Any thread.
    std::int64_t getEventsCount() const { return entries_->count(); }
    /// Null for an index outside of the list. Any thread.
    std::shared_ptr<ScrubberEvent> getEvent(std::int64_t index) const { return entries_->at(index); }
    std::shared_ptr<ScrubberEvent> getEventByIndex(std::int64_t index) const { return entries_->at(index); }
    /// The provider's list; of a host's own source, all entries but the head. Any thread.
    std::vector<std::shared_ptr<ScrubberEvent>> getEvents() const { return entries_->all(); }

    /// The playing entry; null without one.
    virtual std::shared_ptr<ScrubberEvent> getCurrentEvent() const = 0;
    Q_INVOKABLE korvane::ScrubberEventInfo currentEventInfo() const { return ScrubberEventInfo(getCurrentEvent()); }

    /// Makes the entry's moment the position, and scrolls there (null is the live end). With `withSendNotify` the host
    /// hears of the selection. Without `withScroll` nothing moves, and the playing cell starts anew. The last argument
    /// is in seconds.
    void toEvent(const std::shared_ptr<ScrubberEvent>& event);
    void toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify);
    void toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll);
    void toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll,
                 double withFixedAnimationTime);
    /// To the entry after the head and to the one before the live entry. Nothing for a list of less than two entries.
    Q_INVOKABLE void toFirstEvent();
    Q_INVOKABLE void toLastEvent();

    /// Deletes an event at the service. Gives -1, with nothing done, for null and without a provider, otherwise 0: how
    /// it ends is told by the state, which stays at ScrubberStateDeleting when the provider refuses at once. Once the
    /// service has deleted it the entry leaves the strip, which goes to the entry that followed it; then `onComplete`,
    /// which may be empty, is called with 0 on the main thread. It is not called when the deletion fails, nor when the
    /// view has been destroyed or has got another source by then. Any thread.
    std::int32_t deleteEvent(const std::shared_ptr<ScrubberEvent>& event,
                             ScrubberDataProvider::DeleteCompletion onComplete);

    /// The same for QML: to an event that a signal told of (one that is not valid is the live end), to an entry by its
    /// index (one that does not exist is ignored), and deletion, with scrubberEventDeleted() as its completion.
    Q_INVOKABLE void toEvent(const korvane::ScrubberEventInfo& event);
    Q_INVOKABLE void toEventAt(qint64 index);
    Q_INVOKABLE int deleteEvent(const korvane::ScrubberEventInfo& event);

    /// For cells; they ask the host. The answers are the host's; where it does not answer, those of playback(), or 0.
    /// Any thread.
    std::int32_t OnScrubberEventPlayStarted(const std::shared_ptr<ScrubberEvent>& event) override;
    std::int32_t OnScrubberEventPlayFinished(const std::shared_ptr<ScrubberEvent>& event) override;
    void OnScrubberGetRangeForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event, TimeMs* startRange,
                                           TimeMs* endRange) override;
    void OnScrubberSetCurrentPositionForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event,
                                                     TimeMs newPosition) override;
    TimeMs OnScrubberGetCurrentPositionForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event) override;
    QString formatTime(TimeMs time, const QString& withFormat, const QString& withTimezone) const override;

    /// For QML: the token in use (setting it is setSource(), an empty one clean()) with the status that setSource()
    /// gave, and the settings (setting them applies them).
    QString source() const { return sourceToken_; }
    void setSourceToken(const QString& token);
    int sourceStatus() const { return sourceStatus_; }
    ScrubberConfig config() const { return config_; }
    void setConfig(const ScrubberConfig& config);
    /// Owned by the view. What a host answers comes before what is set here.
    ScrubberViewPlayback* playback() { return &playback_; }

  signals:
    /// The host's callbacks for QML, all on the main thread.
    void scrubberDidSelectEvent(const korvane::ScrubberEventInfo& event);
    void scrubberDraggingStartFlyOverEvent(const korvane::ScrubberEventInfo& event);
    void scrubberDraggingContinueFlyOverEvent(const korvane::ScrubberEventInfo& event);
    void scrubberDraggingEndFlyOverEvent(const korvane::ScrubberEventInfo& event);
    void scrubberStateChanged(int from, int toState, int withStatus);
    void scrubberEventPlayStarted(const korvane::ScrubberEventInfo& event);
    void scrubberEventPlayFinished(const korvane::ScrubberEventInfo& event);
    void scrubberSetCurrentPositionForPlayingEvent(const korvane::ScrubberEventInfo& event, qint64 newPosition);
    void sharedTokenWillExpireIn(qint64 timeLeft);
    /// A deleteEvent() from QML has succeeded. One that failed is told by scrubberStateChanged() alone.
    void scrubberEventDeleted(const korvane::ScrubberEventInfo& event, const QString& message);
    void sourceChanged();
    void configChanged();

  protected:
    using EventSignal = void (ScrubberViewBase::*)(const ScrubberEventInfo&);
    using EventCallback = std::function<void(const ScrubberViewDelegate::Event&)> ScrubberViewDelegate::*;

    static constexpr double alignSeconds = 0.002;  // a scroll to the position, all but at once

    ScrubberViewBase(const TimelineEnvironment& environment, QQuickItem* parent);
    /// A subclass begins its destructor with leave(), while its virtual functions still answer.
    void leave();

    /// Loads the interface file as contentView(), which takes the size of this view. Null when that fails.
    QQuickItem* loadContentView(const QString& layoutName);
    /// Where a subclass brings its strip back to positionTime(): on each change of size.
    virtual void layoutSubviews() = 0;
    /// The strip; null when the layout could not be loaded.
    virtual CollectionView* strip() const = 0;
    /// Queues a scroll to positionTime().
    virtual void scrollToPosition(bool notify, double withFixedAnimationTime) = 0;
    virtual void stopLastCell() = 0;
    virtual void restartLastCell() = 0;
    /// An entry has played to its end, and the host wants the next one.
    virtual void continuePlaying() = 0;
    virtual void onReloadIndexRequired(const ScrubberProviderBridge::ReloadIndex& what) = 0;
    void onReloadRequired(std::int32_t status, std::int32_t andState);

    /// Tells the host by callback and signal. False when the host has destroyed this view.
    bool tellHost(EventCallback callback, EventSignal signal, const std::shared_ptr<ScrubberEvent>& event);
    bool listens(EventCallback callback, EventSignal signal) const;
    Scheduler& scheduler() const;
    void onMain(std::function<void()> work) const;

    /// The moment on which the strip is to rest; -1 is the live end.
    TimeMs positionTime() const { return position_; }
    void setPositionTime(TimeMs position) { position_ = position; }
    ScrubberEntries& entries() { return *entries_; }
    const LifeToken& life() const { return life_; }

    void classBegin() override;
    void componentComplete() override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;
    void updatePolish() override;
    /// Fills `toSuperView` from now on; null ends that.
    void stretch(QQuickItem* toSuperView);

  private:
    ScrubberProviderBridge::Handlers providerHandlers();
    std::int32_t bind(TimeMs position, const std::function<std::int32_t(ScrubberDataProvider&)>& setSource);
    void bindTo(const QString& token);
    void layoutIfNeeded();
    std::shared_ptr<ScrubberEvent> entryOf(const ScrubberEventInfo& event) const;
    ScrubberDataProvider::DeleteCompletion afterDeletion(const std::shared_ptr<ScrubberDataProvider>& asked,
                                                         const std::shared_ptr<ScrubberEvent>& event,
                                                         ScrubberDataProvider::DeleteCompletion onComplete);
    void takeOut(const std::shared_ptr<ScrubberEvent>& event, Completion completion);

    const TimelineEnvironment environment_;
    const std::shared_ptr<ScrubberHostLink> host_;
    LifeToken life_;
    const std::shared_ptr<ScrubberViewState> state_;
    const std::shared_ptr<ScrubberEntries> entries_;
    ScrubberConfig config_;
    ScrubberViewPlayback playback_;
    std::atomic<TimeMs> position_ = -1;
    QString sourceToken_;
    int sourceStatus_ = 0;
    bool isMadeByQml_ = false;
    bool needsLayout_ = false;
    QPointer<QQuickItem> contentView_;
    QMetaObject::Connection superViewWidth_;
    QMetaObject::Connection superViewHeight_;
};

}  // namespace korvane
