#include "korvane/views/timeline/Binding/ScrubberViewBase.h"

#include <QMetaMethod>
#include <atomic>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/Scheduler.h"
#include "korvane/client/KorvaneService.h"
#include "korvane/client/Status.h"
#include "korvane/toolkit/ImageCache.h"
#include "korvane/toolkit/ToolkitContext.h"

namespace korvane {
namespace {

TimelineEnvironment complete(TimelineEnvironment environment, const ScrubberWidget& widget) {
    environment.toolkit = widget.toolkit();
    return environment;
}

}  // namespace

ScrubberViewBase::ScrubberViewBase(ScrubberWidget& widget, const TimelineEnvironment& environment,
                                   ScrubberEntries::ProviderFactory makeProvider, const char* classPath,
                                   bool forwardsExpiry)
    : widget_(widget),
      classPath_(classPath),
      environment_(complete(environment, widget)),
      host_(std::make_shared<HostLink<ScrubberViewDelegate>>("ScrubberViewDelegate")),
      answers_(widget, *host_, playback_,
               [this](const auto& finished) {
                   if (config_.continuousEventPlaying()) continuePlaying(finished);
               }),
      state_(std::make_shared<ScrubberViewState>(
          scheduler(), host_,
          widget.life().guard([&widget](std::int32_t from, std::int32_t toState, std::int32_t withStatus) {
              emit widget.scrubberStateChanged(from, toState, withStatus);
          }))),
      entries_(
          std::make_shared<ScrubberEntries>(scheduler(), std::move(makeProvider), providerHandlers(forwardsExpiry))) {
    if (!entries_->renewProvider(ScrubberDataSourceTypeEvents)) {
        logError(classPath_, "there is no service in its environment: the view stays empty");
    }
}

ScrubberProviderBridge::Handlers ScrubberViewBase::providerHandlers(bool forwardsExpiry) {
    const LifeToken& life = widget_.life();
    ScrubberProviderBridge::Handlers handlers;
    handlers.reload =
        life.guard([this](std::int32_t status, std::int32_t andState) { onReloadRequired(status, andState); });
    handlers.reloadIndex =
        life.guard([this](const ScrubberProviderBridge::ReloadIndex& what) { onReloadIndexRequired(what); });
    handlers.reloadVisible = life.guard([this] { onReloadVisible(); });
    handlers.visibleIndexes = [indexes = visibleIndexes_] { return indexes->get(); };
    handlers.tokenWillExpire = [](std::int64_t) { return 0; };
    if (!forwardsExpiry) return handlers;
    auto announce = life.guard([this](std::int64_t timeLeft) { emit widget_.sharedTokenWillExpireIn(timeLeft); });
    handlers.tokenWillExpire = [host = host_, scheduler = environment_.toolkit->scheduler,
                                announce = std::move(announce)](std::int64_t timeLeft) {
        scheduler->post([announce, timeLeft]() mutable { announce(timeLeft); });
        return host->call(&ScrubberViewDelegate::onSharedTokenWillExpireIn, timeLeft);
    };
    return handlers;
}

// The source

std::int32_t ScrubberViewBase::bind(TimeMs position,
                                    const std::function<std::int32_t(ScrubberDataProvider&)>& setSource) {
    const auto entries = entries_;  // the host may destroy the widget
    const QPointer<ScrubberWidget> self(&widget_);
    const auto fresh = entries->renewProvider(config_.dataSourceType());
    if (!fresh) return StatusBadCall;
    if (entries->provider() == fresh) setPosition({position, {}, -1});
    if (scheduler().isMainThread()) {
        forgetList();
    } else {
        onMain([this, fresh] {
            if (entries_->provider() == fresh) forgetList();
        });
    }
    setState(ScrubberStateLoading, 0);
    if (!self || entries->provider() != fresh) return StatusBadCall;  // the host destroyed or bound the view meanwhile
    fresh->enableEventGrouping(config_.eventGrouping());
    fresh->setApiProtocol(config_.getScrubberApiProtocolAsString().toStdString(), config_.getScrubberApiPort());
    const std::int32_t status = setSource(*fresh);
    if (entries->provider() != fresh) fresh->close();  // another source has taken its place while it was bound
    return status;
}

std::int32_t ScrubberViewBase::setSource(const QString& token) {
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

std::int32_t ScrubberViewBase::refresh() {
    const auto current = entries_->provider();
    if (!current) return StatusBadCall;
    const QPointer<ScrubberWidget> self(&widget_);
    setState(ScrubberStateRefreshing, 0);
    if (!self) return StatusBadCall;
    const std::int32_t status = current->refresh();
    // It has emptied the list all the same, and nobody else tells.
    if (status != StatusSuccess) onMain([this] { onReloadVisible(); });
    return status;
}

void ScrubberViewBase::enableEventGrouping(bool isEnabled) {
    config_.setEventGrouping(isEnabled);
    if (const auto current = entries_->provider()) current->enableEventGrouping(isEnabled);
}

void ScrubberViewBase::setState(std::int32_t state, std::int32_t andStatus) {
    const auto holder = state_;  // the host may destroy the widget
    holder->set(state, andStatus);
}

void ScrubberViewBase::clean() {
    const QPointer<ScrubberWidget> self(&widget_);
    entries_->setOwnList(nullptr);
    setPosition({});
    forgetList();
    const auto left = entries_->provider();  // the host may bind another one while it hears of the state
    entries_->silenceProvider();
    setState(ScrubberStateReady, 0);
    if (left) left->close();
    if (!self) return;
    auto& cache = *environment_.toolkit->imageCache;
    cache.clearMemory();
    cache.clearDiskOnCompletion({});
}

ScrubberViewBase::Position ScrubberViewBase::position() const {
    const std::lock_guard lock(positionMutex_);
    return position_;
}

void ScrubberViewBase::setPosition(Position position) {
    const std::lock_guard lock(positionMutex_);
    position_ = std::move(position);
}

QString ScrubberViewBase::textOfTime(TimeMs time, const QString& withFormat, const QString& withTimezone) const {
    if (!environment().service) return {};
    return QString::fromStdString(
        environment().service->helpers()->formatTime_AMPM(time, withFormat.toStdString(), withTimezone.toStdString()));
}

TimeMs ScrubberViewBase::ownMomentOf(const ScrubberEvent::Fields& event) const {
    if (!event.time || event.time->empty() || !environment().service) return event.timeAsValue;
    const TimeMs moment = environment().service->helpers()->parseUTCtime(*event.time);
    return moment == -1 ? event.timeAsValue : moment;
}

// Deletion

std::shared_ptr<ScrubberEvent> ScrubberViewBase::entryOf(const ScrubberEventInfo& event) const {
    if (!event.valid) return nullptr;
    ScrubberEventQuery query;
    query.identificator = event.identificator;
    const auto entry = event.identificator != 0 ? entries_->at(entries_->find(query)) : nullptr;
    return entry ? entry : ScrubberEvent::build(event.identificator, event.timeAsValue);
}

std::int32_t ScrubberViewBase::deleteEvent(const std::shared_ptr<ScrubberEvent>& event,
                                           ScrubberDataProvider::DeleteCompletion onComplete) {
    const auto current = entries_->provider();
    if (!event || !current) return StatusBadCall;
    const QPointer<ScrubberWidget> self(&widget_);
    setState(ScrubberStateDeleting, 0);
    if (!self) return StatusBadCall;
    current->deleteEvent(event, afterDeletion(current, event, std::move(onComplete)));
    return StatusSuccess;
}

// The service answers on any thread, and maybe when the widget is gone.
ScrubberDataProvider::DeleteCompletion ScrubberViewBase::afterDeletion(
    const std::shared_ptr<ScrubberDataProvider>& asked, const std::shared_ptr<ScrubberEvent>& event,
    ScrubberDataProvider::DeleteCompletion onComplete) {
    auto leaveStrip =
        widget_.life().guard([=, this](const std::shared_ptr<ScrubberEvent>& next, const std::string& message) {
            if (entries_->provider() != asked) return;
            takeOut(event, widget_.life().guard([=, this](bool) {
                if (entries_->provider() != asked) return;
                goTo(next);
                if (onComplete) onComplete(StatusSuccess, message);
            }));
        });
    return [=, state = state_, weakEntries = std::weak_ptr(entries_), mainThread = environment_.toolkit->scheduler,
            isAnswered = std::make_shared<std::atomic<bool>>(false)](std::int32_t status, const std::string& message) {
        const auto list = weakEntries.lock();
        if (!list || list->provider() != asked || isAnswered->exchange(true)) return;
        state->set(ScrubberStateReady, status);
        if (status != StatusSuccess) return;
        mainThread->post(
            [leaveStrip, next = list->following(*event), message]() mutable { leaveStrip(next, message); });
    };
}

// The host

bool ScrubberViewBase::tellHost(EventCallback callback, EventSignal signal,
                                const std::shared_ptr<ScrubberEvent>& event) {
    const QPointer<ScrubberWidget> self(&widget_);
    const auto host = host_;
    host->call(callback, event);
    // An entry is copied for QML only where it listens: this runs with each step of a drag.
    if (self && self->isSignalConnected(QMetaMethod::fromSignal(signal))) {
        emit(self->*signal)(ScrubberEventInfo(event));
    }
    return self;
}

bool ScrubberViewBase::listens(EventCallback callback, EventSignal signal) const {
    return host_->answers(callback) || widget_.isSignalConnected(QMetaMethod::fromSignal(signal));
}

}  // namespace korvane
