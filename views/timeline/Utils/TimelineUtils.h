#pragma once

#include <QColor>
#include <QFont>
#include <QImage>
#include <QString>
#include <cstdint>

#include "korvane/client/Timeline.h"
#include "korvane/toolkit/AttributedString.h"

namespace korvane {

/// Helpers without state that the widgets share. Any thread, except for emojiToImage().
class TimelineUtils {
  public:
    /// Index of the recorded stretch that holds a time, in the unit of `timeline`, or of the one that comes next.
    /// -3 when there is no list or it is empty.
    static std::int32_t indexElement(const Timeline* timeline, std::int64_t byTime);

    /// "#RGB" or "#RRGGBB", with or without the "#"; alpha digits behind them are ignored. `andAlpha` is 0 to 1.
    /// Reading stops at the first character that is no hexadecimal digit; with none at all the colour is black.
    static QColor colorFromHexString(const QString& string, double andAlpha);

    /// `withAligment` is a TextAlignment, `withKerning` is in points.
    static AttributedString prepareAttributedString(const QString& string, std::int64_t withAligment,
                                                    const QFont& withFont, const QColor& withColor, double withKerning);

    /// `string` in the bold system font of `fontSize` points in the middle of a transparent square with sides of
    /// `imageSize` points, at the pixel ratio of the main screen. An empty image for a side of 0 or below or above
    /// 4096. Main thread.
    static QImage emojiToImage(const QString& string, double imageSize, double fontSize);
};

}  // namespace korvane
