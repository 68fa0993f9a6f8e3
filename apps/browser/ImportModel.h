#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include "korvane/apps/browser/FootageService.h"
#include "korvane/base/Printable.h"

namespace korvane {

/// What the import page shows: how an import goes, or which folders there are to open. Main thread only.
class ImportModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the application")
    Q_PROPERTY(QString folder READ folder NOTIFY folderChanged)
    Q_PROPERTY(QStringList recent READ recent NOTIFY folderChanged)
    Q_PROPERTY(double fraction READ fraction NOTIFY progressChanged)
    Q_PROPERTY(QString file READ file NOTIFY progressChanged)
    Q_PROPERTY(int filesDone READ filesDone NOTIFY progressChanged)
    Q_PROPERTY(int filesTotal READ filesTotal NOTIFY progressChanged)
    Q_PROPERTY(bool isWaiting READ isWaiting NOTIFY progressChanged)
    Q_PROPERTY(QString fault READ fault NOTIFY faultChanged)

  public:
    using QObject::QObject;

    /// Its name alone; empty while none has been chosen.
    QString folder() const { return folder_; }
    /// Absolute paths of folders that were opened before, the last one first.
    QStringList recent() const { return recent_; }
    /// Of the whole import, 0 to 1.
    double fraction() const { return progress_.fraction; }
    QString file() const { return QString::fromStdString(printable(progress_.file)); }
    int filesDone() const { return static_cast<int>(progress_.filesDone); }
    int filesTotal() const { return static_cast<int>(progress_.filesTotal); }
    /// Another window of the application takes the folder in.
    bool isWaiting() const { return progress_.isWaiting; }
    /// Why there is nothing to browse; empty when all is well.
    QString fault() const { return fault_; }

    /// Where the folder that is wanted is likely to be.
    Q_INVOKABLE QUrl nearby() const;

    /// Begins anew, without progress and fault.
    void setFolder(const QString& name, const QStringList& recent);
    void setProgress(const FootageService::Progress& progress);
    void setFault(const QString& fault);

    /// The person chooses a folder of this device; anything else is ignored.
    Q_INVOKABLE void choose(const QUrl& folder);
    Q_INVOKABLE void choosePath(const QString& folder) { emit chosen(folder); }

  signals:
    void folderChanged();
    void progressChanged();
    void faultChanged();
    void chosen(const QString& folder);

  private:
    QString folder_;
    QStringList recent_;
    FootageService::Progress progress_;
    QString fault_;
};

}  // namespace korvane
