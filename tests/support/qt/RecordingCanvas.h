#pragma once

#include <string>
#include <vector>

#include "korvane/toolkit/Canvas.h"

namespace korvane {

/// Writes one line for each path, shape, image and text. A text is 6 points wide a character and 12 high, whatever its
/// font. An image goes by its text of the key "name".
class RecordingCanvas final : public Canvas {
  public:
    const std::vector<std::string>& lines() const { return lines_; }
    int measured() const { return measured_; }

    void setFillColor(const QColor& /*color*/) override {}
    void setStrokeColor(const QColor& /*color*/) override {}
    void setLineWidth(double /*width*/) override {}
    void setLineCap(LineCap /*cap*/) override {}
    void setLineJoin(LineJoin /*join*/) override {}
    void addPath(const Path& path) override;
    void fillPath() override {}
    void strokePath() override {}
    void fillRect(const Rect& rect) override;
    void fillEllipse(const Rect& inRect) override;
    void drawImage(const QImage& image, const Rect& inRect) override;
    void drawText(const TextLine& text, const Rect& inRect, const QColor& background) override;
    Size measureText(const TextLine& text) override;
    void saveState() override { ++savedStates_; }
    void restoreState() override { savedStates_ -= savedStates_ > 0 ? 1 : 0; }
    int savedStates() const override { return savedStates_; }
    void translate(Point /*by*/) override {}

  private:
    void note(const QString& line) { lines_.push_back(line.toStdString()); }

    std::vector<std::string> lines_;
    int savedStates_ = 0;
    int measured_ = 0;
};

}  // namespace korvane
