// The window's keys, and what the question before a deletion makes of them.
#include <gtest/gtest.h>

#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include "korvane/apps/browser/Application.h"

namespace korvane {
namespace {

TEST(Keys, GoFromButtonToButtonAsTheEyeDoes) {
    qputenv("QT_MEDIA_BACKEND", "ffmpeg");
    Application application;
    QQuickWindow* const window = application.window();
    ASSERT_TRUE(window);
    window->setProperty("isImporting", false);
    QCoreApplication::processEvents();
    for (const QSize size : {QSize(1280, 800), QSize(390, 844)}) {
        window->resize(size);
        QTest::keyClick(window, Qt::Key_Escape);
        QPointF last;
        for (int step = 0; step < 40; ++step) {
            QTest::keyClick(window, Qt::Key_Tab);
            const QQuickItem* const item = window->activeFocusItem();
            ASSERT_TRUE(item);
            const QPointF at = item->mapToScene({item->width() / 2, item->height() / 2});
            if (step > 0 && at.y() < last.y() - 1) break;  // around
            const bool isOn = at.y() > last.y() + 20 || (std::abs(at.y() - last.y()) < 20 && at.x() > last.x());
            EXPECT_TRUE(step == 0 || isOn) << step << " " << at.x() << " " << at.y() << " in " << size.width();
            EXPECT_TRUE(item->property("visualFocus").toBool());
            last = at;
        }
    }
}

}  // namespace
}  // namespace korvane
