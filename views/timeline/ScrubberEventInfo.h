#pragma once

#include <QObject>
#include <QString>
#include <memory>

#include "korvane/views/timeline/ScrubberCommon/ScrubberEvent.h"

namespace korvane {

/// An entry as QML hosts see it: its fields at the moment of a signal. `valid` is false when there was no entry.
struct ScrubberEventInfo {
    Q_GADGET
    Q_PROPERTY(bool valid MEMBER valid)
    Q_PROPERTY(int type MEMBER type)
    Q_PROPERTY(qint64 identificator MEMBER identificator)
    Q_PROPERTY(qint64 camid MEMBER camid)
    Q_PROPERTY(QString time MEMBER time)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString imageUrl MEMBER imageUrl)
    Q_PROPERTY(QString videoUrl MEMBER videoUrl)
    Q_PROPERTY(qint64 start MEMBER start)
    Q_PROPERTY(qint64 end MEMBER end)
    Q_PROPERTY(qint64 timeAsValue MEMBER timeAsValue)
    Q_PROPERTY(QString timezone MEMBER timezone)
    Q_PROPERTY(int childCount MEMBER childCount)

  public:
    ScrubberEventInfo() = default;
    explicit ScrubberEventInfo(const std::shared_ptr<ScrubberEvent>& event);

    bool operator==(const ScrubberEventInfo&) const = default;

    bool valid = false;
    int type = ScrubberEventTypePending;
    qint64 identificator = 0;
    qint64 camid = 0;
    QString time;
    QString name;
    QString imageUrl;
    QString videoUrl;
    qint64 start = 0;
    qint64 end = 0;
    qint64 timeAsValue = -1;
    QString timezone;
    int childCount = 0;
};

}  // namespace korvane

Q_DECLARE_METATYPE(korvane::ScrubberEventInfo)
