#include "korvane/toolkit/FrameGrabber.h"

#include <QFileInfo>
#include <atomic>
#include <memory>
#include <string>
#include <utility>

#include "korvane/base/LifeToken.h"
#include "korvane/base/WorkerPool.h"
#include "korvane/toolkit/LoadQueue.h"
#include "korvane/toolkit/VideoFrame.h"

namespace korvane {
namespace {

using Queue = LoadQueue<int, QImage>;

// Empty for what the grabber does not open.
std::string inputFor(const QUrl& url) {
    const QString scheme = url.scheme();
    if (scheme == QLatin1String("file")) {
        const QString file = url.toLocalFile();
        return QFileInfo(file).isFile() ? file.toStdString() : std::string();  // a pipe would hold the worker
    }
    if (scheme != QLatin1String("http") && scheme != QLatin1String("https")) return {};
    return url.toEncoded().toStdString();
}

}  // namespace

struct FrameGrabber::State {
    State(Scheduler& clock, Limits given)
        : scheduler(clock),
          limits(given),
          queue(given.grabsAtATime, [this](Queue::Id id, const Queue::Request& request) { start(id, request); }),
          pool(static_cast<std::size_t>(std::max(1, given.grabsAtATime))) {}

    ~State() {
        *isBrokenOff = true;
        pool.stop();
    }

    void start(Queue::Id id, const Queue::Request& request) {
        auto report = life.guard([this, id](const VideoFrame& frame) { queue.finish(id, frame.result, frame.image); });
        pool.run([flag = isBrokenOff, report, request, timeout = limits.timeout, &clock = scheduler] {
            const auto end = clock.monotonicNow() + timeout;
            VideoFrame frame{noSuchScheme, {}};
            if (const std::string input = inputFor(request.url); !input.empty()) {
                const auto isOver = [&] { return *flag || clock.monotonicNow() >= end; };
                frame = firstKeyFrame(input, request.bound, isOver);
                if (frame.result != success && isOver()) frame.result = timedOut;
            }
            clock.post([report, frame]() mutable { report(frame); });
        });
    }

    Scheduler& scheduler;
    Limits limits;
    const std::shared_ptr<std::atomic<bool>> isBrokenOff = std::make_shared<std::atomic<bool>>(false);
    Queue queue;
    WorkerPool pool;
    LifeToken life;
};

FrameGrabber::FrameGrabber(Scheduler& scheduler, Limits limits) : state_(std::make_unique<State>(scheduler, limits)) {}

FrameGrabber::FrameGrabber(Scheduler& scheduler) : FrameGrabber(scheduler, Limits()) {}

FrameGrabber::~FrameGrabber() = default;

FrameGrabber::Handle FrameGrabber::grab(const QUrl& url, QSize bound, Completed completed, Completed arrived) {
    return state_->queue.add({url, bound}, std::move(completed), std::move(arrived));
}

void FrameGrabber::cancel(Handle handle) {
    state_->queue.cancel(handle);
}

}  // namespace korvane
