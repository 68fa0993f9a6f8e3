// The window's keys, and what the question before a deletion makes of them.
#include <gtest/gtest.h>

#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>

#include "korvane/apps/browser/Application.h"

namespace korvane {
namespace {

TEST(Keys, SwitchWhatTheButtonsSwitch) {
    qputenv("QT_MEDIA_BACKEND", "ffmpeg");
    Application application;
    Browser& browser = application.browser();
    QQuickWindow* const window = application.window();
    ASSERT_TRUE(window) << qPrintable(application.faults().join('\n'));
    window->setProperty("isImporting", false);
    QCoreApplication::processEvents();  // the window becomes the active one
    const auto state = [&] { return std::tuple(browser.groups(), browser.playsOn(), browser.showsRecordings()); };
    const auto before = state();
    for (const auto key : {Qt::Key_G, Qt::Key_O, Qt::Key_E}) {
        QTest::keyClick(window, key);
        EXPECT_NE(state(), before) << key;
        QTest::keyClick(window, key, Qt::ControlModifier);
        QTest::keyClick(window, key);
        EXPECT_EQ(state(), before) << key;
    }
    for (const auto key : {Qt::Key_Comma, Qt::Key_Question}) {
        QTest::keyClick(window, key);
        QTest::keyClick(window, Qt::Key_G);
        EXPECT_EQ(state(), before) << "a sheet takes all keys";
        QTest::keyClick(window, Qt::Key_Escape);
        QTest::keyClick(window, Qt::Key_G);
        EXPECT_NE(state(), before) << "and gives them back";
        QTest::keyClick(window, Qt::Key_G);
    }
    QTest::keyClick(window, Qt::Key_Comma);
    QTest::keyClick(window, Qt::Key_Space);
    EXPECT_TRUE(browser.groups()) << "the first switch has the focus";
    QTest::keyClick(window, Qt::Key_Escape);
    EXPECT_TRUE(application.faults().isEmpty()) << qPrintable(application.faults().join('\n'));
}

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

TEST(Question, DeletesByAPressOfItsOwnAlone) {
    qputenv("QT_MEDIA_BACKEND", "ffmpeg");
    const Application application;
    QQmlApplicationEngine engine;
    engine.addImportPath(QStringLiteral(":/"));
    engine.loadData(R"(
        import QtQuick
        import Korvane.Browser
        Window {
            property Question question: Question { title: "?"; subject: "it"; text: "!"; answer: "Delete" }
            width: 400; height: 400; visible: true
        })");
    ASSERT_EQ(engine.rootObjects().size(), 1);
    auto* const window = qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    auto* const question = window->property("question").value<QObject*>();
    QSignalSpy accepted(question, SIGNAL(accepted()));
    QSignalSpy closed(question, SIGNAL(closed()));
    int asked = 0;
    QCoreApplication::processEvents();
    for (const auto& [keys, isDeleted] : std::vector<std::pair<std::vector<Qt::Key>, bool>>{
             {{Qt::Key_Return}, false},
             {{Qt::Key_Enter}, false},
             {{Qt::Key_Space}, false},
             {{Qt::Key_Escape}, false},
             {{Qt::Key_Tab, Qt::Key_Return}, true},
             {{Qt::Key_Delete, Qt::Key_Return}, false},
             {{Qt::Key_Tab, Qt::Key_Space}, true},
             {{Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Return}, false},
         }) {
        const auto before = accepted.count();
        QMetaObject::invokeMethod(question, "open");
        for (const auto key : keys) QTest::keyClick(window, key);
        EXPECT_EQ(accepted.count() - before, isDeleted ? 1 : 0) << keys.size() << " " << keys.back();
        EXPECT_EQ(closed.count(), ++asked);
    }
}

}  // namespace
}  // namespace korvane
