#include "apps/browser/StripHost.h"

#include <QColor>
#include <QFont>
#include <algorithm>

namespace korvane {

namespace {

QFont labelFont(int pixels, QFont::Weight weight) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

// The colours of Theme.qml.
void makeDark(ScrubberConfig& config) {
    config.setBackgroundColor(QColor(0x0c, 0x0e, 0x11));
    config.setBackgroundCellColor(QColor(0x16, 0x19, 0x1e));
    config.setScrubberCenterMarkColor(QColor(0xe5, 0x48, 0x4d));
    config.setEventTypeTintColor(QColor(0x9a, 0xa1, 0xab));
    config.setDateTimeTextFont(labelFont(11, QFont::Normal));
    config.setDateTimeTextColor(QColor(0xd6, 0xda, 0xdf));
    config.setDateTimeFormat(QStringLiteral("EEE HH:mm:ss"));
    config.setLiveViewTextFont(labelFont(13, QFont::Normal));
    config.setLiveViewTextColor(QColor(0x9a, 0xa1, 0xab));
    config.setCellSeparatorWidth(2);
    config.setCellWidth(160);
}

}  // namespace

StripHost::StripHost(Scheduler& scheduler, KorvanePlayer& player, QObject* parent)
    : QObject(parent), scheduler_(scheduler), player_(player), delegate_(std::make_shared<ScrubberViewDelegate>()) {
    fill(*delegate_);
}

void StripHost::attach(ScrubberView* view) {
    view_ = view;
    if (!view_) return;
    makeDark(view_->getConfig());
    view_->applyConfig();
    view_->setDelegate(delegate_);
}

std::int32_t StripHost::open(const QString& token) {
    return view_ ? view_->setSource(token) : -1;
}

std::int64_t StripHost::eventCount() const {
    return view_ ? std::max<std::int64_t>(0, view_->getEventsCount() - 2) : 0;
}

std::shared_ptr<ScrubberEvent> StripHost::eventUnderMark() const {
    const auto index = view_ ? view_->getIndexPathFromPointer() : IndexPath();
    return index ? view_->getEvent(*index) : nullptr;
}

void StripHost::fill(ScrubberViewDelegate& delegate) {
    using Event = ScrubberViewDelegate::Event;
    delegate.OnScrubberDidSelectEvent = [this](const Event& event) {
        emit flyOverEnded();
        // A page that comes in selects an entry of its own, wherever the strip stands.
        const Event underMark = eventUnderMark();
        emit selected(underMark ? underMark : event);
    };
    delegate.OnScrubberDraggingContinueFlyOverEvent = [this](const Event& event) {
        if (event && event->type() != ScrubberEventTypeHead)
            emit flownOver(event->timeAsValue(), QString::fromStdString(event->timezone()));
    };
    delegate.OnScrubberDraggingEndFlyOverEvent = [this](const Event&) { emit flyOverEnded(); };

    // These come on other threads as well.
    delegate.OnScrubberStateChangedFrom = [&scheduler = scheduler_, tell = life_.guard([this](int state, int status) {
        emit stateChanged(state, status);
    })](std::int32_t, std::int32_t toState, std::int32_t withStatus) {
        scheduler.post([tell, toState, withStatus]() mutable { tell(toState, withStatus); });
    };
    delegate.onSharedTokenWillExpireIn = [&scheduler = scheduler_, tell = life_.guard([this](qint64 left) {
        emit tokenWillExpire(left);
    })](std::int64_t timeLeft) {
        scheduler.post([tell, timeLeft]() mutable { tell(timeLeft); });
        return 0;
    };
    delegate.OnScrubberGetCurrentPositionForPlayingEvent = [&player = player_](const Event&) {
        return player.getPosition();
    };
    delegate.OnScrubberSetCurrentPositionForPlayingEvent = [&player = player_](const Event&, TimeMs newPosition) {
        player.setPosition(newPosition);
    };
}

}  // namespace korvane
