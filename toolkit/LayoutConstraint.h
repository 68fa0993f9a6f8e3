#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>

#include "korvane/toolkit/AnimatedValue.h"

namespace korvane {

/// A length in points that an interface file offers as an outlet and binds its items to:
///     property LayoutConstraint progress: LayoutConstraint { }
///     Rectangle { width: progress.seen }
/// Set within animate(), `constant` holds the new length at once and `seen` moves there. Main thread only.
class LayoutConstraint : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double constant READ constant WRITE setConstant NOTIFY constantChanged)
    Q_PROPERTY(double seen READ seen NOTIFY seenChanged)

  public:
    explicit LayoutConstraint(QObject* parent = nullptr);

    double constant() const { return value_.value(); }
    void setConstant(double points);
    double seen() const { return value_.seen(); }

  signals:
    void constantChanged();
    void seenChanged();

  private:
    AnimatedValue value_;
};

}  // namespace korvane
