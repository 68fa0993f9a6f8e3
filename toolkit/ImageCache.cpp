#include "korvane/toolkit/ImageCache.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <atomic>
#include <utility>

#include "korvane/toolkit/PictureDecoder.h"

namespace korvane {
namespace {

constexpr std::int64_t defaultMaxCost = 100 * 1024 * 1024;
constexpr std::int64_t mostFileBytes = 64 * 1024 * 1024;

bool covers(QSize size, QSize other) {
    return size.expandedTo(other) == size;
}

/// Opaque pictures are kept in three bytes a pixel, without the unused fourth.
QImage packed(const QImage& image) {
    return image.format() == QImage::Format_RGB32 ? image.convertToFormat(QImage::Format_RGB888) : image;
}

}  // namespace

/// The folder, and whether it may hold files: an earlier process may have left some.
struct ImageCache::Disk {
    QString directory;
    std::mutex mutex;
    std::atomic<bool> mayHoldFiles;

    explicit Disk(QString path) : directory(std::move(path)), mayHoldFiles(!directory.isEmpty()) {}

    void clear() {
        const std::lock_guard lock(mutex);
        if (!mayHoldFiles.exchange(false)) return;
        QDir folder(directory);
        for (const QString& name : folder.entryList(QDir::Files)) folder.remove(name);
    }
};

ImageCache::ImageCache(Scheduler& scheduler, QString directory)
    : scheduler_(scheduler), disk_(std::make_shared<Disk>(std::move(directory))), maxCost_(defaultMaxCost) {}

ImageCache::~ImageCache() = default;

void ImageCache::setMaxMemoryCost(std::int64_t bytes) {
    const std::lock_guard lock(mutex_);
    maxCost_ = bytes;
    evict();
}

std::int64_t ImageCache::maxMemoryCost() const {
    const std::lock_guard lock(mutex_);
    return maxCost_;
}

std::int64_t ImageCache::memoryCost() const {
    const std::lock_guard lock(mutex_);
    return cost_;
}

QImage ImageCache::imageFromMemoryCacheForKey(const QString& key) {
    const std::lock_guard lock(mutex_);
    const auto found = byKey_.find(key);
    if (found == byKey_.end()) return {};
    entries_.splice(entries_.begin(), entries_, found->second);
    return found->second->image;
}

void ImageCache::storeImageToMemory(const QImage& image, const QString& forKey, QSize decodedFor) {
    if (image.isNull()) return;
    const std::int64_t cost = image.sizeInBytes();
    QImage kept = packed(image);  // outside of the lock, because cells wait for it
    const std::lock_guard lock(mutex_);
    if (const auto found = byKey_.find(forKey); found != byKey_.end()) {
        cost_ -= found->second->cost;
        entries_.erase(found->second);
        byKey_.erase(found);
    }
    if (maxCost_ > 0 && cost > maxCost_) return;
    entries_.push_front({forKey, std::move(kept), cost, decodedFor});
    byKey_.emplace(forKey, entries_.begin());
    cost_ += cost;
    evict();
}

bool ImageCache::isSharpInMemory(const QString& key, QSize pixels) const {
    const std::lock_guard lock(mutex_);
    const auto found = byKey_.find(key);
    if (found == byKey_.end()) return false;
    const QSize decodedFor = found->second->decodedFor;
    // A picture that does not cover decodedFor was not scaled down.
    const bool isWhole = decodedFor.isEmpty() || !covers(found->second->image.size(), decodedFor);
    return isWhole || covers(decodedFor, pixels);
}

void ImageCache::clearMemory() {
    const std::lock_guard lock(mutex_);
    byKey_.clear();
    entries_.clear();
    cost_ = 0;
}

bool ImageCache::storeImageToDisk(const QImage& image, const QString& forKey) {
    if (image.isNull() || disk_->directory.isEmpty()) return false;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG") || bytes.size() > mostFileBytes || !PictureDecoder().accepts(bytes)) return false;
    const std::lock_guard lock(disk_->mutex);
    disk_->mayHoldFiles = true;
    QSaveFile file(pathFor(forKey));
    return QDir().mkpath(disk_->directory) && file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() &&
           file.commit();
}

QImage ImageCache::imageFromDiskCacheForKey(const QString& key) const {
    if (!disk_->mayHoldFiles) return {};
    const std::lock_guard lock(disk_->mutex);
    QFile file(pathFor(key));
    if (!file.open(QIODevice::ReadOnly) || file.size() > mostFileBytes) return {};
    return PictureDecoder().decode(file.readAll(), {}).image;
}

void ImageCache::clearDiskOnCompletion(std::function<void()> completion) {
    if (!disk_->mayHoldFiles) {
        if (completion) scheduler_.post(std::move(completion));
        return;
    }
    scheduler_.runInBackground([disk = disk_, completion = std::move(completion), &scheduler = scheduler_] {
        disk->clear();
        if (completion) scheduler.post(completion);
    });
}

void ImageCache::evict() {
    while (maxCost_ > 0 && cost_ > maxCost_ && !entries_.empty()) {
        cost_ -= entries_.back().cost;
        byKey_.erase(entries_.back().key);
        entries_.pop_back();
    }
}

// Keys may hold characters that file names may not.
QString ImageCache::pathFor(const QString& key) const {
    const QByteArray name = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha256).toHex();
    return disk_->directory + QLatin1Char('/') + QString::fromLatin1(name) + QStringLiteral(".png");
}

}  // namespace korvane
