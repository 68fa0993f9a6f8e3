#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCell.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "korvane/base/Log.h"
#include "korvane/base/SaturatingTime.h"
#include "korvane/toolkit/AnimatedValue.h"
#include "korvane/toolkit/InterfaceLoader.h"
#include "korvane/views/timeline/Presentation/CellScale.h"
#include "korvane/views/timeline/Utils/TimelineUtils.h"

namespace korvane {
namespace {

constexpr const char* classPath = "ScrubberTimelineView: ScrubberTimelineCell";

// Any position is news to a run, and after its end a segment stays where it is until the next one takes over.
constexpr PlaybackRules playbackRules{.firstPosition = -1, .advancesAfterFinish = false, .holdsWhileScrolling = true};

bool isSpacer(const std::shared_ptr<ScrubberEvent>& event) {
    const int type = event ? event->type() : ScrubberEventTypeHead;
    return type == ScrubberEventTypeHead || type == ScrubberEventTypeLive;
}

}  // namespace

ScrubberTimelineCell::ScrubberTimelineCell(QQuickItem* parent) : PlayingCell(playbackRules, classPath, parent) {}

void ScrubberTimelineCell::awakeFromNib() {
    PlayingCell::awakeFromNib();
    Outlets outlets(this);
    containerView_ = outlets.get<ScrubberTimelineCellCustomView>("containerView");
    previewContainerView_ = outlets.get<QQuickItem>("previewContainerView");
    outlets.report(classPath);
}

void ScrubberTimelineCell::update() {
    if (!owner() || !containerView_) return;
    const std::shared_ptr<ScrubberEvent> event = getEvent();
    const ScrubberConfig& config = owner()->getConfig();
    ScrubberEvent::Fields fields;
    if (event) fields = event->fields();
    trace(3, classPath, ": (", this, ") update: index: ", index().value_or(-1));

    isScale_ = config.dataSourceType() == ScrubberDataSourceTypeTimeline;
    containerView_->eventTypeLayer2()->clean();
    containerView_->eventTypeLayer2()->setTintColor(config.eventTypeTintColor());
    containerView_->setBackgroundColor(config.backgroundColor());
    containerView_->setBackColor(config.backgroundCellColor());
    containerView_->setScaleColor(Qt::gray);
    setPartsBackground(config.backgroundCellColor());
    updateLiveLabel(config, event && fields.type == ScrubberEventTypeLive);
    if (isSpacer(event)) {
        removePreview(containerView_->backgroundColor());
        updateCustomDraw({}, {});
    } else {
        containerView_->setEventDateTimeAttrText(updateDate(config, fields));
        updateIcon(config, fields);
        updateChildIcons(config, fields);
        updateScaleTexts(config, fields);
        updatePreview(config, fields);
    }
    updateCustomDraw();
}

void ScrubberTimelineCell::updateScaleTexts(const ScrubberConfig& config, const ScrubberEvent::Fields& event) {
    const auto text = [&](TimeMs time) {
        return TimelineUtils::prepareAttributedString(
            owner()->formatTime(time, config.dateTimeFormat(), timeZone(config, event)), TextAlignmentLeft,
            config.dateTimeTextFont(), config.dateTimeTextColor(), config.dateTimeTextKerning());
    };
    AttributedString start;
    AttributedString end;
    if (event.start > 0 && event.end > event.start) {
        if (isBeginOfCellGroup_) start = text(event.start);
        if (!isBeginOfCellGroup_ && !isEndOfCellGroup_) start = text(event.start + (event.end - event.start) / 2);
        if (isEndOfCellGroup_) end = text(event.end);
    }
    updateCustomDraw(start, end);
}

void ScrubberTimelineCell::updateChildIcons(const ScrubberConfig& config, const ScrubberEvent::Fields& event) {
    const auto& known = config.eventTypeImages();
    const QImage fallback = eventTypeImageView() ? eventTypeImageView()->image() : QImage();
    const auto span = static_cast<double>(saturatingSubtract(event.end, event.start));
    std::vector<float> positions;
    std::vector<QImage> images;
    for (const auto& child : event.childs) {
        if (!child) continue;
        QImage image =
            known ? known->value(QString::fromStdString(child->name().value_or(std::string())).toLower()) : QImage();
        if (image.isNull()) image = fallback;
        if (image.isNull()) continue;
        const auto way = static_cast<double>(saturatingSubtract(child->timeAsValue(), event.start));
        positions.push_back(static_cast<float>(way / span));
        images.push_back(std::move(image));
    }
    containerView_->eventTypeLayer2()->setPositions(std::move(positions));
    containerView_->eventTypeLayer2()->setImages(std::move(images));
}

void ScrubberTimelineCell::updateCustomDraw(const AttributedString& startTime, const AttributedString& withEndTime) {
    if (!containerView_) return;
    containerView_->setScaleStartDateTimeAttrText(startTime);
    containerView_->setScaleEndDateTimeAttrText(withEndTime);
}

void ScrubberTimelineCell::updateCustomDraw() {
    if (!containerView_) return;
    containerView_->setIsNeedCustomDraw(isScale_ && !isSpacer(getEvent()));
    containerView_->setIsNeedFullCustomDraw(isScale_);
    containerView_->setCellRect({0, 0, width(), height()});
    containerView_->setIsNeedUpdateScale(true);
    containerView_->setIsNeedUpdateText(true);
    containerView_->setIsBeginOfGroup(isBeginOfCellGroup_);
    containerView_->setIsEndOfGroup(isEndOfCellGroup_);
    containerView_->updateScaleRect();
    containerView_->setNeedsDisplay();
    if (previewContainerView_) previewContainerView_->setVisible(!isScale_ && !isSpacer(getEvent()));
}

void ScrubberTimelineCell::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    PlayingCell::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size() && indexPath()) updateCustomDraw();
}

// The scale is drawn in whole device pixels, and reckoned with in the width that the layout gives its item.
double ScrubberTimelineCell::scaleWidth() const {
    if (!containerView_ || containerView_->scaleRect().width <= 0) return 0;
    return std::max(0.0, containerView_->scaleRect().width + itemSize().width - width());
}

double ScrubberTimelineCell::calculateOffsetFromPosition(TimeMs position) const {
    const auto event = getEvent();
    return event ? CellScale{event->start(), event->end(), scaleWidth()}.offsetOf(position) : 0;
}

TimeMs ScrubberTimelineCell::positionUnder(double offset) const {
    return getPositionFromOffset(std::min(offset, scaleWidth()));
}

void ScrubberTimelineCell::animateAdvance(double seconds, const std::function<void()>& body) {
    animateKeyframes(seconds, body);
}

bool ScrubberTimelineCell::hasBar() const {
    return owner() && owner()->getConfig().dataSourceType() == ScrubberDataSourceTypeEvents;
}

QString ScrubberTimelineCell::timeZone(const ScrubberConfig& config, const ScrubberEvent::Fields& /*event*/) const {
    return config.dateTimeZone();
}

void ScrubberTimelineCell::clean() {
    PlayingCell::clean();
    isBeginOfCellGroup_ = false;
    isEndOfCellGroup_ = false;
    if (!containerView_) return;
    containerView_->setEventDateTimeAttrText({});
    updateCustomDraw({}, {});
}

}  // namespace korvane
