#include "views/timeline/ScrubberViewBase.h"

#include <QMetaMethod>
#include <algorithm>
#include <utility>

#include "base/Log.h"
#include "base/Scheduler.h"
#include "client/KorvaneService.h"
#include "client/Status.h"
#include "toolkit/CollectionView.h"
#include "toolkit/DeleteLater.h"
#include "toolkit/ImageCache.h"
#include "toolkit/InterfaceLoader.h"
#include "toolkit/ToolkitContext.h"
#include "views/timeline/TimelineTypes.h"
#include "views/timeline/Version.h"

namespace korvane {
namespace {

constexpr const char* classPath = "ScrubberView";
constexpr std::int32_t hostWantsNext = 1;

TimelineEnvironment complete(TimelineEnvironment environment) {
    if (!environment.toolkit) environment.toolkit = ToolkitContext::shared();
    return environment;
}

}  // namespace

ScrubberViewBase::ScrubberViewBase(const TimelineEnvironment& environment, QQuickItem* parent)
    : QQuickItem(parent),
      environment_(complete(environment)),
      host_(std::make_shared<ScrubberHostLink>()),
      state_(std::make_shared<ScrubberViewState>(
          scheduler(), host_, life_.guard([this](std::int32_t from, std::int32_t toState, std::int32_t withStatus) {
              emit scrubberStateChanged(from, toState, withStatus);
          }))),
      entries_(std::make_shared<ScrubberEntries>(environment_, providerHandlers())) {
    if (!entries_->renewProvider(ScrubberDataSourceTypeEvents)) {
        logError(classPath, "there is no service in its environment: the view stays empty");
    }
}

void ScrubberViewBase::leave() {
    clean();
    host_->set(nullptr);
    if (const auto last = entries_->provider()) last->setDelegate(nullptr);
    if (!contentView_) return;
    // It may be in the middle of an event that led here.
    contentView_->setParentItem(nullptr);
    contentView_->setParent(nullptr);
    DeleteLater()(contentView_);
}

QQuickItem* ScrubberViewBase::loadContentView(const QString& layoutName) {
    registerTimelineTypes();
    InterfaceLoader::Result layout =
        InterfaceLoader::load(QUrl(QStringLiteral("qrc:/Korvane/Timeline/layouts/%1.qml").arg(layoutName)), this);
    for (const QString& error : std::as_const(layout.errors)) logError(classPath, error.toStdString());
    auto* const root = qobject_cast<QQuickItem*>(layout.root.get());
    if (!root) return nullptr;
    layout.root.release()->setParent(this);
    root->setParentItem(this);
    root->setSize(size());
    contentView_ = root;
    return root;
}

QString ScrubberViewBase::getVersion() {
    return QString::fromLatin1(timelineVersion);
}

ScrubberProviderBridge::Handlers ScrubberViewBase::providerHandlers() {
    ScrubberProviderBridge::Handlers handlers;
    handlers.reload =
        life_.guard([this](std::int32_t status, std::int32_t andState) { onReloadRequired(status, andState); });
    handlers.reloadIndex =
        life_.guard([this](const ScrubberProviderBridge::ReloadIndex& what) { onReloadIndexRequired(what); });
    auto announce = life_.guard([this](std::int64_t timeLeft) { emit sharedTokenWillExpireIn(timeLeft); });
    handlers.tokenWillExpire = [host = host_, scheduler = environment_.toolkit->scheduler,
                                announce = std::move(announce)](std::int64_t timeLeft) {
        scheduler->post([announce, timeLeft]() mutable { announce(timeLeft); });
        return host->call(&ScrubberViewDelegate::onSharedTokenWillExpireIn, timeLeft);
    };
    return handlers;
}

std::int32_t ScrubberViewBase::bind(TimeMs position,
                                    const std::function<std::int32_t(ScrubberDataProvider&)>& setSource) {
    const auto fresh = entries_->renewProvider(config_.dataSourceType());
    if (!fresh) return StatusBadCall;
    const QPointer<ScrubberViewBase> self(this);
    setState(ScrubberStateLoading, 0);
    if (!self || entries_->provider() != fresh) return StatusBadCall;  // the host destroyed or bound the view meanwhile
    position_ = position;
    fresh->enableEventGrouping(config_.eventGrouping());
    fresh->setApiProtocol(config_.getScrubberApiProtocolAsString().toStdString(), config_.getScrubberApiPort());
    const auto entries = entries_;  // the host may destroy this view
    const std::int32_t status = setSource(*fresh);
    if (entries->provider() != fresh) fresh->close();  // another source has taken its place while it was bound
    return status;
}

int ScrubberViewBase::setSource(const QString& token) {
    return bind(-1, [token = token.toStdString()](ScrubberDataProvider& fresh) { return fresh.setSource(token); });
}

std::int32_t ScrubberViewBase::setSource(const QString& token, TimeMs startFrom) {
    return bind(startFrom, [token = token.toStdString(), startFrom](ScrubberDataProvider& fresh) {
        return fresh.setSource(token, startFrom);
    });
}

std::int32_t ScrubberViewBase::setSource(const QString& token, TimeMs startDateTime, TimeMs endDateTime,
                                         const std::optional<QString>& eventType, std::int64_t sortAscending,
                                         std::int64_t withLimit, std::int64_t withOffset, TimeMs startFrom) {
    std::optional<std::string> type;
    if (eventType) type = eventType->toStdString();
    return bind(startFrom, [&](ScrubberDataProvider& fresh) {
        return fresh.setSource(token.toStdString(), startDateTime, endDateTime, type, sortAscending, withLimit,
                               withOffset, startFrom);
    });
}

int ScrubberViewBase::refresh() {
    const auto current = entries_->provider();
    if (!current) return StatusBadCall;
    setState(ScrubberStateRefreshing, 0);
    return current->refresh();
}

void ScrubberViewBase::setState(std::int32_t state, std::int32_t andStatus) {
    const auto holder = state_;  // the host may destroy this view
    holder->set(state, andStatus);
}

void ScrubberViewBase::clean() {
    stopLastCell();
    setDataSourceDelegate(nullptr);
    position_ = -1;
    const QPointer<ScrubberViewBase> self(this);
    setState(ScrubberStateReady, 0);
    if (!self) return;
    auto& cache = *ToolkitContext::shared()->imageCache;  // the one that the cells fill
    cache.clearMemory();
    cache.clearDiskOnCompletion({});
    if (const auto current = entries_->provider()) current->close();
}

void ScrubberViewBase::setSourceToken(const QString& token) {
    sourceToken_ = token;
    if (!isMadeByQml_ || isComponentComplete()) bindTo(token);
}

void ScrubberViewBase::bindTo(const QString& token) {
    const QPointer<ScrubberViewBase> self(this);
    int status = 0;
    if (token.isEmpty()) {
        clean();
    } else {
        status = setSource(token);
    }
    if (!self) return;
    sourceStatus_ = status;
    emit sourceChanged();
}

void ScrubberViewBase::setConfig(const ScrubberConfig& config) {
    if (config == config_) return;
    config_ = config;
    emit configChanged();
    applyConfig();
}

void ScrubberViewBase::classBegin() {
    QQuickItem::classBegin();
    isMadeByQml_ = true;
}

void ScrubberViewBase::componentComplete() {
    QQuickItem::componentComplete();
    applyConfig();
    reload();
    if (!sourceToken_.isEmpty()) bindTo(sourceToken_);
}

void ScrubberViewBase::itemChange(ItemChange change, const ItemChangeData& value) {
    QQuickItem::itemChange(change, value);
    if (change == ItemParentHasChanged) stretch(value.item);
}

void ScrubberViewBase::stretch(QQuickItem* toSuperView) {
    disconnect(superViewWidth_);
    disconnect(superViewHeight_);
    if (!toSuperView || isMadeByQml_ || !contentView_) return;
    const auto fill = [this, toSuperView] {
        setX(0);
        setY(0);
        setSize(toSuperView->size());
    };
    superViewWidth_ = connect(toSuperView, &QQuickItem::widthChanged, this, fill);
    superViewHeight_ = connect(toSuperView, &QQuickItem::heightChanged, this, fill);
    fill();
}

void ScrubberViewBase::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() == oldGeometry.size()) return;
    if (contentView_) contentView_->setSize(newGeometry.size());
    if (std::exchange(needsLayout_, true)) return;
    polish();
    onMain([this] { layoutIfNeeded(); });  // a view that is not drawn keeps its place, too
}

void ScrubberViewBase::updatePolish() {
    layoutIfNeeded();
}

void ScrubberViewBase::layoutIfNeeded() {
    if (std::exchange(needsLayout_, false)) layoutSubviews();
}

void ScrubberViewBase::onMain(std::function<void()> work) const {
    scheduler().post(life_.guard(std::move(work)));
}

void ScrubberViewBase::onReloadRequired(std::int32_t status, std::int32_t andState) {
    reload();
    setState(andState, status);
}

// Navigation and deletion

void ScrubberViewBase::toEvent(const std::shared_ptr<ScrubberEvent>& event) {
    toEvent(event, true);
}

void ScrubberViewBase::toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify) {
    toEvent(event, withSendNotify, true);
}

void ScrubberViewBase::toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll) {
    toEvent(event, withSendNotify, withScroll, alignSeconds);
}

void ScrubberViewBase::toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll,
                               double withFixedAnimationTime) {
    setPositionTime((event ? event : ScrubberEvent::build(-1))->timeAsValue());
    if (withScroll) {
        scrollToPosition(withSendNotify, withFixedAnimationTime);
    } else {
        restartLastCell();
    }
}

void ScrubberViewBase::toFirstEvent() {
    if (getEventsCount() >= 2) toEvent(getEventByIndex(1));
}

void ScrubberViewBase::toLastEvent() {
    const std::int64_t count = getEventsCount();
    if (count >= 2) toEvent(getEventByIndex(std::max<std::int64_t>(count - 2, 1)));
}

void ScrubberViewBase::toEvent(const ScrubberEventInfo& event) {
    toEvent(entryOf(event));
}

// The entry itself where the list has it: the moment of a copy may be older than the last seek in that entry.
std::shared_ptr<ScrubberEvent> ScrubberViewBase::entryOf(const ScrubberEventInfo& event) const {
    if (!event.valid) return nullptr;
    ScrubberEventQuery query;
    query.identificator = event.identificator;
    const auto entry = event.identificator != 0 ? entries_->at(entries_->find(query)) : nullptr;
    return entry ? entry : ScrubberEvent::build(event.identificator, event.timeAsValue);
}

void ScrubberViewBase::toEventAt(qint64 index) {
    if (const auto event = getEventByIndex(index)) {
        toEvent(event);
    } else {
        logError(classPath, "toEventAt: there is no such entry");
    }
}

std::int32_t ScrubberViewBase::deleteEvent(const std::shared_ptr<ScrubberEvent>& event,
                                           ScrubberDataProvider::DeleteCompletion onComplete) {
    const auto current = entries_->provider();
    if (!event || !current) return StatusBadCall;
    const QPointer<ScrubberViewBase> self(this);
    setState(ScrubberStateDeleting, 0);
    if (!self) return StatusBadCall;
    current->deleteEvent(event, afterDeletion(current, event, std::move(onComplete)));
    return StatusSuccess;
}

int ScrubberViewBase::deleteEvent(const ScrubberEventInfo& event) {
    return deleteEvent(entryOf(event), [this, event](std::int32_t, const std::string& message) {
        emit scrubberEventDeleted(event, QString::fromStdString(message));
    });
}

// The service answers on any thread, and maybe when this view has died.
ScrubberDataProvider::DeleteCompletion ScrubberViewBase::afterDeletion(
    const std::shared_ptr<ScrubberDataProvider>& asked, const std::shared_ptr<ScrubberEvent>& event,
    ScrubberDataProvider::DeleteCompletion onComplete) {
    auto leaveStrip = life_.guard([=, this](const std::shared_ptr<ScrubberEvent>& next, const std::string& message) {
        if (entries_->provider() != asked) return;
        takeOut(event, life_.guard([=, this](bool) {
            if (entries_->provider() != asked) return;
            toEvent(next, true, true, alignSeconds);
            if (onComplete) onComplete(StatusSuccess, message);
        }));
    });
    return [=, state = state_, weakEntries = std::weak_ptr(entries_), &onMainThread = scheduler(),
            isAnswered = std::make_shared<std::atomic<bool>>(false)](std::int32_t status, const std::string& message) {
        const auto list = weakEntries.lock();
        if (!list || list->provider() != asked || isAnswered->exchange(true)) return;
        state->set(ScrubberStateReady, status);
        if (status != StatusSuccess) return;
        onMainThread.post(
            [leaveStrip, next = list->following(*event), message]() mutable { leaveStrip(next, message); });
    };
}

/// Takes the entry out of the provider's list, and out of the strip where it shows that list.
void ScrubberViewBase::takeOut(const std::shared_ptr<ScrubberEvent>& event, Completion completion) {
    CollectionView* const shown = strip();
    const auto update = [this, event, shown] {
        const auto current = entries_->provider();
        const std::int32_t index = current ? current->OnScrubberDeleteEvent(event) : -1;
        if (shown && index >= 0 && !entries_->source()) shown->deleteItemsAtIndexPaths({index});
    };
    if (shown) {
        shown->performBatchUpdates(update, std::move(completion));
    } else {
        update();
        onMain([completion = std::move(completion)] { completion(true); });
    }
}

// The host

bool ScrubberViewBase::tellHost(EventCallback callback, EventSignal signal,
                                const std::shared_ptr<ScrubberEvent>& event) {
    const QPointer<ScrubberViewBase> self(this);
    host_->call(callback, event);
    // An entry is copied for QML only where it listens: this runs with each step of a drag.
    if (self && isSignalConnected(QMetaMethod::fromSignal(signal))) emit(this->*signal)(ScrubberEventInfo(event));
    return self;
}

QString ScrubberViewBase::formatTime(TimeMs time, const QString& withFormat, const QString& withTimezone) const {
    if (!environment_.service) return {};
    return QString::fromStdString(
        environment_.service->helpers()->formatTime_AMPM(time, withFormat.toStdString(), withTimezone.toStdString()));
}

std::int32_t ScrubberViewBase::OnScrubberEventPlayStarted(const std::shared_ptr<ScrubberEvent>& event) {
    onMain([this, event] { emit scrubberEventPlayStarted(ScrubberEventInfo(event)); });
    return host_->call(&ScrubberViewDelegate::OnScrubberEventPlayStarted, event);
}

std::int32_t ScrubberViewBase::OnScrubberEventPlayFinished(const std::shared_ptr<ScrubberEvent>& event) {
    onMain([this, event] { emit scrubberEventPlayFinished(ScrubberEventInfo(event)); });
    std::int32_t answer = playback_.nextEventFollows() ? hostWantsNext : 0;
    if (host_->answers(&ScrubberViewDelegate::OnScrubberEventPlayFinished)) {
        answer = host_->call(&ScrubberViewDelegate::OnScrubberEventPlayFinished, event);
    }
    if (answer == hostWantsNext) {
        onMain([this] {
            if (config_.continuousEventPlaying()) continuePlaying();
        });
    }
    return answer;
}

void ScrubberViewBase::OnScrubberGetRangeForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event,
                                                         TimeMs* startRange, TimeMs* endRange) {
    if (startRange) *startRange = event ? event->start() : 0;
    if (endRange) *endRange = event ? event->end() : 0;
    if (host_->answers(&ScrubberViewDelegate::OnScrubberGetRangeForPlayingEvent)) {
        host_->call(&ScrubberViewDelegate::OnScrubberGetRangeForPlayingEvent, event, startRange, endRange);
        return;
    }
    if (startRange && playback_.rangeStart() >= 0) *startRange = playback_.rangeStart();
    if (endRange && playback_.rangeEnd() >= 0) *endRange = playback_.rangeEnd();
}

void ScrubberViewBase::OnScrubberSetCurrentPositionForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event,
                                                                   TimeMs newPosition) {
    onMain([this, event, newPosition] {
        emit scrubberSetCurrentPositionForPlayingEvent(ScrubberEventInfo(event), newPosition);
    });
    host_->call(&ScrubberViewDelegate::OnScrubberSetCurrentPositionForPlayingEvent, event, newPosition);
}

TimeMs ScrubberViewBase::OnScrubberGetCurrentPositionForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event) {
    if (!host_->answers(&ScrubberViewDelegate::OnScrubberGetCurrentPositionForPlayingEvent))
        return playback_.position();
    return host_->call(&ScrubberViewDelegate::OnScrubberGetCurrentPositionForPlayingEvent, event);
}

bool ScrubberViewBase::listens(EventCallback callback, EventSignal signal) const {
    return host_->answers(callback) || isSignalConnected(QMetaMethod::fromSignal(signal));
}

Scheduler& ScrubberViewBase::scheduler() const {
    return *environment_.toolkit->scheduler;
}

}  // namespace korvane
