#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>

#include "korvane/apps/browser/Palette.h"

namespace korvane {

/// The palettes for QML, where Theme picks one.
class Palettes : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(korvane::Palette dark READ dark CONSTANT)
    Q_PROPERTY(korvane::Palette light READ light CONSTANT)

  public:
    using QObject::QObject;

    static Palette dark() { return Palette::dark(); }
    static Palette light() { return Palette::light(); }
};

}  // namespace korvane
