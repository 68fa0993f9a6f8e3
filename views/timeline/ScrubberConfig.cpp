#include "korvane/views/timeline/ScrubberConfig.h"

#include <QUrl>

#include "korvane/base/Log.h"
#include "korvane/base/UtcTime.h"
#include "korvane/views/timeline/Presentation/ItemLooks.h"
#include "korvane/views/timeline/Utils/TimelineUtils.h"

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

/// An image, or what a local address holds; null for anything else.
QImage imageOf(const QVariant& value) {
    if (value.metaType() == QMetaType::fromType<QImage>()) return value.value<QImage>();
    const QUrl url = value.toUrl();
    if (url.scheme() == u"qrc") return QImage(QLatin1Char(':') + url.path());
    return QImage(url.isLocalFile() ? url.toLocalFile() : value.toString());
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

QVariantMap ScrubberConfig::eventTypeImageMap() const {
    QVariantMap images;
    if (!eventTypeImages_) return images;
    for (auto icon = eventTypeImages_->begin(); icon != eventTypeImages_->end(); ++icon) {
        images.insert(icon.key(), icon.value());
    }
    return images;
}

void ScrubberConfig::setEventTypeImageMap(const QVariantMap& images) {
    QHash<QString, QImage> icons;
    for (auto image = images.begin(); image != images.end(); ++image) {
        const QImage icon = imageOf(image.value());
        if (icon.isNull()) {
            logError("ScrubberConfig", "eventTypeImages: no image for " + image.key().toStdString());
        } else {
            icons.insert(image.key().toLower(), icon);
        }
    }
    eventTypeImages_ = icons;
}

QHash<QString, QImage> ScrubberConfig::builtInEventTypeImages() {
    QHash<QString, QImage> images;
    for (const QString& name : {QStringLiteral("motion"), QStringLiteral("doorbell")}) {
        images.insert(name, builtInEventTypeImage(name));
    }
    return images;
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
