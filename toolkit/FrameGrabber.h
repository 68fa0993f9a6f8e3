#pragma once

#include <QImage>
#include <QSize>
#include <QUrl>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "korvane/base/Scheduler.h"

namespace korvane {

/// Takes the first key frame of videos at http, https and file URLs, off the main thread, the newest request first.
/// Films are opened in processes of korvane-film-helper, see FilmHelper, which have neither files nor network;
/// certificates are verified, and no proxy is used. Main thread only.
class FrameGrabber {
  public:
    /// Names a request; 0 is never given out.
    using Handle = std::uint64_t;
    /// 0 and the picture, upright; or another code and a null image.
    using Completed = std::function<void(int result, const QImage& frame)>;

    static constexpr int success = 0;
    static constexpr int noSuchScheme = 1;
    static constexpr int timedOut = 2;
    /// No film, or none with a picture.
    static constexpr int noFrame = 3;
    /// The film would take more memory or time than one may, or has brought its process down.
    static constexpr int beyondLimits = 4;
    /// The program that opens films cannot be had, see FilmHelper.
    static constexpr int noHelper = 5;
    /// The service cannot be reached, is not trusted, or does not give the film; the file cannot be opened.
    static constexpr int unreachable = 6;

    struct Limits {
        int grabsAtATime = 2;
        std::chrono::milliseconds timeout{15'000};
    };

    FrameGrabber(Scheduler& scheduler, Limits limits);
    explicit FrameGrabber(Scheduler& scheduler);
    /// Breaks off what runs and waits for that; nothing is called any more.
    ~FrameGrabber();

    FrameGrabber(const FrameGrabber&) = delete;
    FrameGrabber& operator=(const FrameGrabber&) = delete;

    /// `completed` runs once on a later turn of the main loop, unless cancelled. A frame larger than `bound` (pixels;
    /// empty for no bound) is scaled down in proportion until it just covers `bound`. `arrived` runs before
    /// `completed`, and also for a request that was cancelled when its grab had begun. Either may be empty.
    Handle grab(const QUrl& url, QSize bound, Completed completed, Completed arrived = {});

    /// After this `completed` is not called. A grab that has begun goes on. Unknown handles are ignored.
    void cancel(Handle handle);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace korvane
