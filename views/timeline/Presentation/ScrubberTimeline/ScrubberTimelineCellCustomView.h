#pragma once

#include <QColor>
#include <cstdint>
#include <memory>
#include <utility>

#include "korvane/base/Geometry.h"
#include "korvane/toolkit/AttributedString.h"
#include "korvane/toolkit/PaintedItem.h"
#include "korvane/toolkit/Path.h"
#include "korvane/toolkit/TextLayer.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCellCustomDrawImagesLayer.h"

namespace korvane {

/// Draws one cell of a continuous time scale: its piece of a rounded bar, the ticks, two texts below them and icons
/// along them. Neighbouring cells make one bar, a group, whose ends are round and stand clear of what comes next.
///
/// Setters ask for no repaint: setNeedsDisplay() does when all is set. Rectangles are points of the cell. Main thread
/// only, except that drawing belongs to the thread that draws the scene while the main thread waits.
class ScrubberTimelineCellCustomView : public PaintedItem {
    Q_OBJECT
    QML_ELEMENT

  public:
    /// Points that either end of a group's bar stands clear of what comes next.
    static constexpr double groupGap = 2.0;

    explicit ScrubberTimelineCellCustomView(QQuickItem* parent = nullptr);

    bool isBeginOfGroup() const { return isBeginOfGroup_; }
    void setIsBeginOfGroup(bool isBegin) { isBeginOfGroup_ = isBegin; }
    bool isEndOfGroup() const { return isEndOfGroup_; }
    void setIsEndOfGroup(bool isEnd) { isEndOfGroup_ = isEnd; }

    /// Ticks, texts and icons are shown, not the bar alone; true at first.
    bool isNeedCustomDraw() const { return isNeedCustomDraw_; }
    void setIsNeedCustomDraw(bool isNeeded) { isNeedCustomDraw_ = isNeeded; }
    /// For the owner; drawing does not read it. True at first.
    bool isNeedFullCustomDraw() const { return isNeedFullCustomDraw_; }
    void setIsNeedFullCustomDraw(bool isNeeded) { isNeedFullCustomDraw_ = isNeeded; }
    /// A pass draws the ticks; true at first, and no pass clears it.
    bool isNeedUpdateScale() const { return isNeedUpdateScale_; }
    void setIsNeedUpdateScale(bool isNeeded) { isNeedUpdateScale_ = isNeeded; }
    /// A pass sets and places the texts; true at first, and no pass clears it.
    bool isNeedUpdateText() const { return isNeedUpdateText_; }
    void setIsNeedUpdateText(bool isNeeded) { isNeedUpdateText_ = isNeeded; }

    /// Of the bar; transparent at first.
    const QColor& backColor() const { return backColor_; }
    void setBackColor(const QColor& color) { backColor_ = color; }
    /// Of the ticks; transparent at first.
    const QColor& scaleColor() const { return scaleColor_; }
    void setScaleColor(const QColor& color) { scaleColor_ = color; }

    /// The round corners of the bar, a mask of RectCorner bits, and their radii. A pass sets both anew.
    std::uint64_t corners() const { return corners_; }
    void setCorners(std::uint64_t corners) { corners_ = corners; }
    const Size& cornerRadii() const { return cornerRadii_; }
    void setCornerRadii(const Size& radii) { cornerRadii_ = radii; }

    /// For the owner; drawing does not read it.
    const AttributedString& eventDateTimeAttrText() const { return eventDateTimeAttrText_; }
    void setEventDateTimeAttrText(const AttributedString& text) { eventDateTimeAttrText_ = text; }
    /// At the left of a group's first cell, below the middle of others.
    const AttributedString& scaleStartDateTimeAttrText() const { return scaleStartDateTimeAttrText_; }
    void setScaleStartDateTimeAttrText(const AttributedString& text) { scaleStartDateTimeAttrText_ = text; }
    /// At the right.
    const AttributedString& scaleEndDateTimeAttrText() const { return scaleEndDateTimeAttrText_; }
    void setScaleEndDateTimeAttrText(const AttributedString& text) { scaleEndDateTimeAttrText_ = text; }

    /// Shared. What is set replaces what a pass fills and places, but not what lies in layer(); a pass skips null.
    const std::shared_ptr<TextLayer>& startDateTimeLayer() const { return startDateTimeLayer_; }
    void setStartDateTimeLayer(std::shared_ptr<TextLayer> layer) { startDateTimeLayer_ = std::move(layer); }
    const std::shared_ptr<TextLayer>& endDateTimeLayer() const { return endDateTimeLayer_; }
    void setEndDateTimeLayer(std::shared_ptr<TextLayer> layer) { endDateTimeLayer_ = std::move(layer); }
    using ImagesLayer = ScrubberTimelineCellCustomDrawImagesLayer;
    const std::shared_ptr<ImagesLayer>& eventTypeLayer2() const { return eventTypeLayer2_; }
    void setEventTypeLayer2(std::shared_ptr<ImagesLayer> layer) { eventTypeLayer2_ = std::move(layer); }

    /// The bounds of the cell, to be followed by updateScaleRect() where scaleRect() is needed before the next pass.
    const Rect& cellRect() const { return cellRect_; }
    void setCellRect(const Rect& rect) { cellRect_ = rect; }
    /// For the owner; drawing does not read it.
    const Rect& backRect() const { return backRect_; }
    void setBackRect(const Rect& rect) { backRect_ = rect; }
    /// The band of the ticks; its width is that of the cell's time. Zeros before the first pass.
    const Rect& scaleRect() const { return scaleRect_; }
    void setScaleRect(const Rect& rect) { scaleRect_ = rect; }

    /// Computes scaleRect(), corners() and cornerRadii() from cellRect() and the place in the group, as each pass does
    /// first, and draws nothing. A cell that is narrower than its gaps has a band of width 0.
    void updateScaleRect();

    /// One pass: draws bar and ticks, fills and places the layers.
    void customDrawinContext(Canvas& canvas);
    void drawLayer(PaintedLayer& layer, Canvas& inContext) override;

    /// Notes that the layer's actions go without animation, in place of what was noted before.
    void removeAnimationFromLayer(PaintedLayer& layer);

  private:
    Rect barRect() const;
    Path ticks() const;
    void placeText(TextLayer& layer, Canvas& canvas, const AttributedString& text, bool atEnd) const;

    bool isBeginOfGroup_ = false;
    bool isEndOfGroup_ = false;
    bool isNeedCustomDraw_ = true;
    bool isNeedFullCustomDraw_ = true;
    bool isNeedUpdateScale_ = true;
    bool isNeedUpdateText_ = true;
    QColor backColor_ = Qt::transparent;
    std::uint64_t corners_ = 0;
    QColor scaleColor_ = Qt::transparent;
    AttributedString eventDateTimeAttrText_;
    AttributedString scaleStartDateTimeAttrText_;
    AttributedString scaleEndDateTimeAttrText_;
    std::shared_ptr<TextLayer> startDateTimeLayer_;
    std::shared_ptr<TextLayer> endDateTimeLayer_;
    std::shared_ptr<ImagesLayer> eventTypeLayer2_;
    Size cornerRadii_;
    Rect cellRect_;
    Rect backRect_;
    Rect scaleRect_;
};

}  // namespace korvane
