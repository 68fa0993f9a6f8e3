#pragma once

#include <QObject>
#include <QStringList>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "korvane/apps/browser/Browser.h"
#include "korvane/apps/browser/FootageService.h"
#include "korvane/apps/browser/ImportModel.h"
#include "korvane/apps/browser/Preferences.h"
#include "korvane/client/KorvaneService.h"
#include "korvane/toolkit/ToolkitContext.h"

class QQmlApplicationEngine;
class QQuickWindow;

namespace korvane {

/// The window and all that stands behind it. Needs the application object. Main thread only.
class Application {
  public:
    /// Begins with the page that asks for a folder. The preferences are kept in the file of that name; with an empty
    /// name none are read and none are kept.
    explicit Application(const QString& preferencesFile = {});
    ~Application();

    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// Null when the interface could not be made; faults() tells why.
    QQuickWindow* window() const { return window_; }
    Browser& browser() { return *browser_; }
    Preferences& preferences() { return *preferences_; }
    ImportModel& importModel() { return *importModel_; }
    Scheduler& scheduler() { return *toolkit_->scheduler; }

    /// Leaves what is shown, imports the folder on the import page, shows its camera, and keeps up with what comes to
    /// the folder later. `handlers` hear of all that after the window has been told; each may be empty.
    void importFootage(const std::filesystem::path& folder, FootageService::Handlers handlers = {});
    /// Shows a camera of a service that runs elsewhere.
    void openToken(const std::string& token);

    /// What the interface's engine complained about so far.
    const QStringList& faults() const { return faults_; }

  private:
    void chooseFolder(const QString& folder);
    void showImport();
    void openFootage(const FootageService::Started& started);
    void takeLook(const FootageService::Look& look);
    void setImporting(bool isImporting);
    void makeWindow();
    void keepPreferences();
    void applyLook();

    const std::shared_ptr<ToolkitContext> toolkit_;
    const std::shared_ptr<KorvaneService> service_;
    QStringList faults_;
    std::unique_ptr<FootageService> footage_;
    QString folder_;        // of the footage; absolute
    QStringList rejected_;  // by the last look
    std::unique_ptr<ImportModel> importModel_;
    std::unique_ptr<Preferences> preferences_;
    std::unique_ptr<Browser> browser_;
    std::unique_ptr<QQmlApplicationEngine> engine_;
    QQuickWindow* window_ = nullptr;
    LifeToken life_;
};

}  // namespace korvane
