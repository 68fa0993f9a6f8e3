#pragma once

#include <QColor>
#include <QMetaType>

namespace korvane {

/// The colours of the application, for its QML files and for the widgets that it hosts. A plain value.
struct Palette {
    Q_GADGET
    Q_PROPERTY(QColor window MEMBER window)
    Q_PROPERTY(QColor stage MEMBER stage)
    Q_PROPERTY(QColor sheet MEMBER sheet)
    Q_PROPERTY(QColor raised MEMBER raised)
    Q_PROPERTY(QColor hovered MEMBER hovered)
    Q_PROPERTY(QColor pressed MEMBER pressed)
    Q_PROPERTY(QColor separator MEMBER separator)
    Q_PROPERTY(QColor text MEMBER text)
    Q_PROPERTY(QColor secondary MEMBER secondary)
    Q_PROPERTY(QColor faint MEMBER faint)
    Q_PROPERTY(QColor accent MEMBER accent)
    Q_PROPERTY(QColor fault MEMBER fault)
    Q_PROPERTY(QColor focus MEMBER focus)

  public:
    QColor window;
    QColor stage;  // around the picture
    QColor sheet;  // what lies over the window
    QColor raised;
    QColor hovered;
    QColor pressed;
    QColor separator;
    QColor text;
    QColor secondary;
    QColor faint;
    QColor accent;
    QColor fault;
    QColor focus;
    // Of the strips.
    QColor cell;
    QColor cellText;
    QColor cellIcon;
    QColor segment;
    QColor segmentIcon;

    static Palette dark();
    static Palette light();

    bool operator==(const Palette&) const = default;
};

}  // namespace korvane

Q_DECLARE_METATYPE(korvane::Palette)
