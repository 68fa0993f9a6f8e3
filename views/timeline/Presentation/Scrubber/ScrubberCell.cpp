#include "korvane/views/timeline/Presentation/Scrubber/ScrubberCell.h"

#include "korvane/base/Log.h"
#include "korvane/toolkit/AnimatedValue.h"
#include "korvane/toolkit/InterfaceLoader.h"
#include "korvane/views/timeline/Presentation/ItemLooks.h"

namespace korvane {
namespace {

constexpr const char* classPath = "ScrubberView: ScrubberCell";

// A player that stands at 0 has not begun; one that runs past the end of an entry is followed as far as its picture.
constexpr PlaybackRules playbackRules{.firstPosition = 0, .advancesAfterFinish = true, .holdsWhileScrolling = false};

}  // namespace

ScrubberCell::ScrubberCell(QQuickItem* parent) : PlayingCell(playbackRules, classPath, parent) {}

void ScrubberCell::awakeFromNib() {
    PlayingCell::awakeFromNib();
    Outlets outlets(this);
    conatinerView_ = outlets.get<QQuickItem>("conatinerView");
    if (!outlets.report(classPath)) return;
    conatinerView_->setProperty("radius", 0.0);
    conatinerView_->setClip(true);
}

void ScrubberCell::update() {
    if (!owner()) return;
    const std::shared_ptr<ScrubberEvent> event = getEvent();
    const ScrubberConfig& config = owner()->getConfig();
    ScrubberEvent::Fields fields;
    if (event) fields = event->fields();
    const int type = event ? fields.type : ScrubberEventTypeHead;
    trace(3, classPath, "(", this, ") update: index: ", index().value_or(-1), " type: ", type);

    setBackgroundColor(conatinerView_, config.backgroundCellColor());
    setPartsBackground(config.backgroundCellColor());
    updateLiveLabel(config, type == ScrubberEventTypeLive);
    if (type == ScrubberEventTypeHead || type == ScrubberEventTypeLive) {
        removePreview(config.backgroundCellColor());
        return;
    }
    updateDate(config, fields);
    updateIcon(config, fields);
    updatePreview(config, fields);
}

double ScrubberCell::scaleWidth() const {
    return previewImageView() ? previewImageView()->width() : 0;
}

void ScrubberCell::animateAdvance(double seconds, const std::function<void()>& body) {
    animate(seconds, body);
}

QString ScrubberCell::timeZone(const ScrubberConfig& /*config*/, const ScrubberEvent::Fields& event) const {
    return QString::fromStdString(event.timezone);
}

}  // namespace korvane
