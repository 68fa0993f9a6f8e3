#pragma once

#include <QColor>
#include <QImage>
#include <QQuickPaintedItem>

namespace korvane {

/// One of the application's icons, drawn to its item's size in one colour. Main thread only.
class Glyph : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(Shape shape MEMBER shape_ NOTIFY changed)
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY changed)

  public:
    enum Shape {
        Play,
        Pause,
        Sound,
        Muted,
        Close,
        First,
        Previous,
        Next,
        Last,
        Delete,
        Recordings,
        Group,
        PlayOn,
        Timeline,
        Events,
        Ruler,
        Range,
        Settings,
        Help
    };
    Q_ENUM(Shape)

    explicit Glyph(QQuickItem* parent = nullptr);

    void paint(QPainter* painter) override;

    /// In white on nothing, to be tinted; `size` x `size` pixels.
    static QImage image(Shape shape, int size);

  signals:
    void changed();

  private:
    Shape shape_ = Play;
    QColor color_ = Qt::white;
};

}  // namespace korvane
