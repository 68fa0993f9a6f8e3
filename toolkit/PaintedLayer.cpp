#include "korvane/toolkit/PaintedLayer.h"

#include <algorithm>

#include "korvane/base/Log.h"
#include "korvane/toolkit/Canvas.h"

namespace korvane {

PaintedLayer::~PaintedLayer() {
    for (const auto& layer : sublayers_) layer->superlayer_ = nullptr;
}

void PaintedLayer::setFrame(const Rect& frame) {
    if (frame_ == frame) return;
    frame_ = frame;
    setNeedsDisplay();
}

void PaintedLayer::setHidden(bool isHidden) {
    if (isHidden_ == isHidden) return;
    isHidden_ = isHidden;
    setNeedsDisplay();
}

void PaintedLayer::setBackgroundColor(const QColor& color) {
    if (backgroundColor_ == color) return;
    backgroundColor_ = color;
    setNeedsDisplay();
}

void PaintedLayer::addSublayer(const std::shared_ptr<PaintedLayer>& layer) {
    for (const PaintedLayer* outer = this; layer && outer; outer = outer->superlayer_) {
        if (outer == layer.get()) return logError("PaintedLayer", "addSublayer: the layer would lie in itself");
    }
    if (!layer) return logError("PaintedLayer", "addSublayer: no layer");
    const std::shared_ptr<PaintedLayer> kept = layer;
    if (layer->superlayer_) std::erase(layer->superlayer_->sublayers_, kept);
    kept->superlayer_ = this;
    sublayers_.push_back(kept);
    setNeedsDisplay();
}

void PaintedLayer::setNeedsDisplay() {
    // While a layer is drawn, all that lies in it is about to be.
    if (isRendering_) return;
    superlayer_ ? superlayer_->setNeedsDisplay() : displayNeeded();
}

void PaintedLayer::drawInContext(Canvas& /*canvas*/) {}

void PaintedLayer::renderInContext(Canvas& canvas) {
    const int before = canvas.savedStates();
    isRendering_ = true;
    if (backgroundColor_.alpha() > 0) {
        canvas.saveState();
        canvas.setFillColor(backgroundColor_);
        canvas.fillRect(bounds());
        canvas.restoreState();
    }
    canvas.saveState();
    drawInContext(canvas);
    canvas.restoreStatesTo(before);
    // By index: drawing may add a layer.
    for (std::size_t i = 0; i < sublayers_.size(); ++i) {
        const std::shared_ptr<PaintedLayer> layer = sublayers_[i];
        if (layer->isHidden()) continue;
        canvas.saveState();
        canvas.translate({layer->frame().x, layer->frame().y});
        layer->renderInContext(canvas);
        canvas.restoreStatesTo(before);
    }
    isRendering_ = false;
}

}  // namespace korvane
