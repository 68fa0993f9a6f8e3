#include "views/timeline/Presentation/Scrubber/ScrubberCell.h"

#include <utility>

#include "base/Log.h"
#include "toolkit/Animator.h"
#include "toolkit/InterfaceLoader.h"
#include "toolkit/ToolkitContext.h"
#include "views/timeline/Presentation/Outlets.h"
#include "views/timeline/Utils/TimelineUtils.h"

namespace korvane {
namespace {

constexpr const char* classPath = "ScrubberView: ScrubberCell";
constexpr double advanceSeconds = 1.0;
constexpr double noBaseOffset = 0.001;

// A player that stands at 0 has not begun; one that runs past the end of an entry is followed as far as its picture.
constexpr PlaybackRules playbackRules{.firstPosition = 0, .advancesAfterFinish = true, .holdsWhileScrolling = false};

AttributedString dateText(const ScrubberConfig& config, const QString& text) {
    return TimelineUtils::prepareAttributedString(text, TextAlignmentLeft, config.dateTimeTextFont(),
                                                  config.dateTimeTextColor(), config.dateTimeTextKerning());
}

}  // namespace

ScrubberCell::ScrubberCell(QQuickItem* parent)
    : CollectionViewCell(parent),
      context_(ToolkitContext::shared()),
      playback_(context_->scheduler, playbackRules, [this](TimeMs position, TimeMs startRange, TimeMs endRange) {
          advanceProgressTo(position, startRange, endRange, baseOffset_, prevOffset_);
      }) {}

ScrubberCell::~ScrubberCell() {
    clean();
}

void ScrubberCell::awakeFromNib() {
    Outlets outlets(this);
    conatinerView_ = outlets.get<QQuickItem>("conatinerView");
    previewImageView_ = outlets.get<ImageView>("previewImageView");
    liveViewLabel_ = outlets.get<QQuickItem>("liveViewLabel");
    eventTypeImageView_ = outlets.get<ImageView>("eventTypeImageView");
    eventDateTimeaLabel_ = outlets.get<QQuickItem>("eventDateTimeaLabel");
    favariteImageView_ = outlets.get<QQuickItem>("favariteImageView");
    progress_ = outlets.get<LayoutConstraint>("progress");
    outlets.report(classPath);

    if (conatinerView_) {
        conatinerView_->setProperty("radius", 0.0);
        conatinerView_->setClip(true);
    }
    preview_.limitMemory();
}

void ScrubberCell::prepareForReuse() {
    CollectionViewCell::prepareForReuse();
    clean();
}

void ScrubberCell::update() {
    if (!owner_) return;
    const std::shared_ptr<ScrubberEvent> event = getEvent();
    const ScrubberConfig& config = owner_->getConfig();
    ScrubberEvent::Fields fields;
    if (event) fields = event->fields();
    const int type = event ? fields.type : ScrubberEventTypeHead;
    trace(3, classPath, "(", this, ") update: index: ", index_.value_or(-1), " type: ", type);

    updateColors(config);
    updateLiveLabel(config, type == ScrubberEventTypeLive);
    if (type == ScrubberEventTypeHead || type == ScrubberEventTypeLive) {
        if (previewImageView_) previewImageView_->setImage({});
        setBackgroundColor(previewImageView_, config.backgroundCellColor());
        return;
    }
    updateDate(config, fields);
    updateIcon(config, fields);
    preview_.show(previewImageView_, fields, [this] {
        const auto current = getEvent();
        return current ? current->identificator().value_or(0) : 0;
    });
}

void ScrubberCell::updateColors(const ScrubberConfig& config) {
    const auto outlets = {conatinerView_.data(),       static_cast<QQuickItem*>(previewImageView_.data()),
                          liveViewLabel_.data(),       static_cast<QQuickItem*>(eventTypeImageView_.data()),
                          eventDateTimeaLabel_.data(), favariteImageView_.data()};
    for (QQuickItem* outlet : outlets) setBackgroundColor(outlet, config.backgroundCellColor());
}

void ScrubberCell::updateLiveLabel(const ScrubberConfig& config, bool isLive) {
    if (!liveViewLabel_) return;
    liveViewLabel_->setVisible(isLive);
    setAttributedText(liveViewLabel_, TimelineUtils::prepareAttributedString(
                                          QStringLiteral("Live view"), TextAlignmentLeft, config.liveViewTextFont(),
                                          config.liveViewTextColor(), config.liveViewTextKerning()));
}

void ScrubberCell::updateDate(const ScrubberConfig& config, const ScrubberEvent::Fields& event) {
    QString text = QStringLiteral("loading...");
    if (event.timeAsValue != -1 && event.timeAsValue != 0) {
        text = owner_->formatTime(event.timeAsValue, config.dateTimeFormat(), QString::fromStdString(event.timezone));
    }
    if (event.type == ScrubberEventTypeGroup) text += QStringLiteral("(%1)").arg(event.childs.size());
    setAttributedText(eventDateTimeaLabel_, dateText(config, text));
}

void ScrubberCell::updateIcon(const ScrubberConfig& config, const ScrubberEvent::Fields& event) {
    if (!eventTypeImageView_) return;
    eventTypeImageView_->setTintColor(config.eventTypeTintColor());
    if (!event.name) return;
    const QString name = QString::fromStdString(*event.name).toLower();
    if (const auto& images = config.eventTypeImages()) {
        if (const auto found = images->find(name); found != images->end()) eventTypeImageView_->setImage(*found);
    } else if (name == u"motion") {
        eventTypeImageView_->setImage(imageNamed(QStringLiteral("scrubberEventTypeMotion")));
    } else if (name == u"doorbell") {
        eventTypeImageView_->setImage(imageNamed(QStringLiteral("scrubberEventTypeDoorbellMissed")));
    }
}

void ScrubberCell::startProgress(ScrubberCellOwner* owner) {
    if (!context_->scheduler->isMainThread()) return logError(classPath, "startProgress: not main thread");
    if (playback_.isRunning()) stopProgress();
    owner_ = owner;
    prevOffset_ = 0;
    baseOffset_ = 0;
    playback_.start(owner, getEvent());
}

void ScrubberCell::stopProgress() {
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

double ScrubberCell::scaleWidth() const {
    return previewImageView_ ? previewImageView_->width() : 0;
}

TimeMs ScrubberCell::getPositionFromOffset(double offset) const {
    const auto event = getEvent();
    return event ? CellScale{event->start(), event->end(), scaleWidth()}.positionAt(offset) : 0;
}

void ScrubberCell::setPositionByOffset(double offset) {
    context_->scheduler->post(shown_.guard([this, offset] {
        prevOffset_ = offset;
        const auto event = getEvent();
        if (owner_) {
            CellScale scale{event ? event->start() : 0, event ? event->end() : 0, scaleWidth()};
            const QPointer<ScrubberCell> self(this);  // the host may destroy the view while it answers
            owner_->OnScrubberGetRangeForPlayingEvent(event, &scale.start, &scale.end);
            if (self && owner_) owner_->OnScrubberSetCurrentPositionForPlayingEvent(event, scale.positionAt(offset));
            if (!self) return;
        }
        isScrollPaused_ = false;
        isProgressPaused_ = false;
    }));
}

void ScrubberCell::advanceProgressTo(TimeMs position, TimeMs startRange, TimeMs endRange, double& baseOffset,
                                     double& prevOffset) {
    playback_.post([this, position, startRange, endRange, &baseOffset, &prevOffset] {
        if (owner_ && !(baseOffset > noBaseOffset)) baseOffset = owner_->getBaseOffset().x;
        const double offset = CellScale{startRange, endRange, scaleWidth()}.offsetOf(position);
        // An animation that this one takes over from has not ended: were it to wake the thread, a position that moves
        // would bring the next advance at once, and that one the next.
        newestAdvance_ = LifeToken();
        Transaction::begin();
        Transaction::setCompletionBlock(newestAdvance_.guard([this] { actionEnded(); }));
        animate(advanceSeconds, [this, offset, &prevOffset] { moveTo(offset, prevOffset); });
        Transaction::commit();
    });
}

void ScrubberCell::moveTo(double offset, double& prevOffset) {
    trace(7, classPath, "(", this, ") advance to ", offset);
    if (progress_ && !isProgressPaused_) progress_->setConstant(offset);
    if (progress_ && progress_->constant() > scaleWidth()) {
        progress_->setConstant(scaleWidth());
    } else if (!isScrollPaused_) {
        const double delta = offset - std::exchange(prevOffset, offset);
        // Last: under a finger the host is told of the step, and may destroy the view.
        if (owner_) owner_->scrollOnDeltaX(index_, delta);
    }
}

void ScrubberCell::clean() {
    stopProgress();
    shown_ = LifeToken();
    index_.reset();
    event_.reset();
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
