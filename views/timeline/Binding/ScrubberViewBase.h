#pragma once

#include <QPointer>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "korvane/views/timeline/Binding/HostLink.h"
#include "korvane/views/timeline/Binding/PlaybackAnswers.h"
#include "korvane/views/timeline/Binding/ScrubberEntries.h"
#include "korvane/views/timeline/Binding/ScrubberViewState.h"
#include "korvane/views/timeline/Presentation/VisibleIndexes.h"
#include "korvane/views/timeline/ScrubberWidget.h"

namespace korvane {

/// A scrubber's source, host, settings and state, and the deletion of entries; how its list is shown is the subclass's.
/// Main thread only, except where "any thread" is said. Calls of the host may destroy the widget and this with it.
class ScrubberViewBase {
  public:
    virtual ~ScrubberViewBase() = default;

    ScrubberViewBase(const ScrubberViewBase&) = delete;
    ScrubberViewBase& operator=(const ScrubberViewBase&) = delete;

    HostLink<ScrubberViewDelegate>& host() { return *host_; }
    ScrubberEntries& entries() const { return *entries_; }
    ScrubberViewPlayback& playback() { return playback_; }

    /// As the operations of ScrubberWidget.
    std::int32_t setSource(const QString& token);
    std::int32_t setSource(const QString& token, TimeMs startFrom);
    std::int32_t setSource(const QString& token, TimeMs startDateTime, TimeMs endDateTime,
                           const std::optional<QString>& eventType, std::int64_t sortAscending, std::int64_t withLimit,
                           std::int64_t withOffset, TimeMs startFrom);
    std::int32_t refresh();
    void enableEventGrouping(bool isEnabled);
    /// Any thread.
    void setState(std::int32_t state, std::int32_t andStatus);
    std::int32_t getState() const { return state_->get(); }
    void clean();
    std::int32_t deleteEvent(const std::shared_ptr<ScrubberEvent>& event,
                             ScrubberDataProvider::DeleteCompletion onComplete);
    /// The entry of a signal where the list has it still, as its moment may have changed since; otherwise one like it.
    /// Null for one that is not valid.
    virtual std::shared_ptr<ScrubberEvent> entryOf(const ScrubberEventInfo& event) const;

  protected:
    using EventSignal = void (ScrubberWidget::*)(const ScrubberEventInfo&);
    using EventCallback = std::function<void(const ScrubberViewDelegate::Event&)> ScrubberViewDelegate::*;
    /// The entry on which the strip is to rest.
    struct Position {
        TimeMs time = -1;  // -1 is the live end
        std::weak_ptr<ScrubberEvent> entry;
        std::int64_t index = -1;  // where the entry was then
    };

    /// `classPath` begins log lines and outlives this. `forwardsExpiry`: the host hears that the token expires.
    ScrubberViewBase(ScrubberWidget& widget, const TimelineEnvironment& environment,
                     ScrubberEntries::ProviderFactory makeProvider, const char* classPath, bool forwardsExpiry);

    ScrubberWidget& widget() const { return widget_; }
    const TimelineEnvironment& environment() const { return environment_; }
    Scheduler& scheduler() const { return widget_.scheduler(); }
    /// Runs `work` on a later turn of the main loop, while the widget lives. Any thread.
    void onMain(std::function<void()> work) const { widget_.onMain(std::move(work)); }
    PlaybackAnswers& answers() { return answers_; }
    ScrubberConfig& settings() { return config_; }
    const ScrubberConfig& settings() const { return config_; }
    const char* classPath() const { return classPath_; }
    const std::shared_ptr<VisibleIndexes>& visibleIndexesHolder() const { return visibleIndexes_; }

    /// Tells the host by callback and signal. False when the host has destroyed the widget.
    bool tellHost(EventCallback callback, EventSignal signal, const std::shared_ptr<ScrubberEvent>& event);
    bool listens(EventCallback callback, EventSignal signal) const;

    /// By the service's helpers; empty, and the entry's timeAsValue, without a service.
    QString textOfTime(TimeMs time, const QString& withFormat, const QString& withTimezone) const;
    TimeMs ownMomentOf(const ScrubberEvent::Fields& event) const;

    Position position() const;
    void setPosition(Position position);

    /// The provider's list has changed, or a load has failed.
    virtual void onReloadRequired(std::int32_t status, std::int32_t andState) = 0;
    virtual void onReloadIndexRequired(const ScrubberProviderBridge::ReloadIndex& what) = 0;
    virtual void onReloadVisible() = 0;
    /// The list is not that of before: nothing of it may show, play or be asked for any more.
    virtual void forgetList() = 0;
    /// Takes the entry out of the provider's list and out of the strip, then calls `completion`, and goes to `next`.
    virtual void takeOut(const std::shared_ptr<ScrubberEvent>& event, Completion completion) = 0;
    virtual void goTo(const std::shared_ptr<ScrubberEvent>& event) = 0;
    /// This entry has played to its end, and the host wants the next one.
    virtual void continuePlaying(const std::shared_ptr<ScrubberEvent>& finished) = 0;

  private:
    ScrubberProviderBridge::Handlers providerHandlers(bool forwardsExpiry);
    std::int32_t bind(TimeMs position, const std::function<std::int32_t(ScrubberDataProvider&)>& setSource);
    ScrubberDataProvider::DeleteCompletion afterDeletion(const std::shared_ptr<ScrubberDataProvider>& asked,
                                                         const std::shared_ptr<ScrubberEvent>& event,
                                                         ScrubberDataProvider::DeleteCompletion onComplete);

    ScrubberWidget& widget_;
    const char* const classPath_;
    const std::shared_ptr<VisibleIndexes> visibleIndexes_ = std::make_shared<VisibleIndexes>();
    const TimelineEnvironment environment_;
    ScrubberConfig config_;
    ScrubberViewPlayback playback_;
    const std::shared_ptr<HostLink<ScrubberViewDelegate>> host_;
    PlaybackAnswers answers_;
    const std::shared_ptr<ScrubberViewState> state_;
    const std::shared_ptr<ScrubberEntries> entries_;
    mutable std::mutex positionMutex_;
    Position position_;
};

}  // namespace korvane
