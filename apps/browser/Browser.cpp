#include "korvane/apps/browser/Browser.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "korvane/apps/browser/LogRedaction.h"
#include "korvane/apps/browser/StatusText.h"
#include "korvane/base/Log.h"
#include "korvane/client/Status.h"

namespace korvane {

namespace {

constexpr std::chrono::milliseconds scrubPatience{500};
constexpr std::chrono::milliseconds renewalPatience{300};
constexpr TimeMs sameMoment = 1'000;
constexpr std::int32_t internalError = 500;

// The number that the window does not show.
void logFault(const char* part, std::int32_t status, const std::string& text = {}) {
    logError("Browser",
             std::string(part) + ": status " + std::to_string(status) + (text.empty() ? "" : ", ") + redacted(text));
}

}  // namespace

Browser::Browser(Scheduler& scheduler, KorvaneService& service, QObject* parent)
    : QObject(parent),
      scheduler_(scheduler),
      service_(service),
      player_(scheduler, *service.helpers()),
      link_(scheduler, service),
      watch_(scheduler),
      strip_(scheduler, player_, *service.helpers()),
      timeline_(scheduler, player_, *service.helpers()),
      ruler_(scheduler, player_),
      navigation_(scheduler, strip_, player_, *service.helpers()) {
    connectParts();
}

Browser::~Browser() {
    player_.disconnect(this);
    strip_.disconnect(this);
    timeline_.disconnect(this);
}

void Browser::connectParts() {
    connectStrip(strip_);
    connectStrip(timeline_);
    connectPlayer();
    connect(&watch_, &ServiceWatch::tryAgain, this, &Browser::findCamera);
    connect(&watch_, &ServiceWatch::changed, this, &Browser::messageChanged);
    connect(&navigation_, &Navigation::deleted, this, &Browser::stateChanged);
    connect(&navigation_, &Navigation::changed, this, &Browser::timeChanged);
    connect(&navigation_, &Navigation::deletionDelayed, this, [this] {
        isRefused_ = true;
        setNote(tr("The service is busy. Deleting…"), Mood::Busy);
    });
    connect(&navigation_, &Navigation::deleted, this, [this] {
        if (noteMood_ == Mood::Busy) setNote({}, Mood::Calm);
    });
    connect(&navigation_, &Navigation::deletionFailed, this, [this](int status) {
        isRefused_ = true;
        logFault("deletion", status);
        setNote(tr("Not deleted: %1").arg(deletionFault(status)), Mood::Warning);
    });
}

void Browser::connectStrip(ScrubberHost& strip) {
    connect(&strip, &ScrubberHost::selected, this, &Browser::onSelected);
    connect(&strip, &ScrubberHost::arrived, this, &Browser::onArrived);
    connect(&strip, &ScrubberHost::renewed, this, &Browser::onRenewed);
    connect(&strip, &ScrubberHost::stateChanged, this, &Browser::onListState);
    connect(&strip, &ScrubberHost::playFinished, this, [this](const std::shared_ptr<ScrubberEvent>& event) {
        if (shown_->isPlayingOn())
            playedOut_ = event;
        else if (event && event == navigation_.selected())
            endEvent();
    });
    connect(&strip, &ScrubberHost::sought, this, &Browser::onSought);
    connect(&strip, &ScrubberHost::flyOverEnded, this, &Browser::onFlyOverEnded);
    connect(&strip, &ScrubberHost::flownOver, this, [this](qint64 time, const QString& zone) {
        if (zone_.isEmpty()) setZone(zone);
        setFlyOver(time);
        player_.scrubTo(time);
    });
    connect(&strip, &ScrubberHost::tokenWillExpire, this, [this](qint64 left) {
        expiry_ = left > 0 ? tr("Access ends in %1").arg(durationText(left)) : tr("Access has ended");
        emit messageChanged();
    });
}

void Browser::connectPlayer() {
    connect(&player_, &RecordingPlayer::boundReached, this, &Browser::endEvent);
    connect(&player_, &RecordingPlayer::positionChanged, this, &Browser::timeChanged);
    connect(&player_, &RecordingPlayer::framePositionChanged, this, &Browser::timeChanged);
    connect(&player_, &RecordingPlayer::stateChanged, this, [this] {
        timeline_.setHeld(player_.state() == RecordingPlayer::State::Paused);
        // A note stays until the player goes to another moment.
        if (player_.state() == RecordingPlayer::State::Opening) setNote({}, Mood::Calm);
        if (player_.state() == RecordingPlayer::State::Ended) onPlayerEnded();
        const bool isThere =
            player_.state() == RecordingPlayer::State::Playing || player_.state() == RecordingPlayer::State::Paused;
        if (isThere) lostAt_ = nowhere;
        emit messageChanged();
        emit navigation_.changed();
    });
    connect(&player_, &RecordingPlayer::gapSkipped, this, [this](qint64 from, qint64 to) {
        setNote(tr("Nothing recorded for %1").arg(durationText(to - from)), Mood::Calm);
    });
    connect(&player_, &RecordingPlayer::seeking, this, &Browser::onSeeking);
    connect(&player_, &RecordingPlayer::nothingFound, this,
            [this] { setNote(tr("Nothing recorded here"), Mood::Calm); });
    connect(&player_, &RecordingPlayer::failed, this, [this](const QString& text, int status) {
        if (status != 0) logFault("player", status);
        // A film that fails at the same moment again is to blame itself.
        const TimeMs at = player_.getPosition();
        if (ServiceWatch::isLoss(status) && std::exchange(lostAt_, at) != at) return watch_.lose();
        setNote(text, Mood::Fault);
    });
}

void Browser::attachStrip(ScrubberView* strip) {
    strip_.attach(strip);
}

void Browser::attachTimeline(ScrubberTimelineView* timeline) {
    timeline_.attach(timeline);
}

void Browser::reset(const QString& token, const QString& cameraName) {
    token_ = token;
    cameraName_ = cameraName;
    zone_.clear();
    fault_.clear();
    expiry_.clear();
    note_.clear();
    isLive_ = false;
    isListSeen_ = false;
    isEventOver_ = false;
    isReloaded_ = false;
    isRefused_ = false;
    playedOut_ = nullptr;
    listState_ = ScrubberStateReady;
    listStatus_ = 0;
    navigation_.forget();
    ruler_.close();
    player_.setCamera(nullptr);
    setFlyOver(-1);
    setFolderFault({});
    setRejected({});
    watch_.find();
}

void Browser::close() {
    reset({}, {});
    link_.close();
    strip_.close();
    timeline_.close();
    emit cameraChanged();
    emit selectionChanged();
    emit messageChanged();
}

void Browser::open(const QString& token, const QString& cameraName) {
    reset(token, cameraName);
    findCamera();
    if (page_ != Page::Ruler) shown_->open(token);
    emit cameraChanged();
    emit selectionChanged();
    emit messageChanged();
}

void Browser::findCamera() {
    link_.open(token_.toStdString(), [this](const std::shared_ptr<KorvaneCamera>& camera, const std::string& text,
                                            std::int32_t status) { onCamera(camera, text, status); });
}

void Browser::onCamera(const std::shared_ptr<KorvaneCamera>& camera, const std::string& text, std::int32_t status) {
    // Half a reply and a service in trouble may be better the next time.
    const bool mayMend = status == StatusMalformedReply || status == internalError || ServiceWatch::isLoss(status);
    if (!camera && mayMend) return watch_.lose();
    const bool isBack = watch_.isLost();
    watch_.find();
    if (!camera) {
        logFault("camera", status, text);
        fault_ = sentence(statusText(status));
        emit messageChanged();
        return;
    }
    if (cameraName_.isEmpty()) cameraName_ = tr("Camera %1").arg(camera->getID());
    setZone(QString::fromStdString(camera->getTimezone()));
    if (isBack) return onServiceBack(camera);
    player_.setCamera(camera);
    if (page_ == Page::Ruler) ruler_.open();
    // The ruler has no list that would come to its live end.
    if (isLive_ || page_ == Page::Ruler)
        goLive();
    else if (const auto& event = navigation_.selected())
        player_.open(shown_->momentOf(*event), RecordingPlayer::Then::Play);
}

// What was on screen comes back: its moment, and whether it played.
void Browser::onServiceBack(const std::shared_ptr<KorvaneCamera>& camera) {
    const TimeMs moment = isLive_ ? -1 : std::max(player_.getPosition(), shown_->wanted().value_or(-1));
    const bool isHeld = player_.state() == RecordingPlayer::State::Paused;
    player_.setCamera(camera);
    if (page_ == Page::Ruler) {
        ruler_.close();
        ruler_.open();
    } else {
        renewList(moment);
    }
    if (moment > 0)
        player_.open(moment, isHeld ? RecordingPlayer::Then::Pause : RecordingPlayer::Then::Play);
    else if (isLive_ || page_ == Page::Ruler)
        goLive();
    else if (const auto& event = navigation_.selected())
        player_.open(shown_->momentOf(*event), RecordingPlayer::Then::Play);
    emit stateChanged();
}

void Browser::renewList(TimeMs moment) {
    countBefore_ = count();
    if (shown_->isReady()) return shown_->refresh();
    isReloaded_ = moment > 0;
    shown_->open(token_, moment);
}

void Browser::onListState(int state, int status) {
    const bool isLoaded = listState_ == ScrubberStateLoading && state == ScrubberStateReady && status == 0;
    listState_ = state;
    // A failed deletion is told by a note, since the list itself is still good.
    listStatus_ = std::exchange(isRefused_, false) ? 0 : status;
    if (listStatus_ != 0) logFault("list", listStatus_);
    if (ServiceWatch::isLoss(listStatus_)) {
        watch_.lose();
        if (shown_->isReady()) listStatus_ = 0;  // what has been loaded is still good
    }
    if (isLoaded) onListLoaded();
    emit stateChanged();
    emit messageChanged();
}

void Browser::onListLoaded() {
    isListSeen_ = true;
    // After a load the strip rests at its live end without telling of a selection.
    const bool isElsewhere = shown_->wanted() || navigation_.selected() || navigation_.canGoOn();
    if (!isElsewhere && !isLive_) goLive();
}

void Browser::onSelected(const std::shared_ptr<ScrubberEvent>& event) {
    const auto type = event ? event->type() : ScrubberEventTypePending;
    const bool isEntry = type == ScrubberEventTypeItem || type == ScrubberEventTypeGroup;
    boundPlayer();
    isEventOver_ = false;
    isReloaded_ = false;
    if (isEntry && std::exchange(listStatus_, 0) != 0) {
        // With an entry selected, an earlier failure to load no longer matters.
        emit stateChanged();
        emit messageChanged();
    }
    if (type == ScrubberEventTypeLive) return goLive();
    isLive_ = false;
    emit selectionChanged();
    // An entry that is still loading is selected once more when its page has come; playing on goes on meanwhile.
    if (!isEntry) return playedOut_ ? void() : player_.pause();
    if (isShownAlready(*event)) return;
    player_.open(shown_->momentOf(*event), RecordingPlayer::Then::Play);
}

/// Where entries overlap, playing on shows no second twice: the player goes on, past entries that it has shown whole.
bool Browser::isShownAlready(const ScrubberEvent& event) {
    const auto before = std::exchange(playedOut_, nullptr);
    const auto index = shown_->indexUnderMark();
    const TimeMs reached = player_.getPosition();
    const bool isNext = before && index && shown_->isAt(before, *index - 1);
    const bool isUnderWay = player_.state() == RecordingPlayer::State::Playing;
    if (!isNext || !isUnderWay || shown_->momentOf(event) >= reached) return false;
    if (reached < event.end()) return true;
    playedOut_ = navigation_.selected();
    scheduler_.post(life_.guard([this, passed = playedOut_] {
        if (passed && passed == navigation_.selected()) navigation_.toNext();
    }));
    return true;
}

// After a switch the player goes on, and the strip follows it.
void Browser::onArrived(const std::shared_ptr<ScrubberEvent>& event) {
    const bool isPending = event && event->type() == ScrubberEventTypePending;
    if (!std::exchange(isReloaded_, isReloaded_ && isPending) || player_.getPosition() < 0) return onSelected(event);
    onRenewed();
    emit selectionChanged();
}

void Browser::onRenewed() {
    boundPlayer();
    isEventOver_ = false;
    emit messageChanged();
}

void Browser::goLive() {
    isLive_ = true;
    playedOut_ = nullptr;
    ruler_.showNext();
    emit selectionChanged();
    // There is no live picture, so the newest recorded one is shown.
    player_.openNewest(RecordingPlayer::Then::Pause);
}

// Where the strip comes to rest it mostly tells of what it has selected; otherwise what is shown goes on.
void Browser::onFlyOverEnded() {
    if (!isFlyingOver()) return;
    setFlyOver(-1);
    endScrubAtRest();
}

void Browser::endScrubAtRest() {
    scheduler_.after(scrubPatience, life_.guard([this] {
        if (isFlyingOver() || !player_.isScrubbing()) return;
        const auto* const strip = shown_->widget();
        if (strip && !strip->isAtRest()) return endScrubAtRest();
        player_.endScrub();
    }));
}

void Browser::onSought() {
    // The strip tells of an end once in a run, and seeking starts no new run.
    if (std::exchange(isEventOver_, false) && navigation_.selected()) shown_->toEntry(navigation_.selected(), false);
}

// At the live end the player rests for want of a live picture, not because somebody has paused it.
void Browser::onSeeking() {
    if (std::exchange(isLive_, false)) player_.resume();
    emit selectionChanged();
}

// Where an event outlasts the recordings, the player never reaches its end and the strip does not tell of it.
void Browser::onPlayerEnded() {
    const auto& event = navigation_.selected();
    if (!event) return;
    if (!shown_->isPlayingOn()) return endEvent();
    if (player_.getPosition() >= event->end()) return;
    // Posted, since the strip may be on its way to this entry.
    scheduler_.post(life_.guard([this] {
        if (player_.state() == RecordingPlayer::State::Ended) navigation_.toNext();
    }));
}

void Browser::endEvent() {
    isEventOver_ = true;
    player_.pause();
    emit messageChanged();
}

void Browser::boundPlayer() {
    const auto& event = navigation_.selected();
    player_.setBound(event && !shown_->isPlayingOn() ? std::optional(event->end()) : std::nullopt);
}

void Browser::togglePlaying() {
    if (watch_.isLost()) return watch_.tryNow();
    if (player_.state() == RecordingPlayer::State::Playing)
        player_.pause();
    else if (isEventOver_ && navigation_.selected())
        shown_->toEntry(navigation_.selected(), true);
    else
        player_.resume();
}

void Browser::toNextPage() {
    setPage(page_ == Page::Events ? Page::Timeline : page_ == Page::Timeline ? Page::Ruler : Page::Events);
}

void Browser::setPage(Page page) {
    if (page == page_ || shown_->isHeld()) return;
    const TimeMs moment = isLive_ || player_.getPosition() <= 0 ? shown_->wanted().value_or(-1) : player_.getPosition();
    shown_->close();
    ruler_.close();
    page_ = page;
    shown_ = page == Page::Timeline ? static_cast<ScrubberHost*>(&timeline_) : &strip_;
    navigation_.show(*shown_);
    // The navigation is the first to hear of what is selected and of what is refused.
    disconnect(shown_, nullptr, this, nullptr);
    connectStrip(*shown_);
    listState_ = ScrubberStateReady;
    listStatus_ = 0;
    expiry_.clear();  // the timeline is not told how it goes on
    boundPlayer();
    isEventOver_ = false;
    isReloaded_ = moment > 0 && page != Page::Ruler;
    emit switchesChanged();
    if (page == Page::Ruler)
        ruler_.open();
    else if (!token_.isEmpty())
        shown_->open(token_, moment);
    emit stateChanged();
    emit messageChanged();
}

void Browser::setShowsRecordings(bool showsRecordings) {
    if (showsRecordings == strip_.hasRecordings() || page_ != Page::Events || strip_.isHeld()) return;
    const TimeMs moment = momentToKeep();
    strip_.showRecordings(showsRecordings);
    navigation_.forget();
    isReloaded_ = moment > 0;
    if (!token_.isEmpty()) strip_.open(token_, moment);
    emit switchesChanged();
}

void Browser::setGroups(bool groups) {
    if (groups == strip_.isGrouping() || strip_.isHeld()) return;
    strip_.group(groups);
    emit switchesChanged();
    emit stateChanged();
}

void Browser::setPlaysOn(bool playsOn) {
    strip_.playOn(playsOn);
    boundPlayer();
    emit switchesChanged();
}

TimeMs Browser::momentToKeep() const {
    const auto& event = navigation_.selected();
    if (!event) return strip_.wanted().value_or(-1);
    // A single event is found again by its own moment, anything else by the moment on screen.
    const bool isSingle = !strip_.hasRecordings() && event->type() == ScrubberEventTypeItem;
    return isSingle ? strip_.momentOf(*event) : player_.getPosition();
}

void Browser::setRejected(const QStringList& rejected) {
    rejected_ = rejected;
    emit rejectedChanged();
}

bool Browser::isBusy() const {
    const bool isInHand = shown_->isHeld() || isFlyingOver() || player_.isScrubbing();
    return isInHand || !navigation_.doomed().isEmpty() || listState_ != ScrubberStateReady;
}

void Browser::renewFootage() {
    if (token_.isEmpty() || std::exchange(isRenewalDue_, true)) return;
    scheduler_.after(isBusy() ? renewalPatience : std::chrono::milliseconds(0), life_.guard([this] {
        isRenewalDue_ = false;
        if (token_.isEmpty() || isBusy()) return renewFootage();
        player_.forgetRecordings();
        if (page_ == Page::Ruler)
            ruler_.refresh();
        else
            renewList(isLive_ ? -1 : player_.getPosition());
        // The newest picture may be another one now; nothing else is to move.
        if (isLive_ && player_.state() != RecordingPlayer::State::Playing)
            player_.openNewest(RecordingPlayer::Then::Pause);
    }));
}

void Browser::setFolderFault(const QString& reason) {
    if (folderFault_ == reason) return;
    folderFault_ = reason;
    emit messageChanged();
}

void Browser::setZone(const QString& zone) {
    zone_ = zone;
    timeline_.setZone(zone);
    emit cameraChanged();
    emit timeChanged();
}

void Browser::setFlyOver(TimeMs time) {
    if (flyOver_ == time) return;
    flyOver_ = time;
    emit timeChanged();
}

void Browser::setNote(const QString& note, Mood mood) {
    note_ = note;
    noteMood_ = mood;
    emit messageChanged();
}

TimeMs Browser::shownTime() const {
    if (flyOver_ >= 0) return flyOver_;
    const TimeMs position = player_.getPosition();
    const bool isOnTheWay = player_.state() == RecordingPlayer::State::Opening;
    return isOnTheWay || position < 0 || isPictureOf(position) ? position : player_.framePosition();
}

bool Browser::isPictureOf(TimeMs moment) const {
    const TimeMs picture = player_.framePosition();
    return picture < 0 || std::abs(picture - moment) < sameMoment;
}

bool Browser::isEmpty() const {
    if (page_ != Page::Ruler) return isListSeen_ && shown_->count() == 0;
    return player_.getSource() && player_.state() == RecordingPlayer::State::Idle;
}

/// Under the finger, or else selected.
ScrubberHost::Event Browser::entryInView() const {
    if (page_ == Page::Ruler) return nullptr;
    if (!isFlyingOver()) return navigation_.selected();
    const auto index = shown_->indexUnderMark();
    return index ? shown_->entry(*index) : nullptr;
}

QImage Browser::thumbnail() const {
    const bool isOnTheWay = player_.state() == RecordingPlayer::State::Opening || player_.isScrubbing();
    const auto event = isFlyingOver() || isOnTheWay ? entryInView() : nullptr;
    const TimeMs picture = player_.framePosition();
    if (!event || (picture >= event->start() && picture <= event->end())) return {};
    return shown_->widget() ? shown_->widget()->getPreview(event) : QImage();
}

void Browser::setPalette(const Palette& palette) {
    strip_.setPalette(palette);
    timeline_.setPalette(palette);
    // Posted, since the ruler's own colours come with the next bindings.
    scheduler_.post(life_.guard([this] { ruler_.renewKnob(); }));
}

void Browser::setClockStyle(const ClockStyle& style) {
    if (style == clockStyle_) return;
    clockStyle_ = style;
    strip_.setClockStyle(style);
    timeline_.setClockStyle(style);
    ruler_.setClockStyle(style);
    navigation_.setClockStyle(style);
    emit timeChanged();
}

/// Pages of a list that is there come unnoticed.
bool Browser::isLoading() const {
    return listState_ == ScrubberStateLoading && !shown_->isReady();
}

}  // namespace korvane
