#include "korvane/apps/browser/ImportModel.h"

#include <utility>

namespace korvane {

ImportModel::ImportModel(QString folder, QObject* parent) : QObject(parent), folder_(std::move(folder)) {}

void ImportModel::setProgress(const FootageService::Progress& progress) {
    progress_ = progress;
    emit progressChanged();
    if (!fault_.isEmpty()) setFault({});
}

void ImportModel::setFault(const QString& fault) {
    fault_ = fault;
    emit faultChanged();
}

}  // namespace korvane
