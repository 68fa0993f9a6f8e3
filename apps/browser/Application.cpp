#include "korvane/apps/browser/Application.h"

#include <QQmlApplicationEngine>
#include <QQuickWindow>
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

QString nameOf(const std::filesystem::path& folder) {
    const auto plain = folder.has_filename() ? folder : folder.parent_path();
    return shown(plain.filename().string());
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
        const std::filesystem::path path = folder.toStdString();
        const std::string fault = folderFault(path);
        if (fault.empty()) return importFootage(path);
        importModel_->setFault(shown(fault));
    }));
}

void Application::importFootage(const std::filesystem::path& folder, FootageService::Handlers handlers) {
    browser_->close();
    footage_.reset();
    rejected_.clear();
    std::error_code code;
    const auto path = std::filesystem::absolute(folder, code).lexically_normal();
    preferences_->addRecentFolder(QString::fromStdString(path.string()));
    importModel_->setFolder(nameOf(path), preferences_->recentFolders());
    setImporting(true);
    const auto both = [](auto own, auto other) {
        return [own = std::move(own), other = std::move(other)](const auto& what) {
            own(what);
            if (other) other(what);
        };
    };
    FootageService::Handlers all;
    all.progress = both([this](const auto& progress) { importModel_->setProgress(progress); }, handlers.progress);
    all.started = both([this](const auto& started) { openFootage(started); }, handlers.started);
    all.looked = both([this](const auto& look) { takeLook(look); }, handlers.looked);
    all.failed = both([this](const auto& reason) { importModel_->setFault(shown(reason)); }, handlers.failed);
    footage_ = std::make_unique<FootageService>(*toolkit_->scheduler, std::move(all));
    footage_->start(folder);
}

void Application::openFootage(const FootageService::Started& started) {
    setImporting(false);
    browser_->open(QString::fromStdString(started.token), shown(started.cameraName));
}

void Application::takeLook(const FootageService::Look& look) {
    browser_->setFolderFault(shown(look.fault));
    if (look.hasNews) browser_->renewFootage();
    if (!look.fault.empty()) return;
    QStringList rejected;
    QStringList isNew;
    for (const auto& [file, reason] : look.rejected) {
        rejected << shown(file + ": " + reason);
        if (!rejected_.contains(rejected.last())) isNew << rejected.last();
    }
    rejected_ = rejected;
    if (!isNew.isEmpty()) browser_->setRejected(isNew);
}

void Application::openToken(const std::string& token) {
    setImporting(false);
    browser_->open(QString::fromStdString(token), {});
}

void Application::setImporting(bool isImporting) {
    if (window_) window_->setProperty("isImporting", isImporting);
}

}  // namespace korvane
