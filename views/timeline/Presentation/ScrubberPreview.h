#pragma once

#include <QPointer>
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>

#include "base/LifeToken.h"
#include "toolkit/FrameGrabber.h"
#include "toolkit/ImageView.h"
#include "views/timeline/ScrubberCommon/ScrubberEvent.h"

namespace korvane {

struct ToolkitContext;

/// Fills a cell's image view with the picture of an entry: from the memory cache, else from the entry's image, else
/// from the first frame of its video. Pictures are kept in memory under a key that does not tell which it was. Main
/// thread only.
class ScrubberPreview {
  public:
    /// Gives the id of the event that the cell shows when a frame arrives, 0 for none.
    using CurrentId = std::function<std::int64_t()>;

    ScrubberPreview();
    ~ScrubberPreview();

    ScrubberPreview(const ScrubberPreview&) = delete;
    ScrubberPreview& operator=(const ScrubberPreview&) = delete;

    /// Sets the memory limit of the shared cache.
    void limitMemory();

    /// Shows what there is at once, loads the rest. `view` may be null; `currentId` is called while this lives.
    void show(ImageView* view, const ScrubberEvent::Fields& event, CurrentId currentId);

    /// Drops what is loading, empties the view and its tag.
    void clean(ImageView* view);

    /// Empties the disk level: pictures are held in memory only.
    void clearDisk();

    /// "CAMID_ID", the name of an entry's picture in the cache.
    static QString cacheKey(const ScrubberEvent::Fields& event);

  private:
    void loadImage(ImageView& view, const QString& url, const QString& key);
    void grabFrame(ImageView& view, const ScrubberEvent::Fields& event, const QString& key, CurrentId currentId);
    void cancelGrab();

    std::shared_ptr<ToolkitContext> context_;
    FrameGrabber::Handle grab_ = 0;
    LifeToken life_;
};

}  // namespace korvane
