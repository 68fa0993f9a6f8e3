#include "korvane/views/timeline/Presentation/PlayingCell.h"

#include <algorithm>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/toolkit/AnimatedValue.h"
#include "korvane/toolkit/InterfaceLoader.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/Presentation/CellScale.h"
#include "korvane/views/timeline/Presentation/ItemLooks.h"
#include "korvane/views/timeline/Utils/TimelineUtils.h"

namespace korvane {
namespace {

constexpr double advanceSeconds = 1.0;
constexpr double noBaseOffset = 0.001;

}  // namespace

PlayingCell::PlayingCell(const PlaybackRules& rules, const char* classPath, QQuickItem* parent)
    : CollectionViewCell(parent),
      classPath_(classPath),
      context_(ToolkitContext::current()),
      playback_(context_->scheduler, rules, [this](TimeMs position, TimeMs startRange, TimeMs endRange) {
          advanceProgressTo(position, startRange, endRange, baseOffset_, prevOffset_);
      }) {}

PlayingCell::~PlayingCell() {
    PlayingCell::clean();
}

void PlayingCell::awakeFromNib() {
    Outlets outlets(this);
    previewImageView_ = outlets.get<ImageView>("previewImageView");
    liveViewLabel_ = outlets.get<QQuickItem>("liveViewLabel");
    eventTypeImageView_ = outlets.get<ImageView>("eventTypeImageView");
    eventDateTimeaLabel_ = outlets.get<QQuickItem>("eventDateTimeaLabel");
    favariteImageView_ = outlets.get<QQuickItem>("favariteImageView");
    progress_ = outlets.get<LayoutConstraint>("progress");
    outlets.report(classPath_);
    preview_.limitMemory();
}

void PlayingCell::prepareForReuse() {
    CollectionViewCell::prepareForReuse();
    clean();
}

void PlayingCell::setEvent(const std::shared_ptr<ScrubberEvent>& event) {
    event_ = event;
    kept_ = keepsEntry() ? event : nullptr;
    if (playback_.isRunning()) playback_.setEvent(event);
}

void PlayingCell::setPartsBackground(const QColor& color) {
    for (QQuickItem* outlet :
         {static_cast<QQuickItem*>(previewImageView_.data()), liveViewLabel_.data(),
          static_cast<QQuickItem*>(eventTypeImageView_.data()), eventDateTimeaLabel_.data(), favariteImageView_.data()})
        setBackgroundColor(outlet, color);
}

void PlayingCell::updateLiveLabel(const ScrubberConfig& config, bool isLive) {
    if (!liveViewLabel_) return;
    liveViewLabel_->setVisible(isLive);
    setAttributedText(liveViewLabel_, TimelineUtils::prepareAttributedString(
                                          QStringLiteral("Live view"), TextAlignmentLeft, config.liveViewTextFont(),
                                          config.liveViewTextColor(), config.liveViewTextKerning()));
}

AttributedString PlayingCell::updateDate(const ScrubberConfig& config, const ScrubberEvent::Fields& event) {
    QString text = QStringLiteral("loading...");
    if (event.timeAsValue != -1 && event.timeAsValue != 0) {
        text = owner_->formatTime(owner_->momentOf(event), config.dateTimeFormat(), timeZone(config, event));
    }
    if (event.type == ScrubberEventTypeGroup) text += QStringLiteral("(%1)").arg(event.childs.size());
    const AttributedString date = TimelineUtils::prepareAttributedString(
        text, TextAlignmentLeft, config.dateTimeTextFont(), config.dateTimeTextColor(), config.dateTimeTextKerning());
    setAttributedText(eventDateTimeaLabel_, date);
    return date;
}

void PlayingCell::updateIcon(const ScrubberConfig& config, const ScrubberEvent::Fields& event) {
    if (!eventTypeImageView_) return;
    eventTypeImageView_->setTintColor(config.eventTypeTintColor());
    const QString name = QString::fromStdString(event.name.value_or(std::string())).toLower();
    const auto& images = config.eventTypeImages();
    eventTypeImageView_->setImage(images ? images->value(name) : builtInEventTypeImage(name));
}

void PlayingCell::updatePreview(const ScrubberConfig& config, const ScrubberEvent::Fields& event) {
    preview_.show(previewImageView_, event, config.dataSourceType(), [this] {
        const auto current = getEvent();
        return current ? current->identificator().value_or(0) : 0;
    });
}

void PlayingCell::removePreview(const QColor& color) {
    preview_.clean(previewImageView_);
    setBackgroundColor(previewImageView_, color);
}

void PlayingCell::startProgress(ScrubberCellOwner* owner) {
    if (!context_->scheduler->isMainThread()) return logError(classPath_, "startProgress: not main thread");
    if (playback_.isRunning()) stopProgress();
    owner_ = owner;
    prevOffset_ = 0;
    baseOffset_ = 0;
    playback_.start(owner ? &owner->playbackHost() : nullptr, getEvent());
}

void PlayingCell::stopProgress() {
    playback_.stop();
    if (!context_->scheduler->isMainThread()) {
        context_->scheduler->post(shown_.guard([this] {
            if (!playback_.isRunning()) stopProgress();
        }));
        return;
    }
    if (progress_) progress_->setConstant(0);
    owner_ = nullptr;
    isProgressPaused_ = false;
    isScrollPaused_ = false;
}

TimeMs PlayingCell::getPositionFromOffset(double offset) const {
    const auto event = getEvent();
    return event ? CellScale{event->start(), event->end(), scaleWidth()}.positionAt(offset) : 0;
}

void PlayingCell::setPositionByOffset(double offset) {
    context_->scheduler->post(shown_.guard([this, offset] {
        prevOffset_ = offset;
        const auto event = getEvent();
        if (owner_) {
            CellScale scale{event ? event->start() : 0, event ? event->end() : 0, scaleWidth()};
            const QPointer<PlayingCell> self(this);  // the host may destroy the view while it answers
            owner_->playbackHost().OnScrubberGetRangeForPlayingEvent(event, &scale.start, &scale.end);
            if (self && owner_) {
                owner_->playbackHost().OnScrubberSetCurrentPositionForPlayingEvent(event, scale.positionAt(offset));
            }
            if (!self) return;
        }
        isScrollPaused_ = false;
        isProgressPaused_ = false;
    }));
}

void PlayingCell::advanceProgressTo(TimeMs position, TimeMs startRange, TimeMs endRange, double& baseOffset,
                                    double& prevOffset) {
    playback_.post([this, position, startRange, endRange, &baseOffset, &prevOffset] {
        if (owner_ && !(baseOffset > noBaseOffset)) baseOffset = owner_->getBaseOffset().x;
        const double offset = std::max(0.0, CellScale{startRange, endRange, scaleWidth()}.offsetOf(position));
        // An animation that this one takes over from has not ended: were it to wake the thread, a position that moves
        // would bring the next advance at once, and that one the next.
        newestAdvance_ = LifeToken();
        const ToolkitContext::Use use(context_);
        Transaction::begin();
        Transaction::setCompletionBlock(newestAdvance_.guard([this] { actionEnded(); }));
        animateAdvance(advanceSeconds, [this, offset, &prevOffset] { moveTo(offset, prevOffset); });
        Transaction::commit();
    });
}

void PlayingCell::moveTo(double offset, double& prevOffset) {
    trace(7, classPath_, "(", this, ") advance to ", offset);
    if (progress_ && hasBar() && !isProgressPaused_) progress_->setConstant(offset);
    if (progress_ && progress_->constant() > scaleWidth()) {
        if (hasBar()) progress_->setConstant(scaleWidth());
    } else if (!isScrollPaused_) {
        const double delta = offset - std::exchange(prevOffset, offset);
        // Last: under a finger the host is told of the step, and may destroy the view.
        if (owner_) owner_->scrollOnDeltaX(index_, delta);
    }
}

void PlayingCell::clean() {
    stopProgress();
    shown_ = LifeToken();
    index_.reset();
    event_.reset();
    kept_.reset();
    owner_ = nullptr;
    clearText(eventDateTimeaLabel_);
    preview_.clean(previewImageView_);
    if (eventTypeImageView_) eventTypeImageView_->setImage({});
    if (liveViewLabel_) liveViewLabel_->setVisible(false);
    prevOffset_ = 0;
    baseOffset_ = 0;
    preview_.clearDisk();
}

}  // namespace korvane
