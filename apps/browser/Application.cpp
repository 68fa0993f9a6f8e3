#include "korvane/apps/browser/Application.h"

#include <QDir>
#include <QFileInfo>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QSet>
#include <QVariantMap>
#include <system_error>

#include "korvane/apps/browser/BrowserCommandLine.h"
#include "korvane/base/Printable.h"
#include "korvane/client/http/HttpService.h"
#include "korvane/views/timeline/TimelineEnvironment.h"
#include "korvane/views/timeline/TimelineTypes.h"

// The registration that the build generates for the module.
void qml_register_types_Korvane_Browser();

namespace korvane {

namespace {

/// File names come from anywhere, and the window would obey them.
QString shown(const std::string& text) {
    return QString::fromStdString(printable(text));
}

void registerTypes() {
    static const bool once = [] {
        registerTimelineTypes();
        qml_register_types_Korvane_Browser();
        return true;
    }();
    static_cast<void>(once);
}

}  // namespace

Application::Application(const QString& preferencesFile)
    : toolkit_(ToolkitContext::shared()),
      service_(std::make_shared<HttpService>(*toolkit_->scheduler)),
      importModel_(std::make_unique<ImportModel>()),
      preferences_(std::make_unique<Preferences>(preferencesFile)),
      browser_(std::make_unique<Browser>(*toolkit_->scheduler, *service_)) {
    registerTypes();
    TimelineEnvironment::setShared({toolkit_, service_});
    keepPreferences();
    importModel_->setFolder({}, preferences_->recentFolders());
    QObject::connect(importModel_.get(), &ImportModel::chosen, browser_.get(),
                     [this](const QString& chosen) { chooseFolder(chosen); });
    makeWindow();
    setImporting(true);
}

void Application::keepPreferences() {
    Preferences* const kept = preferences_.get();
    Browser* const browser = browser_.get();
    browser->setGroups(kept->groups());
    browser->setPlaysOn(kept->playsOn());
    browser->setShowsRecordings(kept->showsRecordings());
    browser->player()->setMuted(kept->isMuted());
    applyLook();
    QObject::connect(browser, &Browser::switchesChanged, kept, [kept, browser] {
        kept->setGroups(browser->groups());
        kept->setPlaysOn(browser->playsOn());
        kept->setShowsRecordings(browser->showsRecordings());
    });
    QObject::connect(browser->player(), &RecordingPlayer::mutedChanged, kept,
                     [kept, browser] { kept->setMuted(browser->player()->isMuted()); });
    QObject::connect(kept, &Preferences::changed, browser, [this] { applyLook(); });
}

void Application::applyLook() {
    browser_->setPalette(preferences_->palette());
    browser_->setClockStyle(ClockStyle(preferences_->hasTwelveHours()));
}

Application::~Application() {
    engine_.reset();
    browser_.reset();
    footage_.reset();
    TimelineEnvironment::setShared({});
}

void Application::makeWindow() {
    engine_ = std::make_unique<QQmlApplicationEngine>();
    engine_->addImportPath(QStringLiteral(":/"));
    QObject::connect(engine_.get(), &QQmlEngine::warnings, engine_.get(), [this](const QList<QQmlError>& warnings) {
        for (const QQmlError& warning : warnings) faults_ << warning.toString();
    });
    engine_->setInitialProperties({{QStringLiteral("browser"), QVariant::fromValue(browser_.get())},
                                   {QStringLiteral("preferences"), QVariant::fromValue(preferences_.get())},
                                   {QStringLiteral("importModel"), QVariant::fromValue(importModel_.get())}});
    engine_->load(QUrl(QStringLiteral("qrc:/Korvane/Browser/qml/Main.qml")));
    const auto roots = engine_->rootObjects();
    window_ = roots.isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(roots.first());
}

// Posted, since the page that has asked goes away.
void Application::chooseFolder(const QString& folder) {
    toolkit_->scheduler->post(life_.guard([this, folder] {
        // Of a film that was dropped, the folder that holds it.
        const QFileInfo file(folder);
        const std::filesystem::path path = (file.isFile() ? file.path() : folder).toStdString();
        const QString fault = shown(folderFault(path));
        if (fault.isEmpty()) return importFootage(path);
        const bool isImporting = window_ && window_->property("isImporting").toBool();
        const bool isUnderWay = !importModel_->folder().isEmpty() && importModel_->fault().isEmpty();
        if (!isImporting)
            browser_->warn(fault);
        else if (!isUnderWay)
            importModel_->setFault(fault);
    }));
}

void Application::importFootage(const std::filesystem::path& folder, FootageService::Handlers handlers) {
    std::error_code code;
    const auto path = std::filesystem::absolute(folder, code).lexically_normal();
    folder_ = QDir::cleanPath(QString::fromStdString(path.string()));
    showImport();
    footage_.reset();
    rejected_.clear();
    const auto both = [](auto own, auto other) {
        return [own = std::move(own), other = std::move(other)](const auto&... what) {
            own(what...);
            if (other) other(what...);
        };
    };
    FootageService::Handlers all;
    all.progress = both([this](const auto& progress) { importModel_->setProgress(progress); }, handlers.progress);
    all.started = both([this](const auto& started) { openFootage(started); }, handlers.started);
    all.stopped = both([this] { showImport(); }, handlers.stopped);
    all.looked = both([this](const auto& look) { takeLook(look); }, handlers.looked);
    all.failed = both([this](const auto& reason) { importModel_->setFault(shown(reason)); }, handlers.failed);
    footage_ = std::make_unique<FootageService>(*toolkit_->scheduler, std::move(all));
    footage_->start(path);
}

void Application::showImport() {
    setImporting(true);
    browser_->close();
    importModel_->setFolder(shown(QFileInfo(folder_).fileName().toStdString()), preferences_->recentFolders());
}

void Application::openFootage(const FootageService::Started& started) {
    preferences_->addRecentFolder(folder_);
    setImporting(false);
    browser_->open(QString::fromStdString(started.token), shown(started.cameraName));
}

void Application::takeLook(const FootageService::Look& look) {
    browser_->setFolderFault(shown(look.fault));
    if (look.hasNews) browser_->renewFootage();
    if (!look.fault.empty()) return;
    // What was put away stays away.
    const QSet<QString> known(rejected_.begin(), rejected_.end());
    const QStringList before = browser_->rejected();
    rejected_.clear();
    QStringList lines;
    for (const auto& [file, reason] : look.rejected) {
        rejected_ << shown(file + ": " + reason);
        if (!known.contains(rejected_.last()) || before.contains(rejected_.last())) lines << rejected_.last();
    }
    browser_->setRejected(lines);
}

void Application::openToken(const std::string& token) {
    setImporting(false);
    browser_->open(QString::fromStdString(token), {});
}

void Application::setImporting(bool isImporting) {
    if (window_) window_->setProperty("isImporting", isImporting);
}

}  // namespace korvane
