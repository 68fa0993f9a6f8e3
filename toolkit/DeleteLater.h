#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

namespace korvane {

/// For owners that may let an object go from within one of its own callbacks. What is let go after the last turn of the
/// event loop goes with the application object.
struct DeleteLater {
    void operator()(QObject* object) const {
        if (!QCoreApplication::instance()) {
            delete object;
            return;
        }
        object->deleteLater();
        static bool isFlushedAtEnd = false;
        if (isFlushedAtEnd) return;
        isFlushedAtEnd = true;
        qAddPostRoutine([] {
            isFlushedAtEnd = false;
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        });
    }
};

}  // namespace korvane
