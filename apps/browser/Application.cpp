#include "korvane/apps/browser/Application.h"

#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QVariantMap>

#include "korvane/client/http/HttpService.h"
#include "korvane/views/timeline/TimelineEnvironment.h"
#include "korvane/views/timeline/TimelineTypes.h"

// The registration that the build generates for the module.
void qml_register_types_Korvane_Browser();

namespace korvane {

namespace {

QString nameOf(const std::filesystem::path& folder) {
    const auto plain = folder.has_filename() ? folder : folder.parent_path();
    return QString::fromStdString(plain.filename().string());
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

Application::Application(const std::filesystem::path& folder, const QString& preferencesFile)
    : folder_(folder),
      toolkit_(ToolkitContext::shared()),
      service_(std::make_shared<HttpService>(*toolkit_->scheduler)),
      importModel_(std::make_unique<ImportModel>(nameOf(folder))),
      preferences_(std::make_unique<Preferences>(preferencesFile)),
      browser_(std::make_unique<Browser>(*toolkit_->scheduler, *service_)) {
    registerTypes();
    TimelineEnvironment::setShared({toolkit_, service_});
    keepPreferences();
    makeWindow();
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

void Application::importFootage(FootageService::Handlers handlers) {
    setImporting(true);
    auto shown = [this, progress = std::move(handlers.progress)](const FootageService::Progress& what) {
        importModel_->setProgress(what);
        if (progress) progress(what);
    };
    auto started = [then = std::move(handlers.started)](const FootageService::Started& what) {
        if (then) then(what);
    };
    auto failed = [then = std::move(handlers.failed)](const std::string& reason) {
        if (then) then(reason);
    };
    footage_ = std::make_unique<FootageService>(
        *toolkit_->scheduler, FootageService::Handlers{std::move(shown), std::move(started), std::move(failed)});
    footage_->start(folder_);
}

void Application::openFootage(const FootageService::Started& started) {
    QStringList rejected;
    for (const auto& [file, reason] : started.rejected) rejected << QString::fromStdString(file + ": " + reason);
    browser_->setRejected(rejected);
    setImporting(false);
    browser_->open(QString::fromStdString(started.token), QString::fromStdString(started.cameraName));
}

void Application::showFault(const std::string& reason) {
    importModel_->setFault(QString::fromStdString(reason));
    setImporting(true);
}

void Application::openToken(const std::string& token) {
    setImporting(false);
    browser_->open(QString::fromStdString(token), {});
}

void Application::setImporting(bool isImporting) {
    if (window_) window_->setProperty("isImporting", isImporting);
}

}  // namespace korvane
