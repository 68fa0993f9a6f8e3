#include "korvane/views/timeline/ScrubberEventInfo.h"

#include <optional>
#include <string>

namespace korvane {
namespace {

QString text(const std::optional<std::string>& value) {
    return QString::fromStdString(value.value_or(std::string()));
}

}  // namespace

ScrubberEventInfo::ScrubberEventInfo(const std::shared_ptr<ScrubberEvent>& event) : valid(event != nullptr) {
    if (!event) return;
    const ScrubberEvent::Fields fields = event->fields();
    type = fields.type;
    identificator = fields.identificator.value_or(0);
    camid = fields.camid.value_or(0);
    time = text(fields.time);
    name = text(fields.name);
    imageUrl = text(fields.imageUrl);
    videoUrl = text(fields.videoUrl);
    start = fields.start;
    end = fields.end;
    timeAsValue = fields.timeAsValue;
    timezone = QString::fromStdString(fields.timezone);
    childCount = static_cast<int>(fields.childs.size());
}

}  // namespace korvane
