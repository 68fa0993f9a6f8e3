#include "korvane/views/timeline/Binding/SpokenPlace.h"

#include <QStringList>
#include <QVariant>

namespace korvane {
namespace {

void set(QQuickItem& root, const char* name, const QVariant& value) {
    if (root.property(name).isValid()) root.setProperty(name, value);
}

}  // namespace

void SpokenPlace::tell(const Place& place) {
    if (!root_) return;
    QStringList words(place.isRecorded ? QStringLiteral("recorded") : QStringLiteral("not recorded"));
    if (!place.event.isEmpty()) words << QStringLiteral("nearest event: ") + place.event;
    set(*root_, "maximumValue", static_cast<double>(place.last));
    set(*root_, "value", static_cast<double>(place.index));
    set(*root_, "spokenTime", place.isLive ? QStringLiteral("Live view") : place.time);
    set(*root_, "spokenDetails", place.isLive ? QString() : words.join(QStringLiteral(", ")));
}

}  // namespace korvane
