#include <gtest/gtest.h>

#include <QEvent>
#include <QGuiApplication>
#include <cstdlib>

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("QT_QUICK_BACKEND", "software", 1);
    setenv("QML_NO_TOUCH_COMPRESSION", "1", 1);
    testing::InitGoogleTest(&argc, argv);
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("korvane-tests"));
    const int result = RUN_ALL_TESTS();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return result;
}
