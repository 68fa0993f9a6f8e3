#pragma once

#include <QColor>
#include <QImage>
#include <QString>

namespace korvane {

/// How a time ruler is drawn: widths in points, colours of which one that is not valid is absent. See TimelineSlider
/// for the types and modes.
struct TimelineLook {
    float lineWidth = 0;
    float trackWidth = 0;
    float strokeWidth = 1;
    float strokeStepWidth = 60;
    float scalePixelsPerSecond = 0;
    int strokeTextNamingType = 0;
    int strokeTextPositionType = 0;
    int trackFillMode = 0;
    QColor mainColor = Qt::white;
    QColor strokeColor = Qt::black;
    QColor trackColor = Qt::blue;
    QColor knobColor = Qt::blue;
    QColor textColor = Qt::black;
    QColor textBackgroundColor = Qt::black;
    QColor lineColor = Qt::black;
    QColor rangeColor;
    QColor scaleColor;
    QColor scaleSelectedColor;
    QImage knobImage;
    QString timeFormat;
    QString timeZone;
};

}  // namespace korvane
