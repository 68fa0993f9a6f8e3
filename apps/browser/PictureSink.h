#pragma once

#include <QtQml/qqmlregistration.h>
#include <QImage>
#include <QObject>

#include "korvane/base/Time.h"

namespace korvane {

/// The picture that a player shows, and its moment. Main thread only.
class PictureSink : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by a player")

  public:
    using QObject::QObject;

    /// Null for none.
    const QImage& picture() const { return picture_; }
    /// ms; -1 without a picture.
    TimeMs position() const { return position_; }

    void show(const QImage& picture, TimeMs position) {
        picture_ = picture;
        position_ = position;
        emit pictureChanged();
    }
    void clear() {
        if (position_ >= 0 || !picture_.isNull()) show({}, -1);
    }

  signals:
    void pictureChanged();

  private:
    QImage picture_;
    TimeMs position_ = -1;
};

}  // namespace korvane
