#pragma once

#include <QColor>
#include <QFont>
#include <QHash>
#include <QImage>
#include <QMetaType>
#include <QString>
#include <QVariantMap>
#include <cstdint>
#include <optional>

#include "korvane/views/timeline/ScrubberCommon/ScrubberEventType.h"

namespace korvane {

/// Settings of both scrubber views. A plain value without checks; colours, fonts and images are shared by copies. A
/// view acts on a change with its applyConfig().
class ScrubberConfig {
    Q_GADGET
    Q_PROPERTY(std::int32_t scrubberApiPort READ getScrubberApiPort WRITE setScrubberApiPort)
    Q_PROPERTY(std::int32_t scrubberApiProtocolType READ getScrubberApiProtocolType WRITE setScrubberApiProtocolType)
    Q_PROPERTY(bool continuousEventPlaying READ continuousEventPlaying WRITE setContinuousEventPlaying)
    Q_PROPERTY(bool eventGrouping READ eventGrouping WRITE setEventGrouping)
    Q_PROPERTY(std::int32_t controls READ controls WRITE setControls)
    Q_PROPERTY(std::int32_t dataSourceType READ dataSourceType WRITE setDataSourceType)
    Q_PROPERTY(QColor backgroundColor READ backgroundColor WRITE setBackgroundColor)
    Q_PROPERTY(QColor backgroundCellColor READ backgroundCellColor WRITE setBackgroundCellColor)
    Q_PROPERTY(QColor scrubberCenterMarkColor READ scrubberCenterMarkColor WRITE setScrubberCenterMarkColor)
    Q_PROPERTY(double scrubberCenterMarkWidth READ scrubberCenterMarkWidth WRITE setScrubberCenterMarkWidth)
    /// For QML: icons, or the addresses of icons in resources and local files, by event name in any case. What cannot
    /// be read is left out, with a log line. Absent again with `undefined`.
    Q_PROPERTY(QVariantMap eventTypeImages READ eventTypeImageMap WRITE setEventTypeImageMap RESET resetEventTypeImages)
    Q_PROPERTY(QColor eventTypeTintColor READ eventTypeTintColor WRITE setEventTypeTintColor)
    Q_PROPERTY(double cellSeparatorWidth READ cellSeparatorWidth WRITE setCellSeparatorWidth)
    Q_PROPERTY(double cellWidth READ cellWidth WRITE setCellWidth)
    Q_PROPERTY(QFont dateTimeTextFont READ dateTimeTextFont WRITE setDateTimeTextFont)
    Q_PROPERTY(QColor dateTimeTextColor READ dateTimeTextColor WRITE setDateTimeTextColor)
    Q_PROPERTY(double dateTimeTextKerning READ dateTimeTextKerning WRITE setDateTimeTextKerning)
    Q_PROPERTY(QString dateTimeFormat READ dateTimeFormat WRITE setDateTimeFormat)
    Q_PROPERTY(QString dateTimeZone READ dateTimeZone WRITE setDateTimeZone)
    Q_PROPERTY(QFont liveViewTextFont READ liveViewTextFont WRITE setLiveViewTextFont)
    Q_PROPERTY(QColor liveViewTextColor READ liveViewTextColor WRITE setLiveViewTextColor)
    Q_PROPERTY(double liveViewTextKerning READ liveViewTextKerning WRITE setLiveViewTextKerning)

  public:
    using EventTypeImages = std::optional<QHash<QString, QImage>>;

    ScrubberConfig() { resetToDefault(); }

    void resetToDefault();

    /// A new record with the values of `config`, or with the defaults for null. The time zone is not taken over: the
    /// copy has the device's own.
    static ScrubberConfig makeCopy(const ScrubberConfig* config);

    /// The library's own icons by event name, for a host that adds to them. Main thread.
    static QHash<QString, QImage> builtInEventTypeImages();

    /// "http" for ScrubberApiProtocolHttp, "https" for every other value.
    QString getScrubberApiProtocolAsString() const;

    /// Sets a known protocol together with its usual port, 80 or 443; an unknown one changes nothing.
    void setScrubberApiProtocolDefaults(std::int32_t protocolType);

    /// Default port of the service.
    std::int32_t getScrubberApiPort() const { return scrubberApiPort_; }
    void setScrubberApiPort(std::int32_t scrubberApiPort) { scrubberApiPort_ = scrubberApiPort; }
    /// A ScrubberApiProtocol.
    std::int32_t getScrubberApiProtocolType() const { return scrubberApiProtocolType_; }
    void setScrubberApiProtocolType(std::int32_t scrubberApiProtocolType) {
        scrubberApiProtocolType_ = scrubberApiProtocolType;
    }
    /// The next event follows when one has played to its end and the host answers 1.
    bool continuousEventPlaying() const { return continuousEventPlaying_; }
    void setContinuousEventPlaying(bool continuousEventPlaying) { continuousEventPlaying_ = continuousEventPlaying; }
    /// Events within 10 s of each other share a cell. Takes effect with the next source, or at once by
    /// enableEventGrouping() of the view.
    bool eventGrouping() const { return eventGrouping_; }
    void setEventGrouping(bool eventGrouping) { eventGrouping_ = eventGrouping; }
    /// Kept for hosts; no view reads it.
    std::int32_t controls() const { return controls_; }
    void setControls(std::int32_t controls) { controls_ = controls; }
    /// A ScrubberDataSourceType. Takes effect with the next source.
    std::int32_t dataSourceType() const { return dataSourceType_; }
    void setDataSourceType(std::int32_t dataSourceType) { dataSourceType_ = dataSourceType; }
    /// Behind the strip.
    const QColor& backgroundColor() const { return backgroundColor_; }
    void setBackgroundColor(const QColor& backgroundColor) { backgroundColor_ = backgroundColor; }
    /// Behind all parts of a cell.
    const QColor& backgroundCellColor() const { return backgroundCellColor_; }
    void setBackgroundCellColor(const QColor& backgroundCellColor) { backgroundCellColor_ = backgroundCellColor; }
    const QColor& scrubberCenterMarkColor() const { return scrubberCenterMarkColor_; }
    void setScrubberCenterMarkColor(const QColor& scrubberCenterMarkColor) {
        scrubberCenterMarkColor_ = scrubberCenterMarkColor;
    }
    /// Device pixels, not points.
    double scrubberCenterMarkWidth() const { return scrubberCenterMarkWidth_; }
    void setScrubberCenterMarkWidth(double scrubberCenterMarkWidth) {
        scrubberCenterMarkWidth_ = scrubberCenterMarkWidth;
    }
    /// Icon by lower-case event name; absent means the built-in icons.
    const EventTypeImages& eventTypeImages() const { return eventTypeImages_; }
    void setEventTypeImages(const EventTypeImages& eventTypeImages) { eventTypeImages_ = eventTypeImages; }
    void resetEventTypeImages() { eventTypeImages_.reset(); }
    QVariantMap eventTypeImageMap() const;
    void setEventTypeImageMap(const QVariantMap& images);
    /// Colour of the icon.
    const QColor& eventTypeTintColor() const { return eventTypeTintColor_; }
    void setEventTypeTintColor(const QColor& eventTypeTintColor) { eventTypeTintColor_ = eventTypeTintColor; }
    /// Least space between cells, points.
    double cellSeparatorWidth() const { return cellSeparatorWidth_; }
    void setCellSeparatorWidth(double cellSeparatorWidth) { cellSeparatorWidth_ = cellSeparatorWidth; }
    /// Points.
    double cellWidth() const { return cellWidth_; }
    void setCellWidth(double cellWidth) { cellWidth_ = cellWidth; }
    const QFont& dateTimeTextFont() const { return dateTimeTextFont_; }
    void setDateTimeTextFont(const QFont& dateTimeTextFont) { dateTimeTextFont_ = dateTimeTextFont; }
    const QColor& dateTimeTextColor() const { return dateTimeTextColor_; }
    void setDateTimeTextColor(const QColor& dateTimeTextColor) { dateTimeTextColor_ = dateTimeTextColor; }
    /// Points between characters.
    double dateTimeTextKerning() const { return dateTimeTextKerning_; }
    void setDateTimeTextKerning(double dateTimeTextKerning) { dateTimeTextKerning_ = dateTimeTextKerning; }
    /// A Unicode TS 35 date pattern.
    const QString& dateTimeFormat() const { return dateTimeFormat_; }
    void setDateTimeFormat(const QString& dateTimeFormat) { dateTimeFormat_ = dateTimeFormat; }
    /// The device's own zone by default. ScrubberView shows each event in its own zone.
    const QString& dateTimeZone() const { return dateTimeZone_; }
    void setDateTimeZone(const QString& dateTimeZone) { dateTimeZone_ = dateTimeZone; }
    const QFont& liveViewTextFont() const { return liveViewTextFont_; }
    void setLiveViewTextFont(const QFont& liveViewTextFont) { liveViewTextFont_ = liveViewTextFont; }
    const QColor& liveViewTextColor() const { return liveViewTextColor_; }
    void setLiveViewTextColor(const QColor& liveViewTextColor) { liveViewTextColor_ = liveViewTextColor; }
    /// Points between characters.
    double liveViewTextKerning() const { return liveViewTextKerning_; }
    void setLiveViewTextKerning(double liveViewTextKerning) { liveViewTextKerning_ = liveViewTextKerning; }

    bool operator==(const ScrubberConfig&) const = default;

  private:
    std::int32_t scrubberApiPort_ = 443;
    std::int32_t scrubberApiProtocolType_ = ScrubberApiProtocolHttps;
    bool continuousEventPlaying_ = false;
    bool eventGrouping_ = false;
    std::int32_t controls_ = 0;
    std::int32_t dataSourceType_ = ScrubberDataSourceTypeEvents;
    QColor backgroundColor_;
    QColor backgroundCellColor_;
    QColor scrubberCenterMarkColor_;
    double scrubberCenterMarkWidth_ = 3.0;
    EventTypeImages eventTypeImages_;
    QColor eventTypeTintColor_;
    double cellSeparatorWidth_ = 1.0;
    double cellWidth_ = 134.35;
    QFont dateTimeTextFont_;
    QColor dateTimeTextColor_;
    double dateTimeTextKerning_ = 0;
    QString dateTimeFormat_;
    QString dateTimeZone_;
    QFont liveViewTextFont_;
    QColor liveViewTextColor_;
    double liveViewTextKerning_ = 0;
};

}  // namespace korvane

Q_DECLARE_METATYPE(korvane::ScrubberConfig)
