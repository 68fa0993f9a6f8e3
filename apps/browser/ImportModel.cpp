#include "korvane/apps/browser/ImportModel.h"

#include <QFileInfo>
#include <QStandardPaths>

namespace korvane {

void ImportModel::setFolder(const QString& name, const QStringList& recent) {
    folder_ = name;
    recent_ = recent;
    setProgress({});
    setFault({});
    emit folderChanged();
}

void ImportModel::setProgress(const FootageService::Progress& progress) {
    progress_ = progress;
    emit progressChanged();
    if (!fault_.isEmpty()) setFault({});
}

void ImportModel::setFault(const QString& fault) {
    fault_ = fault;
    emit faultChanged();
}

QUrl ImportModel::nearby() const {
    const QString videos = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    return QUrl::fromLocalFile(recent_.isEmpty() ? videos : QFileInfo(recent_.first()).path());
}

void ImportModel::choose(const QUrl& folder) {
    if (folder.isLocalFile()) emit chosen(folder.toLocalFile());
}

}  // namespace korvane
