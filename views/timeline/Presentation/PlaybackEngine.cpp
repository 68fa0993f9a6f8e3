#include "korvane/views/timeline/Presentation/PlaybackEngine.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace korvane {

/// One run. Shared with its thread, which may outlast a stop() that could not wait.
class PlaybackEngine::Run {
  public:
    Run(const PlaybackEngine& engine, PlaybackHost* host, const std::shared_ptr<ScrubberEvent>& event)
        : rules_(engine.rules_),
          advance_(engine.advance_),
          host_(host),
          event_(event),
          end_(event ? event->end() : 0),
          progress_{rules_.firstPosition},
          monitor_(engine.scheduler_->makeMonitor()) {}

    bool isRunning() const { return isRunning_; }

    void end() {
        const std::lock_guard lock(*monitor_);
        isRunning_ = false;
        monitor_->notifyAll();
    }

    void wake() { monitor_->notifyAll(); }

    void setEvent(const std::shared_ptr<ScrubberEvent>& event) {
        const std::lock_guard lock(*monitor_);
        event_ = event;
        const TimeMs end = event ? event->end() : 0;
        hasGrown_ = hasGrown_ || end > end_;
        end_ = end;
    }

    void loop() {
        while (isRunning_) rest(tick());
    }

  private:
    /// Under the lock of end(): a run that ends meanwhile does not begin to wait.
    void rest(std::chrono::milliseconds time) {
        const std::lock_guard lock(*monitor_);
        if (isRunning_) monitor_->waitFor(time);
    }

    std::chrono::milliseconds tick() {
        if (rules_.holdsWhileScrolling && host_ && host_->isScrolling()) return playbackTickTime;
        const auto event = host_ ? this->event() : nullptr;
        TimeMs start = event ? event->start() : 0;
        TimeMs end = event ? event->end() : 0;
        if (takeGrown()) progress_.finished = false;
        // The host may take its time to answer, and the cell may show another entry by then.
        if (event) host_->OnScrubberGetRangeForPlayingEvent(event, &start, &end);
        if (host_ && this->event() != event) return std::chrono::milliseconds(0);
        const TimeMs position = event ? host_->OnScrubberGetCurrentPositionForPlayingEvent(event) : 0;
        if (host_ && this->event() != event) return std::chrono::milliseconds(0);
        const PlaybackTick now = playbackTick(rules_, progress_, end, position);
        progress_ = now.progress;
        if (event && now.tellsStarted) host_->OnScrubberEventPlayStarted(event);
        if (event && now.tellsFinished) host_->OnScrubberEventPlayFinished(event);
        if (now.advances) advance_(position, start, end);
        return now.wait;
    }

    std::shared_ptr<ScrubberEvent> event() {
        const std::lock_guard lock(*monitor_);
        return event_.lock();
    }

    /// An entry that has been recorded on is not over any more.
    bool takeGrown() {
        const std::lock_guard lock(*monitor_);
        return std::exchange(hasGrown_, false);
    }

    const PlaybackRules rules_;
    const Advance advance_;
    PlaybackHost* const host_;
    // Guarded by monitor_.
    std::weak_ptr<ScrubberEvent> event_;
    TimeMs end_;
    bool hasGrown_ = false;
    PlaybackProgress progress_;  // the thread's own
    const std::unique_ptr<Monitor> monitor_;
    std::atomic<bool> isRunning_ = true;
};

PlaybackEngine::PlaybackEngine(std::shared_ptr<Scheduler> scheduler, const PlaybackRules& rules, Advance advance)
    : scheduler_(std::move(scheduler)), rules_(rules), advance_(std::move(advance)) {}

PlaybackEngine::~PlaybackEngine() {
    stop();
}

void PlaybackEngine::start(PlaybackHost* host, const std::shared_ptr<ScrubberEvent>& event) {
    stop();
    run_ = std::make_shared<Run>(*this, host, event);
    thread_ = scheduler_->spawn("progress_thread", [run = run_] { run->loop(); });
    if (!thread_) run_.reset();  // the system has no thread for it
}

void PlaybackEngine::setEvent(const std::shared_ptr<ScrubberEvent>& event) {
    if (run_) run_->setEvent(event);
}

void PlaybackEngine::stop() {
    if (!run_) return;
    run_->end();
    if (!scheduler_->isMainThread()) return;
    if (thread_) thread_->join();
    thread_.reset();
    run_.reset();
}

void PlaybackEngine::wake() {
    if (run_) run_->wake();
}

bool PlaybackEngine::isRunning() const {
    return run_ && run_->isRunning();
}

void PlaybackEngine::post(std::function<void()> work) const {
    if (!run_) return;
    scheduler_->post([watch = std::weak_ptr(run_), work = std::move(work)] {
        const auto run = watch.lock();
        if (run && run->isRunning()) work();
    });
}

}  // namespace korvane
