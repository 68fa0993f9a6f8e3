#include "korvane/toolkit/FrameGrabber.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <QFile>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "korvane/base/Descriptor.h"
#include "korvane/base/LifeToken.h"
#include "korvane/base/WorkerPool.h"
#include "korvane/film/FilmHelper.h"
#include "korvane/net/MediaStream.h"
#include "korvane/toolkit/LoadQueue.h"
#include "korvane/toolkit/VideoFrame.h"

namespace korvane {
namespace {

using Queue = LoadQueue<int, QImage>;

/// Absent for what is no file: a pipe would hold the worker.
Descriptor openFile(const QString& path) {
    Descriptor file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat info {};
    return file && ::fstat(file.get(), &info) == 0 && S_ISREG(info.st_mode) ? std::move(file) : Descriptor();
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
        pool.run([flag = isBrokenOff, helper = helper, report, request, timeout = limits.timeout, &clock = scheduler] {
            const auto end = clock.monotonicNow() + timeout;
            const auto isOver = [&] { return *flag || clock.monotonicNow() >= end; };
            const VideoFrame frame = grab(*helper, clock, request, isOver);
            clock.post([report, frame]() mutable { report(frame); });
        });
    }

    static VideoFrame grab(FilmHelper& helper, Scheduler& clock, const Queue::Request& request,
                           const std::function<bool()>& isOver) {
        const QString scheme = request.url.scheme();
        if (scheme == QLatin1String("file")) {
            const Descriptor file = openFile(request.url.toLocalFile());
            return file ? firstKeyFrame(helper, file.get(), nullptr, request.bound, isOver)
                        : VideoFrame{unreachable, {}};
        }
        if (scheme != QLatin1String("http") && scheme != QLatin1String("https")) return {noSuchScheme, {}};
        MediaOptions options;
        options.isOver = isOver;
        MediaStream stream(clock, request.url.toEncoded().toStdString(), options);
        VideoFrame frame = firstKeyFrame(helper, -1, &stream, request.bound, isOver);
        if (frame.result != success && isOver())
            frame.result = timedOut;
        else if (frame.result == noFrame && stream.hasFailed())
            frame.result = unreachable;
        return frame;
    }

    Scheduler& scheduler;
    Limits limits;
    const std::shared_ptr<std::atomic<bool>> isBrokenOff = std::make_shared<std::atomic<bool>>(false);
    const std::shared_ptr<FilmHelper> helper = std::make_shared<FilmHelper>();
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
