#include "korvane/apps/browser/RulerHost.h"

#include <QColor>
#include <QPainter>
#include <QQuickWindow>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace korvane {

namespace {

constexpr TimeMs second = 1'000;
constexpr TimeSec hour = 3'600;

// Seconds from tick to tick, and the points that a label takes with the space beside it.
constexpr std::array<TimeSec, 13> tickSteps{60,    120,   300,    600,    900,    1'200, 1'800,
                                            3'600, 7'200, 10'800, 14'400, 21'600, 43'200};
constexpr double timeRoom = 60;
constexpr double dayRoom = 88;
constexpr double suffixRoom = 24;  // of AM and PM
// Over hours a time alone does not tell the day.
constexpr TimeSec dayStep = 3'600;

double roomOf(TimeSec step) {
    return step < dayStep ? timeRoom : dayRoom;
}

// Points, on the ruler's height.
constexpr double knobWidth = 18;
constexpr double knobHeight = 64;
constexpr double knobDisc = 7;

}  // namespace

RulerHost::RulerHost(Scheduler& scheduler, RecordingPlayer& player, QObject* parent)
    : QObject(parent), scheduler_(scheduler), player_(player) {
    connect(&player_, &RecordingPlayer::stateChanged, this, &RulerHost::onPlayerState);
    connect(&player_, &RecordingPlayer::nothingFound, this, [this] { next_ = Show::None; });
    connect(&player_, &RecordingPlayer::positionChanged, this, &RulerHost::onPlayerPosition);
}

RulerHost::~RulerHost() {
    close();
}

void RulerHost::attach(TimelineView* view) {
    if (view_) disconnect(view_, nullptr, this, nullptr);
    view_ = view;
    if (!view_) return;
    connect(view_, &TimelineView::scaleRowChanged, this, &RulerHost::setTicks);
    connect(view_, &QQuickItem::widthChanged, this, &RulerHost::setTicks);
    // A place stays until the knob has come there.
    connect(view_, &TimelineView::timelinePositionChanged, this, [this](qint64 position) {
        const bool isKnobThere = std::abs(position - player_.getPosition()) < 2 * second;
        if (isKnobThere && std::exchange(isPlaced_, false)) view_->setTrackingMode(false);
    });
    setTicks();
}

void RulerHost::open() {
    isOpen_ = true;
    next_ = player_.state() == RecordingPlayer::State::Opening ? Show::Always : Show::None;
    if (!view_) return;
    view_->setKnobImage(knob());
    // The ruler shares what it is given; this host takes itself back when it closes.
    view_->setPlayer(std::shared_ptr<KorvanePlayer>(std::shared_ptr<void>(), this));
    showMoment(Show::Always);
    emit changed();
}

void RulerHost::close() {
    setHasRange(false);
    isOpen_ = false;
    next_ = Show::None;
    if (view_) view_->setPlayer(nullptr);
    emit changed();
}

bool RulerHost::canMove() const {
    return isOpen_ && player_.getPosition() > 0;
}

void RulerHost::setPosition(TimeMs position) {
    next_ = std::max(next_, Show::OutOfView);
    player_.seek(std::max<TimeMs>(0, position));
}

void RulerHost::toFirst() {
    if (!canMove()) return;
    showNext();
    setPosition(0);
}

void RulerHost::goByHours(int hours) {
    if (!canMove()) return;
    showNext();
    setPosition(player_.getPosition() + hours * hour * second);
}

void RulerHost::showNext() {
    if (isOpen_) next_ = Show::Always;
}

void RulerHost::onPlayerState() {
    const bool isThere = player_.state() != RecordingPlayer::State::Opening;
    if (isThere && next_ != Show::None) showMoment(std::exchange(next_, Show::None));
    emit changed();
}

void RulerHost::onPlayerPosition(TimeMs position) {
    const TimeSec at = position / second;
    if (range_ && at > 0 && (at < range_->start || at > range_->end)) showRange();
}

// Posted, since the ruler takes a range and its end on a later turn.
void RulerHost::showMoment(Show show) {
    scheduler_.post(life_.guard([this, show] {
        const TimeSec at = player_.getPosition() / second;
        if (!view_ || !isOpen_ || at <= 0) return;
        const double away = static_cast<double>(std::abs(at - view_->centerTime()));
        if (show == Show::OutOfView && 2 * away < view_->width() * static_cast<double>(view_->timeScale())) return;
        // The knob comes later, and until then the ruler must not follow the place where it was.
        view_->setTrackingMode(true);
        isPlaced_ = true;
        view_->setPosition(at);
    }));
}

void RulerHost::setHasRange(bool hasRange) {
    if (hasRange == this->hasRange() || !isOpen_ || !view_) return;
    if (hasRange)
        showRange();
    else
        leaveRange();
    setTicks();
    emit changed();
}

void RulerHost::showRange() {
    // Where a range follows a range, the ruler would forget the scale that was there before.
    if (range_) view_->unsetRange();
    const TimeSec at = player_.getPosition() > 0 ? player_.getPosition() / second : view_->centerTime();
    const TimeSec now = scheduler_.utcNow() / second;
    const TimeSec end = std::max(at, std::min(at + hour / 2, now));
    range_ = Range{end - hour, end};
    view_->setRange(range_->start, range_->end);
}

void RulerHost::leaveRange() {
    range_.reset();
    view_->unsetRange();
    showMoment(Show::Always);
}

void RulerHost::setTicks() {
    if (!view_) return;
    const double scale = range_ && view_->width() > 0 ? hour / view_->width() : view_->timeScale();
    if (!(scale > 0)) return;
    const double suffix = clockStyle_.hasTwelveHours() ? suffixRoom : 0;
    const auto fits = [scale, suffix](TimeSec step) {
        return static_cast<double>(step) / scale >= roomOf(step) + suffix;
    };
    const auto* const found = std::find_if(tickSteps.begin(), tickSteps.end(), fits);
    const TimeSec step = found == tickSteps.end() ? tickSteps.back() : *found;
    // The ruler cuts the step to whole seconds, and must not cut one that rounding has made a little shorter.
    constexpr double cutGuard = 0.01;
    view_->setStrokeStepWidth(static_cast<float>((static_cast<double>(step) + cutGuard) / scale));
    view_->setTimeFormat(step < dayStep ? clockStyle_.minutes() : clockStyle_.dayAndMinutes());
}

// A needle over the whole track with a disc to take hold of.
QImage RulerHost::knob() const {
    const double ratio = view_->window() ? view_->window()->effectiveDevicePixelRatio() : 1;
    QImage image((QSizeF(knobWidth, knobHeight) * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(view_->knobColor());
    painter.drawRoundedRect(QRectF(knobWidth / 2 - 1, 0, 2, knobHeight), 1, 1);
    painter.setPen(QPen(view_->mainColor(), 2));
    painter.drawEllipse(QPointF(knobWidth / 2, knobHeight / 2), knobDisc, knobDisc);
    return image;
}

}  // namespace korvane
