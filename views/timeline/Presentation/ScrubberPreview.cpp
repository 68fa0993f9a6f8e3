#include "korvane/views/timeline/Presentation/ScrubberPreview.h"

#include <utility>

#include "korvane/toolkit/ImageCache.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEventType.h"

namespace korvane {
namespace {

constexpr std::int64_t memoryLimit = 104857600;
constexpr double frameScale = 4.0;
constexpr std::chrono::milliseconds glance(100);  // what passes quicker is not seen

QString textOf(const std::optional<std::int64_t>& number) {
    return number ? QString::number(*number) : QStringLiteral("(null)");
}

QUrl urlOf(const std::optional<std::string>& text) {
    return QUrl(QString::fromStdString(text.value_or(std::string())));
}

// A smaller picture does not take the place of one that has come meanwhile.
void keep(ImageCache& cache, const QImage& image, const QString& key, QSize size) {
    if (!cache.isSharpInMemory(key, size)) cache.storeImageToMemory(image, key, size);
}

}  // namespace

ScrubberPreview::ScrubberPreview() : context_(ToolkitContext::current()) {}

ScrubberPreview::~ScrubberPreview() {
    drop();
}

void ScrubberPreview::limitMemory() {
    context_->imageCache->setMaxMemoryCost(memoryLimit);
}

void ScrubberPreview::show(ImageView* view, const ScrubberEvent::Fields& event, std::int32_t dataSourceType,
                           CurrentId currentId) {
    if (!view) return;
    watch(*view);
    Wish wish{cacheKey(event, dataSourceType), urlOf(event.imageUrl), urlOf(event.videoUrl),
              event.identificator.value_or(0)};
    currentId_ = std::move(currentId);
    const bool isNew = wish != wish_;
    if (isNew) {
        drop();
        wish_ = std::move(wish);
    }
    const QImage known = context_->imageCache->imageFromMemoryCacheForKey(wish_.key);
    if (isNew || !known.isNull()) view->setImage(known);
    if (wish_.imageUrl.isEmpty() && !wish_.videoUrl.isEmpty()) view->setTag(wish_.id);
    askIfBlurred();
}

void ScrubberPreview::watch(ImageView& view) {
    if (view_ == &view) return;
    view_ = &view;
    const auto grown = [look = life_.guard([this] { askIfBlurred(); })]() mutable { look(); };
    QObject::connect(&view, &QQuickItem::widthChanged, &view, grown);
    QObject::connect(&view, &QQuickItem::heightChanged, &view, grown);
}

void ScrubberPreview::askIfBlurred() {
    if (timer_ != 0 || !view_ || (wish_.imageUrl.isEmpty() && wish_.videoUrl.isEmpty())) return;
    const QSize size = view_->pixelSize();
    const bool isAskedFor = askedFor_.expandedTo(size) == askedFor_;
    if (size.isEmpty() || isAskedFor || context_->imageCache->isSharpInMemory(wish_.key, size)) return;
    if (!wish_.imageUrl.isEmpty()) context_->imageLoader->prepare(wish_.imageUrl);
    timer_ = context_->scheduler->after(glance, life_.guard([this] { ask(); }));
}

void ScrubberPreview::ask() {
    timer_ = 0;
    if (!view_) return;
    const QSize size = view_->pixelSize();
    // Another cell may have asked for the same picture.
    if (context_->imageCache->isSharpInMemory(wish_.key, size)) {
        return view_->setImage(context_->imageCache->imageFromMemoryCacheForKey(wish_.key));
    }
    const QSize smaller = std::exchange(askedFor_, size);
    if (!smaller.isEmpty()) {
        context_->imageLoader->cancel(load_);
        context_->frameGrabber->cancel(grab_);
    }
    if (!wish_.imageUrl.isEmpty()) {
        loadImage(size);
    } else {
        grabFrame(size);
    }
}

void ScrubberPreview::loadImage(QSize size) {
    auto show = life_.guard([this](const QImage& image) {
        load_ = 0;
        if (view_ && !image.isNull()) view_->setImage(image);
    });
    auto arrived = [cache = context_->imageCache, key = wish_.key, size](const QImage& image, const QString&) {
        keep(*cache, image, key, size);
    };
    load_ = context_->imageLoader->load(
        wish_.imageUrl, size, [show](const QImage& image, const QString&) mutable { show(image); }, arrived);
}

void ScrubberPreview::grabFrame(QSize size) {
    const auto scaled = [](QImage frame) {
        frame.setDevicePixelRatio(frameScale);
        return frame;
    };
    auto show = life_.guard([this](const QImage& frame) {
        grab_ = 0;
        // The tag keeps a late frame off a cell that shows another event by now.
        if (view_ && !frame.isNull() && view_->tag() == currentId_()) view_->setImage(frame);
    });
    auto arrived = [cache = context_->imageCache, key = wish_.key, size, scaled](int, const QImage& frame) {
        keep(*cache, scaled(frame), key, size);
    };
    grab_ = context_->frameGrabber->grab(
        wish_.videoUrl, size, [show, scaled](int, const QImage& frame) mutable { show(scaled(frame)); }, arrived);
}

void ScrubberPreview::clean(ImageView* view) {
    drop();
    if (!view) return;
    view->setImage({});
    view->setTag(-1);
}

void ScrubberPreview::drop() {
    context_->scheduler->cancel(std::exchange(timer_, 0));
    context_->imageLoader->cancel(std::exchange(load_, 0));
    context_->frameGrabber->cancel(std::exchange(grab_, 0));
    wish_ = {};
    askedFor_ = {};
}

void ScrubberPreview::clearDisk() {
    context_->imageCache->clearDiskOnCompletion({});
}

QString ScrubberPreview::cacheKey(const ScrubberEvent::Fields& event, std::int32_t dataSourceType) {
    const QString key = textOf(event.camid) + u'_' + textOf(event.identificator);
    return dataSourceType == ScrubberDataSourceTypeEvents ? key : key + u'_' + QString::number(dataSourceType);
}

}  // namespace korvane
