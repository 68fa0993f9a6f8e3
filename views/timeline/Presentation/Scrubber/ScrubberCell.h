#pragma once

#include "korvane/views/timeline/Presentation/PlayingCell.h"

namespace korvane {

/// A cell of the event strip: the entry's span lies over its picture. Root of the interface file
/// layouts/ScrubberCell.qml, whose properties are its outlets. Main thread only.
class ScrubberCell : public PlayingCell {
    Q_OBJECT
    QML_ELEMENT

  public:
    explicit ScrubberCell(QQuickItem* parent = nullptr);

    void awakeFromNib() override;
    void update() override;

  protected:
    double scaleWidth() const override;
    void animateAdvance(double seconds, const std::function<void()>& body) override;
    QString timeZone(const ScrubberConfig& config, const ScrubberEvent::Fields& event) const override;

  private:
    QPointer<QQuickItem> conatinerView_;
};

}  // namespace korvane
