#include "views/timeline/ScrubberCommon/ScrubberConfig.h"

#include "base/UtcTime.h"
#include "views/timeline/Utils/TimelineUtils.h"

namespace korvane {
namespace {

QColor hex(const QString& digits) {
    return TimelineUtils::colorFromHexString(digits, 1.0);
}

QFont systemFont(int size) {
    QFont font;
    font.setPixelSize(size);
    return font;
}

}  // namespace

void ScrubberConfig::resetToDefault() {
    scrubberApiPort_ = 443;
    scrubberApiProtocolType_ = ScrubberApiProtocolHttps;
    continuousEventPlaying_ = false;
    eventGrouping_ = false;
    controls_ = 0;
    dataSourceType_ = ScrubberDataSourceTypeEvents;
    backgroundColor_ = hex("#FFFFFF");
    backgroundCellColor_ = hex("#FFFFFF");
    scrubberCenterMarkColor_ = QColor(184, 36, 38);
    scrubberCenterMarkWidth_ = 3.0;
    eventTypeImages_.reset();
    eventTypeTintColor_ = hex("#000000");
    cellSeparatorWidth_ = 1.0;
    cellWidth_ = 134.35;
    dateTimeTextFont_ = systemFont(12);
    dateTimeTextColor_ = hex("#333333");
    dateTimeTextKerning_ = 0;
    dateTimeFormat_ = "hh:mma";
    dateTimeZone_ = QString::fromStdString(localTimeZoneName());
    liveViewTextFont_ = systemFont(14);
    liveViewTextColor_ = hex("#888888");
    liveViewTextKerning_ = 0;
}

ScrubberConfig ScrubberConfig::makeCopy(const ScrubberConfig* config) {
    ScrubberConfig copy;
    if (!config) return copy;
    const QString localZone = copy.dateTimeZone_;
    copy = *config;
    copy.dateTimeZone_ = localZone;
    return copy;
}

QString ScrubberConfig::getScrubberApiProtocolAsString() const {
    return scrubberApiProtocolType_ == ScrubberApiProtocolHttp ? QStringLiteral("http") : QStringLiteral("https");
}

void ScrubberConfig::setScrubberApiProtocolDefaults(std::int32_t protocolType) {
    if (protocolType != ScrubberApiProtocolHttp && protocolType != ScrubberApiProtocolHttps) return;
    scrubberApiProtocolType_ = protocolType;
    scrubberApiPort_ = protocolType == ScrubberApiProtocolHttp ? 80 : 443;
}

}  // namespace korvane
