#pragma once

#include <QCoreApplication>
#include <QObject>

namespace korvane {

/// For owners that may let an object go from within one of its own callbacks.
struct DeleteLater {
    void operator()(QObject* object) const {
        if (QCoreApplication::instance()) {
            object->deleteLater();
        } else {
            delete object;
        }
    }
};

}  // namespace korvane
