#pragma once

#include "korvane/toolkit/AttributedString.h"
#include "korvane/views/timeline/Presentation/PlayingCell.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCellCustomView.h"

namespace korvane {

/// A cell of the timeline strip: its piece of the drawn scale, or, with events and recordings, a preview. Root of the
/// interface file layouts/ScrubberTimelineCell.qml, whose properties are its outlets. Main thread only.
class ScrubberTimelineCell : public PlayingCell {
    Q_OBJECT
    QML_ELEMENT

  public:
    explicit ScrubberTimelineCell(QQuickItem* parent = nullptr);

    void awakeFromNib() override;
    void update() override;
    void clean() override;

    /// First and last of the cells that make one bar. Before update().
    void setIsBeginOfCellGroup(bool isBegin) { isBeginOfCellGroup_ = isBegin; }
    void setIsEndOfCellGroup(bool isEnd) { isEndOfCellGroup_ = isEnd; }

    /// Null when the interface file lacks it.
    ScrubberTimelineCellCustomView* containerView() const { return containerView_; }

    /// Has the scale drawn anew in the cell's size, with the texts that were given last.
    void updateCustomDraw();
    void updateCustomDraw(const AttributedString& startTime, const AttributedString& withEndTime);

    /// The point of a moment (ms) on the scale, a multiple of 0.5; 0 for an entry without a length.
    double calculateOffsetFromPosition(TimeMs position) const;
    /// As getPositionFromOffset(), with the last moment of the entry for what lies right of its scale, where a bar ends
    /// and the next one has not begun.
    TimeMs positionUnder(double offset) const;

  protected:
    double scaleWidth() const override;
    void animateAdvance(double seconds, const std::function<void()>& body) override;
    bool keepsEntry() const override { return true; }
    bool hasBar() const override;
    QString timeZone(const ScrubberConfig& config, const ScrubberEvent::Fields& event) const override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;

  private:
    void updateScaleTexts(const ScrubberConfig& config, const ScrubberEvent::Fields& event);
    void updateChildIcons(const ScrubberConfig& config, const ScrubberEvent::Fields& event);

    QPointer<ScrubberTimelineCellCustomView> containerView_;
    QPointer<QQuickItem> previewContainerView_;
    bool isScale_ = false;  // drawn as a scale, and not as a preview
    bool isBeginOfCellGroup_ = false;
    bool isEndOfCellGroup_ = false;
};

}  // namespace korvane
