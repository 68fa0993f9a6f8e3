#pragma once

#include <QImage>
#include <QSize>
#include <QString>
#include <QUrl>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "korvane/base/Scheduler.h"

namespace korvane {

/// Loads and decodes pictures of http, https, file and qrc URLs off the main thread, the newest request first. Requests
/// of one URL that are on their way share a load, and connections stay open for the next. A redirection is followed to
/// http and https only, and never from https to http. Main thread only.
///
/// JPEG, PNG and, where Qt has its plug-in, WebP are shown, whatever they are called; other kinds, and pictures that
/// are not whole, fail. So do those that cost too much: more than 64 million points or 64 MiB to decode, or 100 ms of
/// the processor for each million points that they have, 100 ms at least. Scaled down, PNG and WebP need the memory at
/// 8 million points, progressive JPEG at about 20 million. WebP is decoded in one go, so only its points bound its
/// time.
class ImageLoader {
  public:
    /// Names a request; 0 is never given out.
    using Handle = std::uint64_t;
    /// A null image with a reason when it failed. The reason never holds the URL.
    using Completed = std::function<void(const QImage& image, const QString& error)>;

    struct Limits {
        int loadsAtATime = 12;                          ///< of one host, over six connections
        std::int64_t maxBytes = 32 * 1024 * 1024;       ///< of a reply
        std::int64_t maxBytesOfAll = 64 * 1024 * 1024;  ///< of those on their way; the longest gives way
        std::chrono::milliseconds idleTimeout{15'000};  ///< without a byte
        std::chrono::milliseconds totalTimeout{60'000};
    };

    ImageLoader(Scheduler& scheduler, Limits limits);
    explicit ImageLoader(Scheduler& scheduler);
    /// Waits for a decoding that runs; nothing is called any more.
    ~ImageLoader();

    ImageLoader(const ImageLoader&) = delete;
    ImageLoader& operator=(const ImageLoader&) = delete;

    /// A load() from this host is likely to follow: a connection is opened for it, until there have been six.
    void prepare(const QUrl& url);

    /// `completed` runs once on a later turn of the main loop, unless cancelled. An image larger than `bound` (pixels;
    /// empty for no bound) is scaled down while it is decoded, in proportion, until it just covers `bound`, or the
    /// larger bound of a request that it shares a load with; a large JPEG may stay whole. `arrived` runs before
    /// `completed`, and also for a request that was cancelled when its load had begun, so that what has been paid for
    /// can be kept. Either may be empty.
    Handle load(const QUrl& url, QSize bound, Completed completed, Completed arrived = {});

    /// After this `completed` is not called. A load that has begun goes on, for its connection's sake. Unknown handles
    /// are ignored.
    void cancel(Handle handle);

  private:
    class Engine;
    std::unique_ptr<Engine> engine_;
};

}  // namespace korvane
