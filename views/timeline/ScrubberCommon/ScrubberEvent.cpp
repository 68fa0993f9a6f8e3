#include "korvane/views/timeline/ScrubberCommon/ScrubberEvent.h"

#include <utility>

#include "korvane/base/UtcTime.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEventBounds.h"

namespace korvane {

ScrubberEvent::ScrubberEvent() {
    fields_.timezone = localTimeZoneName();
}

ScrubberEvent::ScrubberEvent(Fields fields) : fields_(std::move(fields)) {}

ScrubberEvent::ScrubberEvent(TimeMs timeAsValue, const std::string& name, const std::string& timezone) {
    fields_.name = name;
    fields_.timeAsValue = timeAsValue;
    fields_.timezone = timezone;
}

std::shared_ptr<ScrubberEvent> ScrubberEvent::build() {
    return std::make_shared<ScrubberEvent>();
}

std::shared_ptr<ScrubberEvent> ScrubberEvent::build(TimeMs time) {
    return build(0, time);
}

std::shared_ptr<ScrubberEvent> ScrubberEvent::build(std::optional<std::int64_t> identificator, TimeMs andTime) {
    auto event = build();
    event->fields_.identificator = identificator;
    if (andTime == -1) {
        event->fields_.type = ScrubberEventTypeLive;
    } else {
        event->fields_.type = ScrubberEventTypeItem;
        event->fields_.timeAsValue = andTime;
        event->fields_.time = formatUtc(andTime);
    }
    return event;
}

void ScrubberEvent::resetToDefault() {
    Fields fields;
    fields.timezone = localTimeZoneName();
    assign(std::move(fields));
}

ScrubberEvent::Fields ScrubberEvent::fields() const {
    const std::lock_guard guard(mutex_);
    return fields_;
}

void ScrubberEvent::assign(Fields fields) {
    // What is replaced goes away outside of the lock: it may hold the last reference to other entries.
    const std::lock_guard guard(mutex_);
    if (bounds_) bounds_->widen(fields.timeAsValue, fields.identificator);
    std::swap(fields_, fields);
}

std::int32_t ScrubberEvent::type() const {
    const std::lock_guard guard(mutex_);
    return fields_.type;
}

void ScrubberEvent::setType(std::int32_t type) {
    const std::lock_guard guard(mutex_);
    fields_.type = type;
}

std::optional<std::int64_t> ScrubberEvent::identificator() const {
    const std::lock_guard guard(mutex_);
    return fields_.identificator;
}

void ScrubberEvent::setIdentificator(std::optional<std::int64_t> identificator) {
    const std::lock_guard guard(mutex_);
    if (bounds_) bounds_->widen(fields_.timeAsValue, identificator);
    fields_.identificator = identificator;
}

std::optional<std::int64_t> ScrubberEvent::camid() const {
    const std::lock_guard guard(mutex_);
    return fields_.camid;
}

void ScrubberEvent::setCamid(std::optional<std::int64_t> camid) {
    const std::lock_guard guard(mutex_);
    fields_.camid = camid;
}

std::optional<std::string> ScrubberEvent::time() const {
    const std::lock_guard guard(mutex_);
    return fields_.time;
}

void ScrubberEvent::setTime(std::optional<std::string> time) {
    const std::lock_guard guard(mutex_);
    std::swap(fields_.time, time);
}

std::optional<std::string> ScrubberEvent::name() const {
    const std::lock_guard guard(mutex_);
    return fields_.name;
}

void ScrubberEvent::setName(std::optional<std::string> name) {
    const std::lock_guard guard(mutex_);
    std::swap(fields_.name, name);
}

std::optional<std::string> ScrubberEvent::imageUrl() const {
    const std::lock_guard guard(mutex_);
    return fields_.imageUrl;
}

void ScrubberEvent::setImageUrl(std::optional<std::string> imageUrl) {
    const std::lock_guard guard(mutex_);
    std::swap(fields_.imageUrl, imageUrl);
}

std::optional<std::string> ScrubberEvent::videoUrl() const {
    const std::lock_guard guard(mutex_);
    return fields_.videoUrl;
}

void ScrubberEvent::setVideoUrl(std::optional<std::string> videoUrl) {
    const std::lock_guard guard(mutex_);
    std::swap(fields_.videoUrl, videoUrl);
}

ScrubberEventSpan ScrubberEvent::span() const {
    const std::lock_guard guard(mutex_);
    return {fields_.type, fields_.timeAsValue, fields_.start, fields_.end};
}

TimeMs ScrubberEvent::start() const {
    const std::lock_guard guard(mutex_);
    return fields_.start;
}

void ScrubberEvent::setStart(TimeMs start) {
    const std::lock_guard guard(mutex_);
    fields_.start = start;
}

TimeMs ScrubberEvent::end() const {
    const std::lock_guard guard(mutex_);
    return fields_.end;
}

void ScrubberEvent::setEnd(TimeMs end) {
    const std::lock_guard guard(mutex_);
    fields_.end = end;
}

ScrubberEvent::ImageViewSlot ScrubberEvent::imageView() const {
    const std::lock_guard guard(mutex_);
    return fields_.imageView;
}

void ScrubberEvent::setImageView(ImageViewSlot imageView) {
    const std::lock_guard guard(mutex_);
    std::swap(fields_.imageView, imageView);
}

TimeMs ScrubberEvent::timeAsValue() const {
    const std::lock_guard guard(mutex_);
    return fields_.timeAsValue;
}

void ScrubberEvent::setTimeAsValue(TimeMs timeAsValue) {
    const std::lock_guard guard(mutex_);
    if (bounds_) bounds_->widen(timeAsValue, fields_.identificator);
    fields_.timeAsValue = timeAsValue;
}

std::string ScrubberEvent::timezone() const {
    const std::lock_guard guard(mutex_);
    return fields_.timezone;
}

void ScrubberEvent::setTimezone(std::string timezone) {
    const std::lock_guard guard(mutex_);
    std::swap(fields_.timezone, timezone);
}

std::shared_ptr<ScrubberEvent> ScrubberEvent::parent() const {
    const std::lock_guard guard(mutex_);
    return fields_.parent.lock();
}

void ScrubberEvent::setParent(const std::shared_ptr<ScrubberEvent>& parent) {
    const std::lock_guard guard(mutex_);
    fields_.parent = parent;
}

ScrubberEvent::Childs ScrubberEvent::childs() const {
    const std::lock_guard guard(mutex_);
    return fields_.childs;
}

void ScrubberEvent::setChilds(Childs childs) {
    const std::lock_guard guard(mutex_);
    std::swap(fields_.childs, childs);
}

std::size_t ScrubberEvent::childCount() const {
    const std::lock_guard guard(mutex_);
    return fields_.childs.size();
}

void ScrubberEvent::setBounds(std::shared_ptr<ScrubberEventBounds> bounds) {
    const std::lock_guard guard(mutex_);
    bounds_.swap(bounds);
    if (bounds_) bounds_->widen(fields_.timeAsValue, fields_.identificator);
}

}  // namespace korvane
