// Lends the widgets their service; all else of this host is Host.qml.
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>
#include <QTextStream>
#include <memory>

#include "korvane/client/http/HttpService.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/TimelineEnvironment.h"
#include "korvane/views/timeline/TimelineTypes.h"

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 2) {
        QTextStream(stderr) << "usage: korvane-example-qml TOKEN\n";
        return 2;
    }
    const auto toolkit = korvane::ToolkitContext::shared();
    const auto service = std::make_shared<korvane::HttpService>(*toolkit->scheduler);
    korvane::TimelineEnvironment::setShared({toolkit, service});
    korvane::registerTimelineTypes();

    int result = 1;
    {
        QQuickView window;
        window.engine()->addImportPath(":/");
        window.setInitialProperties({{"token", arguments[1]}});
        window.setResizeMode(QQuickView::SizeRootObjectToView);
        window.setSource(QUrl("qrc:/Host.qml"));
        if (window.status() == QQuickView::Ready) {
            window.show();
            result = QGuiApplication::exec();
        }
    }
    korvane::TimelineEnvironment::setShared({});
    return result;
}
