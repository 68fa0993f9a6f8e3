#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QStringList>

#include "korvane/apps/browser/FootageService.h"

namespace korvane {

/// What the import page shows. Main thread only.
class ImportModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the application")
    Q_PROPERTY(QString folder READ folder CONSTANT)
    Q_PROPERTY(double fraction READ fraction NOTIFY progressChanged)
    Q_PROPERTY(QString file READ file NOTIFY progressChanged)
    Q_PROPERTY(int filesDone READ filesDone NOTIFY progressChanged)
    Q_PROPERTY(int filesTotal READ filesTotal NOTIFY progressChanged)
    Q_PROPERTY(bool isWaiting READ isWaiting NOTIFY progressChanged)
    Q_PROPERTY(QString fault READ fault NOTIFY faultChanged)

  public:
    explicit ImportModel(QString folder, QObject* parent = nullptr);

    /// Its name alone.
    QString folder() const { return folder_; }
    /// Of the whole import, 0 to 1.
    double fraction() const { return progress_.fraction; }
    QString file() const { return QString::fromStdString(progress_.file); }
    int filesDone() const { return static_cast<int>(progress_.filesDone); }
    int filesTotal() const { return static_cast<int>(progress_.filesTotal); }
    /// Another window of the application takes the folder in.
    bool isWaiting() const { return progress_.isWaiting; }
    /// Why there is nothing to browse; empty when all is well.
    QString fault() const { return fault_; }

    void setProgress(const FootageService::Progress& progress);
    void setFault(const QString& fault);

  signals:
    void progressChanged();
    void faultChanged();

  private:
    const QString folder_;
    FootageService::Progress progress_;
    QString fault_;
};

}  // namespace korvane
