#include <QCoreApplication>
#include <QFont>
#include <QGuiApplication>
#include <QImageReader>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "korvane/apps/browser/Application.h"
#include "korvane/apps/browser/BrowserCommandLine.h"
#include "korvane/apps/browser/LogRedaction.h"
#include "korvane/apps/browser/tour/StartupWatch.h"
#include "korvane/apps/browser/tour/Tour.h"
#include "korvane/base/Printable.h"

namespace {

constexpr int exitWrongUse = 2;

void setDefault(const char* variable, const QByteArray& value) {
    if (!qEnvironmentVariableIsSet(variable)) qputenv(variable, value);
}

bool hasDisplay() {
    return qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

int runWindow(korvane::Application& application, const korvane::BrowserArguments& arguments) {
    if (arguments.folder) {
        korvane::FootageService::Handlers told;
        told.failed = [](const std::string& reason) {
            std::fprintf(stderr, "korvane-browser: %s\n", korvane::printable(reason).c_str());
        };
        application.importFootage(*arguments.folder, std::move(told));
    } else if (!arguments.token.empty()) {
        application.openToken(arguments.token);
    }
    const int ended = QCoreApplication::exec();
    const bool isEmpty = arguments.folder && application.browser().cameraName().isEmpty();
    return ended == 0 && isEmpty ? exitWrongUse : ended;
}

int run(const korvane::BrowserArguments& arguments) {
    // The tour shows the application as it comes, and leaves what the person has chosen alone.
    korvane::Application application(arguments.capture ? QString() : korvane::Preferences::usualFile());
    if (!application.window()) {
        std::fprintf(stderr, "korvane-browser: the interface cannot be shown\n");
        return 1;
    }
    if (arguments.size) application.window()->resize(arguments.size->first, arguments.size->second);
    if (!arguments.capture) {
        const korvane::StartupWatch watch(application);
        return runWindow(application, arguments);
    }
    korvane::Tour::Options options;
    options.pictures = *arguments.capture;
    options.mayDelete = arguments.mayDelete;
    options.isResizing = !arguments.size;
    if (arguments.folder) options.folder = *arguments.folder;
    options.token = arguments.token;
    return korvane::Tour(application, options).run();
}

}  // namespace

int main(int argc, char** argv) {
    auto line = korvane::readBrowserCommandLine(std::vector<std::string>(argv + 1, argv + argc),
                                                qEnvironmentVariable("KORVANE_TOKEN").trimmed().toStdString());
    if (!line.error.empty()) {
        std::fprintf(stderr, "korvane-browser: %s\n\n%s", korvane::printable(line.error).c_str(),
                     korvane::browserUsage().c_str());
        return exitWrongUse;
    }
    if (line.arguments.help) {
        std::printf("%s", korvane::browserUsage().c_str());
        return 0;
    }
    // Arguments can be seen by other users of the machine.
    if (line.arguments.token == "-") std::getline(std::cin, line.arguments.token);
    // Whoever has started it from a menu sees no standard error, and the window tells the same.
    const bool isToldHere = line.arguments.folder && line.arguments.capture;
    const std::string fault = isToldHere ? korvane::folderFault(*line.arguments.folder) : std::string();
    if (!fault.empty()) {
        std::fprintf(stderr, "korvane-browser: %s\n", korvane::printable(fault).c_str());
        return exitWrongUse;
    }
    if (!line.arguments.capture && !hasDisplay()) {
        std::fprintf(stderr, "korvane-browser: there is no display; --capture DIR takes pictures without one\n");
        return 1;
    }

    korvane::redactToolkitMessages();
    if (line.arguments.capture) {
        setDefault("QT_QPA_PLATFORM", "offscreen");
        setDefault("QT_QUICK_BACKEND", "software");
    }
    const QTemporaryDir runtime;
    setDefault("XDG_RUNTIME_DIR", runtime.path().toLocal8Bit());

    // The arguments were read above; Qt gets none of them, so that it takes none for an option of its own.
    int count = 1;
    QGuiApplication application(count, argv);
    // In MiB. No picture of ours comes near it.
    QImageReader::setAllocationLimit(64);
    QCoreApplication::setApplicationName(QStringLiteral("korvane-browser"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Korvane"));
    QGuiApplication::setDesktopFileName(QStringLiteral("korvane-browser"));
    return run(line.arguments);
}
