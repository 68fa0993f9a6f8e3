#pragma once

#include <QMetaObject>
#include <QObject>

#include "korvane/apps/browser/Application.h"

namespace korvane {

/// Logs "filled" in the category korvane.startup when the first frame with filled cells is on screen: each cell in view
/// has its text and its picture. Costs nothing while the category is off, as it is without QT_LOGGING_RULES. Main
/// thread only; the application outlives it.
class StartupWatch : public QObject {
    Q_OBJECT

  public:
    explicit StartupWatch(Application& application);

  private:
    void look();
    void tell();

    Application& application_;
    bool isFilled_ = false;
};

}  // namespace korvane
