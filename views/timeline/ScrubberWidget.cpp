#include "korvane/views/timeline/ScrubberWidget.h"

#include <QKeyEvent>
#include <algorithm>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/toolkit/ImageCache.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/Binding/ScrubberStripView.h"
#include "korvane/views/timeline/Presentation/ScrubberPreview.h"
#include "korvane/views/timeline/Version.h"

namespace korvane {
namespace {

constexpr const char* classPath = "ScrubberView";

}  // namespace

ScrubberWidget::ScrubberWidget(const TimelineEnvironment& environment, QQuickItem* parent)
    : WidgetItem(environment.toolkit, parent) {}

ScrubberWidget::~ScrubberWidget() {
    strip_->leave();
}

void ScrubberWidget::setStrip(std::unique_ptr<ScrubberStripView> strip, const Rect& frame) {
    strip_ = std::move(strip);
    strip_->setup(loadContentView(strip_->layoutFile(), classPath));
    placeAt(frame);
    layoutSubviews();
}

QString ScrubberWidget::getVersion() {
    return QString::fromLatin1(timelineVersion);
}

ScrubberConfig& ScrubberWidget::getConfig() {
    return strip_->getConfig();
}

void ScrubberWidget::applyConfig() {
    onMain([this] { strip_->applyConfig(); });
}

void ScrubberWidget::setDelegate(const std::shared_ptr<ScrubberViewDelegate>& delegate) {
    strip_->host().set(delegate);
}

std::shared_ptr<ScrubberViewDelegate> ScrubberWidget::getDelegate() const {
    return strip_->host().get();
}

void ScrubberWidget::setDataSourceDelegate(const std::shared_ptr<ScrubberDataSourceDelegate>& source) {
    strip_->setOwnList(source);
}

std::shared_ptr<ScrubberDataSourceDelegate> ScrubberWidget::getDataSourceDelegate() const {
    return strip_->entries().ownList();
}

int ScrubberWidget::setSource(const QString& token) {
    return strip_->setSource(token);
}

std::int32_t ScrubberWidget::setSource(const QString& token, TimeMs startFrom) {
    return strip_->setSource(token, startFrom);
}

std::int32_t ScrubberWidget::setSource(const QString& token, TimeMs startDateTime, TimeMs endDateTime,
                                       const std::optional<QString>& eventType, std::int64_t sortAscending,
                                       std::int64_t withLimit, std::int64_t withOffset, TimeMs startFrom) {
    return strip_->setSource(token, startDateTime, endDateTime, eventType, sortAscending, withLimit, withOffset,
                             startFrom);
}

int ScrubberWidget::setSourceFrom(const QString& token, qint64 startFrom) {
    const QPointer<ScrubberWidget> self(this);
    sourceToken_ = token;
    const int status = strip_->setSource(token, startFrom);
    if (!self) return status;
    sourceStatus_ = status;
    emit sourceChanged();
    return status;
}

int ScrubberWidget::refresh() {
    return strip_->refresh();
}

void ScrubberWidget::enableEventGrouping(bool isEnabled) {
    strip_->enableEventGrouping(isEnabled);
}

void ScrubberWidget::reload() {
    strip_->reload();
}

void ScrubberWidget::setState(std::int32_t state, std::int32_t andStatus) {
    strip_->setState(state, andStatus);
}

int ScrubberWidget::getState() const {
    return strip_->getState();
}

void ScrubberWidget::clean() {
    strip_->clean();
}

std::int64_t ScrubberWidget::getEventsCount() const {
    return strip_->entries().count();
}

std::int64_t ScrubberWidget::getUngroupedEventsCount() const {
    return strip_->entries().ungroupedCount();
}

std::shared_ptr<ScrubberEvent> ScrubberWidget::getEvent(std::int64_t index) const {
    return strip_->entries().at(index);
}

std::vector<std::shared_ptr<ScrubberEvent>> ScrubberWidget::getEvents() const {
    return strip_->entries().all();
}

std::shared_ptr<ScrubberEvent> ScrubberWidget::getCurrentEvent() const {
    return strip_->getCurrentEvent();
}

void ScrubberWidget::toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll) {
    strip_->toEvent(event, withSendNotify, withScroll, ScrubberStripView::alignSeconds);
}

void ScrubberWidget::toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll,
                             double withFixedAnimationTime) {
    strip_->toEvent(event, withSendNotify, withScroll, withFixedAnimationTime);
}

void ScrubberWidget::toFirstEvent() {
    strip_->toEntry(1);
}

void ScrubberWidget::toLastEvent() {
    strip_->toEntry(std::max<std::int64_t>(getEventsCount() - 2, 1));
}

void ScrubberWidget::selectEventAt(qint64 index) {
    strip_->selectAt(index);
}

std::int32_t ScrubberWidget::deleteEvent(const std::shared_ptr<ScrubberEvent>& event, DeleteCompletion onComplete) {
    return strip_->deleteEvent(event, std::move(onComplete));
}

void ScrubberWidget::toEvent(const ScrubberEventInfo& event, bool withSendNotify) {
    toEvent(strip_->entryOf(event), withSendNotify);
}

void ScrubberWidget::toEventAt(qint64 index, bool withSendNotify) {
    if (const auto event = getEvent(index)) {
        strip_->toEvent(event, withSendNotify, true, ScrubberStripView::alignSeconds, index);
    } else {
        logError(classPath, "toEventAt: there is no such entry");
    }
}

int ScrubberWidget::deleteEvent(const ScrubberEventInfo& event) {
    return deleteEvent(strip_->entryOf(event), [this, event](std::int32_t, const std::string& message) {
        emit scrubberEventDeleted(event, QString::fromStdString(message));
    });
}

qint64 ScrubberWidget::indexUnderMark() const {
    return strip_->nearestIndexPath().value_or(-1);
}

bool ScrubberWidget::isAtRest() const {
    return strip_->isAtRest();
}

bool ScrubberWidget::isHeld() const {
    return strip_->isHeld();
}

QImage ScrubberWidget::getPreview(const std::shared_ptr<ScrubberEvent>& event) const {
    if (!event) return {};
    const QString key = ScrubberPreview::cacheKey(event->fields(), strip_->getConfig().dataSourceType());
    return toolkit()->imageCache->imageFromMemoryCacheForKey(key);
}

std::vector<std::int64_t> ScrubberWidget::getVisibleIndexes() const {
    return strip_->visibleIndexes();
}

Point ScrubberWidget::getBaseOffset() const {
    return strip_->getBaseOffset();
}

IndexPath ScrubberWidget::getIndexPathFromPointer() const {
    return strip_->indexPathFromPointer();
}

double ScrubberWidget::getOffsetBetweenPointerAndItemBegin(IndexPath indexPath) const {
    return strip_->offsetBetweenPointerAndItemBegin(indexPath);
}

void ScrubberWidget::scrollOnDeltaX(IndexPath indexPath, double delta) {
    scrollOnPositionX(indexPath, getBaseOffset().x + delta);
}

void ScrubberWidget::scrollOnPositionX(IndexPath /*indexPath*/, double position) {
    strip_->scrollByHost(position);
}

void ScrubberWidget::scrollToPosition(bool notify) {
    strip_->scrollToPosition(notify, ScrubberStripView::alignSeconds);
}

void ScrubberWidget::scrollToPosition(bool notify, double withFixedAnimationTime) {
    strip_->scrollToPosition(notify, withFixedAnimationTime);
}

void ScrubberWidget::scrollToPointer(IndexPath indexPath, double withFixedAnimationTime,
                                     std::function<void()> completion) {
    strip_->scrollToPointer(indexPath, withFixedAnimationTime, [completion = std::move(completion)](bool) {
        if (completion) completion();
    });
}

void ScrubberWidget::setSourceToken(const QString& token) {
    sourceToken_ = token;
    if (!isBeingMade()) bindTo(token);
}

void ScrubberWidget::bindTo(const QString& token) {
    const QPointer<ScrubberWidget> self(this);
    int status = 0;
    if (token.isEmpty()) {
        clean();
    } else {
        status = setSource(token);
    }
    if (!self) return;
    sourceStatus_ = status;
    emit sourceChanged();
}

ScrubberConfig ScrubberWidget::config() const {
    return strip_->getConfig();
}

void ScrubberWidget::setConfig(const ScrubberConfig& config) {
    if (config == strip_->getConfig()) return;
    strip_->getConfig() = config;
    applyConfig();
    emit configChanged();
}

ScrubberViewPlayback* ScrubberWidget::playback() {
    return &strip_->playback();
}

void ScrubberWidget::keyPressEvent(QKeyEvent* event) {
    const bool isLong = event->modifiers() & Qt::ShiftModifier;
    event->setAccepted(!(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)));
    if (!event->isAccepted()) return;
    switch (event->key()) {
        case Qt::Key_Left:
            return strip_->step(-1, isLong);
        case Qt::Key_Right:
            return strip_->step(1, isLong);
        case Qt::Key_PageUp:
            return strip_->moveByScreens(-1);
        case Qt::Key_PageDown:
            return strip_->moveByScreens(1);
        case Qt::Key_Home:
            return toFirstEvent();
        case Qt::Key_End:
            return toEvent(nullptr);
        case Qt::Key_Space:
            if (!event->isAutoRepeat()) emit playPauseRequested();
            return;
        default:
            event->ignore();
    }
}

void ScrubberWidget::layoutSubviews() {
    strip_->layoutSubviews();
}

void ScrubberWidget::awakeFromNib() {
    applyConfig();
    reload();
    if (!sourceToken_.isEmpty()) bindTo(sourceToken_);
}

}  // namespace korvane
