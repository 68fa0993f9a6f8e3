// A window with an event strip, hosted from C++.
#include <QGuiApplication>
#include <QQuickWindow>
#include <QShortcut>
#include <QTextStream>
#include <memory>

#include "korvane/client/http/HttpService.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/ScrubberView.h"

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 2) {
        QTextStream(stderr) << "usage: korvane-example-cpp TOKEN\n";
        return 2;
    }

    // What the widgets are given; it outlives them.
    const auto toolkit = korvane::ToolkitContext::shared();
    const auto service = std::make_shared<korvane::HttpService>(*toolkit->scheduler);

    QQuickWindow window;
    window.resize(900, 130);
    korvane::ScrubberView strip({toolkit, service}, {}, window.contentItem());

    const auto host = std::make_shared<korvane::ScrubberViewDelegate>();
    host->OnScrubberDidSelectEvent = [](const std::shared_ptr<korvane::ScrubberEvent>& event) {
        if (event)
            QTextStream(stdout) << "selected: " << QString::fromStdString(event->time().value_or("")) << Qt::endl;
    };
    host->OnScrubberStateChangedFrom = [](std::int32_t from, std::int32_t toState, std::int32_t withStatus) {
        QTextStream(stdout) << "state " << from << " to " << toState << ", status " << withStatus << Qt::endl;
    };
    strip.setDelegate(host);
    strip.getConfig().setScrubberApiProtocolDefaults(korvane::ScrubberApiProtocolHttps);
    strip.applyConfig();

    const auto onKey = [&](Qt::Key key, auto action) {
        QObject::connect(new QShortcut(key, &window), &QShortcut::activated, &strip, action);
    };
    onKey(Qt::Key_Home, &korvane::ScrubberView::toFirstEvent);
    onKey(Qt::Key_Left, &korvane::ScrubberView::toPreviousEvent);
    onKey(Qt::Key_Right, &korvane::ScrubberView::toNextEvent);
    onKey(Qt::Key_End, &korvane::ScrubberView::toLastEvent);
    onKey(Qt::Key_Delete, [&strip] {
        strip.deleteEvent(strip.getCurrentEvent(), [](std::int32_t, const std::string& message) {
            QTextStream(stdout) << "deleted: " << QString::fromStdString(message) << Qt::endl;
        });
    });

    if (const int status = strip.setSource(arguments[1]); status != 0) {
        QTextStream(stderr) << "the token was refused with status " << status << Qt::endl;
        return 1;
    }
    window.show();
    return QGuiApplication::exec();
}
