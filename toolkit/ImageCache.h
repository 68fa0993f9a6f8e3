#pragma once

#include <QImage>
#include <QString>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "korvane/base/Scheduler.h"

namespace korvane {

/// Images by key: a memory level with a limit in bytes, least recently used go first, and a disk level in a folder of
/// its own. All functions may be called from any thread.
class ImageCache {
  public:
    /// The disk level lives in `directory`, which is made when first written to; empty for none. It belongs to this
    /// cache alone: clearDiskOnCompletion() deletes every file in it.
    ImageCache(Scheduler& scheduler, QString directory);
    ~ImageCache();

    ImageCache(const ImageCache&) = delete;
    ImageCache& operator=(const ImageCache&) = delete;

    /// Limit in bytes of pixels as they were handed over; 0 or below is no limit. Starts at 100 MiB. What is over it
    /// goes at once. Opaque pictures take up less than they count.
    void setMaxMemoryCost(std::int64_t bytes);
    std::int64_t maxMemoryCost() const;
    std::int64_t memoryCost() const;

    /// A null image when there is none.
    QImage imageFromMemoryCacheForKey(const QString& key);

    /// An empty image stores nothing; neither does one that alone is over the limit. `decodedFor` is the size in pixels
    /// that it was made to cover when it was decoded; empty when it was not scaled down.
    void storeImageToMemory(const QImage& image, const QString& forKey, QSize decodedFor = {});

    /// Whether the image of the key shows all that its source holds in that many pixels.
    bool isSharpInMemory(const QString& key, QSize pixels) const;
    void clearMemory();

    /// Blocks on the disk. False when it could not be written, costs more to read back than ImageLoader allows, or
    /// there is no disk level.
    bool storeImageToDisk(const QImage& image, const QString& forKey);
    /// Blocks on the disk. A null image when there is none, or it costs more to decode than ImageLoader allows.
    QImage imageFromDiskCacheForKey(const QString& key) const;

    /// Empties the disk level on a worker thread, then runs `completion` (may be empty) on the main thread. Costs
    /// nothing while it is known to be empty.
    void clearDiskOnCompletion(std::function<void()> completion);

  private:
    struct Entry {
        QString key;
        QImage image;
        std::int64_t cost;
        QSize decodedFor;
    };
    struct Disk;

    void evict();  // mutex_ held
    QString pathFor(const QString& key) const;

    Scheduler& scheduler_;
    std::shared_ptr<Disk> disk_;
    mutable std::mutex mutex_;
    std::list<Entry> entries_;  // most recently used first
    std::unordered_map<QString, std::list<Entry>::iterator> byKey_;
    std::int64_t maxCost_;
    std::int64_t cost_ = 0;
};

}  // namespace korvane
