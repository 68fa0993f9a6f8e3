#pragma once

#include <QPointer>
#include <QSize>
#include <QString>
#include <QUrl>
#include <cstdint>
#include <functional>
#include <memory>

#include "korvane/base/LifeToken.h"
#include "korvane/base/Scheduler.h"
#include "korvane/toolkit/FrameGrabber.h"
#include "korvane/toolkit/ImageLoader.h"
#include "korvane/toolkit/ImageView.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEvent.h"

namespace korvane {

struct ToolkitContext;

/// Fills a cell's image view with the picture of an entry: from the memory cache, else from the entry's image, else
/// from the first frame of its video. A picture is asked for once its cell has been in view for 100 ms, and again when
/// the view has grown beyond the size that it was asked for. When a cell leaves, a load that has begun goes on, and its
/// picture is cached. Main thread only.
class ScrubberPreview {
  public:
    /// Gives the id of the event that the cell shows when a frame arrives, 0 for none.
    using CurrentId = std::function<std::int64_t()>;

    ScrubberPreview();
    ~ScrubberPreview();

    ScrubberPreview(const ScrubberPreview&) = delete;
    ScrubberPreview& operator=(const ScrubberPreview&) = delete;

    /// Sets the memory limit of the context's cache.
    void limitMemory();

    /// Shows what there is at once, and loads the rest. `dataSourceType` is the kind of the list that the entry stands
    /// in. `view` may be null; it is the same in each call; `currentId` is called while this lives. Called again for
    /// the same picture it changes nothing of what is under way.
    void show(ImageView* view, const ScrubberEvent::Fields& event, std::int32_t dataSourceType, CurrentId currentId);

    /// Wants no picture any more, empties the view and its tag.
    void clean(ImageView* view);

    /// Empties the disk level: pictures are held in memory only.
    void clearDisk();

    /// The name of an entry's picture in the cache: "CAMID_ID" for an event; ids of recordings are counted apart.
    static QString cacheKey(const ScrubberEvent::Fields& event, std::int32_t dataSourceType);

  private:
    struct Wish {
        QString key;
        QUrl imageUrl;
        QUrl videoUrl;
        std::int64_t id = 0;
        bool operator==(const Wish&) const = default;
    };

    void watch(ImageView& view);
    void drop();
    void askIfBlurred();
    void ask();
    void loadImage(QSize size);
    void grabFrame(QSize size);

    std::shared_ptr<ToolkitContext> context_;
    QPointer<ImageView> view_;
    Wish wish_;
    CurrentId currentId_;
    QSize askedFor_;
    Scheduler::TimerId timer_ = 0;
    ImageLoader::Handle load_ = 0;
    FrameGrabber::Handle grab_ = 0;
    LifeToken life_;
};

}  // namespace korvane
