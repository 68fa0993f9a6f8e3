#include "views/timeline/Presentation/ScrubberPreview.h"

#include <QUrl>
#include <utility>

#include "toolkit/ImageCache.h"
#include "toolkit/ToolkitContext.h"

namespace korvane {
namespace {

constexpr std::int64_t memoryLimit = 104857600;
constexpr double frameScale = 4.0;

QString textOf(const std::optional<std::int64_t>& number) {
    return number ? QString::number(*number) : QStringLiteral("(null)");
}

QString textOf(const std::optional<std::string>& text) {
    return QString::fromStdString(text.value_or(std::string()));
}

}  // namespace

ScrubberPreview::ScrubberPreview() : context_(ToolkitContext::shared()) {}

ScrubberPreview::~ScrubberPreview() {
    cancelGrab();
}

void ScrubberPreview::limitMemory() {
    context_->imageCache->setMaxMemoryCost(memoryLimit);
}

void ScrubberPreview::show(ImageView* view, const ScrubberEvent::Fields& event, CurrentId currentId) {
    if (!view) return;
    const QString key = cacheKey(event);
    const QImage known = context_->imageCache->imageFromMemoryCacheForKey(key);
    view->setImage(known);
    if (!known.isNull()) return;
    if (const QString imageUrl = textOf(event.imageUrl); !imageUrl.isEmpty()) {
        loadImage(*view, imageUrl, key);
    } else if (event.videoUrl && !event.videoUrl->empty()) {
        grabFrame(*view, event, key, std::move(currentId));
    }
}

void ScrubberPreview::loadImage(ImageView& view, const QString& url, const QString& key) {
    view.setImageWithURL(
        QUrl(url), [cache = context_->imageCache, key](const QImage& image) { cache->storeImageToMemory(image, key); });
}

void ScrubberPreview::grabFrame(ImageView& view, const ScrubberEvent::Fields& event, const QString& key,
                                CurrentId currentId) {
    view.setTag(event.identificator.value_or(0));
    cancelGrab();
    auto arrived = [this, target = QPointer<ImageView>(&view), key, currentId = std::move(currentId)](
                       int result, const QImage& frame) {
        grab_ = 0;
        // The tag keeps a late frame off a cell that shows another event by now.
        if (result != FrameGrabber::success || !target || target->tag() != currentId()) return;
        QImage preview = frame;
        preview.setDevicePixelRatio(frameScale);
        target->setImage(preview);
        context_->imageCache->storeImageToMemory(preview, key);
    };
    grab_ =
        context_->frameGrabber->grab(QUrl(textOf(event.videoUrl)), view.pixelSize(), life_.guard(std::move(arrived)));
}

void ScrubberPreview::clean(ImageView* view) {
    cancelGrab();
    if (!view) return;
    view->cancelCurrentImageLoad();
    view->setImage({});
    view->setTag(-1);
}

void ScrubberPreview::clearDisk() {
    context_->imageCache->clearDiskOnCompletion({});
}

QString ScrubberPreview::cacheKey(const ScrubberEvent::Fields& event) {
    return textOf(event.camid) + u'_' + textOf(event.identificator);
}

void ScrubberPreview::cancelGrab() {
    if (grab_ != 0) context_->frameGrabber->cancel(grab_);
    grab_ = 0;
}

}  // namespace korvane
