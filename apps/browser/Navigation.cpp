#include "korvane/apps/browser/Navigation.h"

#include <chrono>
#include <utility>

#include "korvane/apps/browser/StatusText.h"
#include "korvane/client/Status.h"

namespace korvane {

namespace {
constexpr TimeMs hour = 3'600'000;
constexpr std::int32_t busy = 503;  // another program writes, or too many ask
constexpr int mostTries = 5;
constexpr std::chrono::milliseconds patience{1'000};
}  // namespace

Navigation::Navigation(Scheduler& scheduler, ScrubberHost& strip, const KorvanePlayer& player,
                       const KorvaneHelpers& helpers, QObject* parent)
    : QObject(parent), scheduler_(scheduler), player_(player), helpers_(helpers) {
    show(strip);
}

void Navigation::show(ScrubberHost& strip) {
    if (strip_) disconnect(strip_, nullptr, this, nullptr);
    strip_ = &strip;
    for (const auto told : {&ScrubberHost::selected, &ScrubberHost::arrived, &ScrubberHost::renewed})
        connect(strip_, told, this, &Navigation::onSelected);
    connect(strip_, &ScrubberHost::stateChanged, this, &Navigation::onState);
    forget();
}

void Navigation::onSelected(const ScrubberHost::Event& event) {
    const int type = event ? event->type() : ScrubberEventTypeLive;
    const bool isEntry = type == ScrubberEventTypeItem || type == ScrubberEventTypeGroup;
    loading_ = event && type == ScrubberEventTypePending ? event : nullptr;
    selected_ = isEntry ? event : nullptr;
    emit changed();
}

void Navigation::onState(int state, int status) {
    // The strip tells of a refused deletion by its state alone.
    const bool isRefused = isDeleting_ && state == ScrubberStateReady && status != 0;
    if (isRefused) isDeleting_ = false;
    const bool isDelayed = isRefused && status == busy && ++tries_ < mostTries;
    if (isDelayed) scheduler_.after(patience, life_.guard([this] { askService(); }));
    emit changed();
    if (isDelayed)
        emit deletionDelayed();
    else if (isRefused)
        emit deletionFailed(status);
}

void Navigation::forget() {
    selected_ = nullptr;
    doomed_ = nullptr;
    dying_ = nullptr;
    loading_ = nullptr;
    isDeleting_ = false;
    emit changed();
}

bool Navigation::canGoBack() const {
    return strip_->isReady() && !strip_->isAt(current(), 1);
}

bool Navigation::canGoOn() const {
    return strip_->isReady() && current();
}

bool Navigation::canGoToLast() const {
    return strip_->isReady() && !strip_->isAt(current(), lastIndex());
}

bool Navigation::canGoBackByHours() const {
    return canGoBack() && !loading_ && player_.getPosition() >= 0;
}

bool Navigation::canGoOnByHours() const {
    return canGoOn() && !loading_ && player_.getPosition() >= 0;
}

bool Navigation::canDelete() const {
    const bool isFree = strip_->isReady() && !isDeleting_;
    return isFree && selected_ && strip_->canDelete(*selected_);
}

void Navigation::toFirst() {
    if (isFree() && strip_->isReady()) strip_->toFirst();
}

void Navigation::toPrevious() {
    if (isFree() && canGoBack()) strip_->toPrevious();
}

void Navigation::toNext() {
    if (isFree() && canGoOn()) strip_->toNext();
}

void Navigation::toLast() {
    if (isFree() && canGoToLast()) strip_->toLast();
}

void Navigation::goByHours(int hours) {
    if (!isFree() || !(hours < 0 ? canGoBackByHours() : canGoOnByHours())) return;
    const TimeMs target = player_.getPosition() + hours * hour;
    const auto index = strip_->indexUnderMark();
    const auto before = index && hours < 0 ? strip_->entry(*index - 1) : nullptr;
    const TimeMs begin = before ? strip_->momentOf(*before) : -1;
    // An hour in which nothing happened: the first entry after its beginning would be the one to go away from.
    if (begin >= 0 && begin < target) return toPrevious();
    if (target > 0) strip_->toClosest(target);
}

void Navigation::askToDelete() {
    if (!isFree() || !canDelete()) return;
    doomed_ = selected_;
    emit changed();
}

QString Navigation::doomed() const {
    if (!doomed_) return {};
    const auto event = doomed_->fields();
    const QString name = eventText(event);
    const QString pattern = QStringLiteral("EEE d MMM yyyy, ") + clockStyle_.seconds();
    const QString moment = QString::fromStdString(
        helpers_.formatTime_AMPM(strip_->momentOf(*doomed_), pattern.toStdString(), event.timezone));
    return name.isEmpty() ? moment : name + QStringLiteral(", ") + moment;
}

void Navigation::setClockStyle(const ClockStyle& style) {
    clockStyle_ = style;
    emit changed();
}

void Navigation::keep() {
    doomed_ = nullptr;
    emit changed();
}

void Navigation::deleteDoomed() {
    dying_ = std::exchange(doomed_, nullptr);
    tries_ = 0;
    askService();
}

void Navigation::askService() {
    if (!dying_ || !strip_->widget()) return;
    // The answer comes on a later turn.
    const std::int32_t status =
        strip_->widget()->deleteEvent(dying_, life_.guard([this](std::int32_t, const std::string&) {
            isDeleting_ = false;
            emit changed();
            emit deleted();
        }));
    isDeleting_ = status == StatusSuccess;
    emit changed();
}

}  // namespace korvane
