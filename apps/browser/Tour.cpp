#include "apps/browser/Tour.h"

#include <QByteArray>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQuickWindow>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "apps/browser/EventPump.h"
#include "apps/browser/TourHand.h"
#include "views/timeline/Presentation/Scrubber/ScrubberCell.h"
#include "views/timeline/Presentation/Scrubber/ScrubberCollectionView.h"

namespace korvane {

namespace {

using namespace std::chrono_literals;
using State = RecordingPlayer::State;

constexpr auto importBound = 600s;
constexpr auto stepBound = 20s;
constexpr auto settleTime = 250ms;
constexpr auto stillTime = 500ms;
constexpr double importedEnough = 0.4;
constexpr TimeMs playedEnough = 1'200;
constexpr double wheelTurn = 2'000;  // points

template <typename Item>
void collect(QQuickItem* root, std::vector<Item*>& found) {
    if (!root || !root->isVisible()) return;
    if (auto* item = qobject_cast<Item*>(root)) found.push_back(item);
    for (QQuickItem* child : root->childItems()) collect(child, found);
}

template <typename Item>
std::vector<Item*> itemsIn(QQuickItem* root) {
    std::vector<Item*> found;
    collect(root, found);
    return found;
}

bool isEvent(const ScrubberCell& cell) {
    const auto event = cell.getEvent();
    return event && (event->type() == ScrubberEventTypeItem || event->type() == ScrubberEventTypeGroup);
}

double centreOf(const QQuickItem& item) {
    return item.mapToScene(QPointF(item.width() / 2, 0)).x();
}

QPointF markOf(const QQuickItem& strip) {
    return strip.mapToScene({strip.width() / 2, strip.height() / 2});
}

// The same token, signed by nobody.
QString forged(const QString& token) {
    constexpr auto encoding = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;
    QJsonObject fields = QJsonDocument::fromJson(QByteArray::fromBase64(token.toLatin1(), encoding)).object();
    fields[QStringLiteral("token")] = QStringLiteral("forged.forged");
    return QString::fromLatin1(QJsonDocument(fields).toJson(QJsonDocument::Compact).toBase64(encoding));
}

}  // namespace

Tour::Tour(Application& application, std::filesystem::path pictures)
    : application_(application),
      pictures_(std::move(pictures)),
      hand_(std::make_unique<TourHand>(application.scheduler(), *application.window())) {
    selection_ = QObject::connect(&application.browser().strip(), &StripHost::selected,
                                  [this](const std::shared_ptr<ScrubberEvent>& event) { selected_ = event; });
}

Tour::~Tour() {
    QObject::disconnect(selection_);
}

int Tour::run(const std::optional<std::string>& token) {
    std::error_code error;
    std::filesystem::create_directories(pictures_, error);
    if (error) {
        std::fprintf(stderr, "korvane-browser: cannot make %s: %s\n", pictures_.c_str(), error.message().c_str());
        return 1;
    }
    const bool isDone = walk(token);
    if (!isDone) std::fprintf(stderr, "korvane-browser: %s\n", failure_.c_str());
    for (const QString& fault : application_.faults()) std::fprintf(stderr, "interface: %s\n", qPrintable(fault));
    if (!taken_.isEmpty()) std::printf("Pictures:\n");
    for (const QString& picture : taken_) std::printf("  %s\n", qPrintable(picture));
    std::fflush(stdout);
    if (hasNothing_) return 2;
    return isDone && application_.faults().isEmpty() ? 0 : 1;
}

bool Tour::walk(const std::optional<std::string>& token) {
    if (token) {
        application_.openToken(*token);
    } else if (!importFolder()) {
        return false;
    }
    if (!seeLiveEnd()) return false;
    // Footage in which nothing moves: there is no more to see.
    if (application_.browser().strip().eventCount() == 0) return true;
    return goToMiddle() && selectEvent("03-event-playing") && flyOver() && seeHead() &&
           seeInSize(390, 844, "06-narrow") && seeInSize(1680, 720, "07-wide") && (token || refuseToken());
}

bool Tour::importFolder() {
    std::string fault;
    double fraction = 0;
    std::string shown;
    application_.importFootage({[&](const FootageService::Progress& progress) {
                                    fraction = progress.fraction;
                                    if (progress.file.empty() || shown == progress.file) return;
                                    shown = progress.file;
                                    std::printf("importing %zu/%zu %s\n", progress.filesDone + 1, progress.filesTotal,
                                                progress.file.c_str());
                                },
                                [this](const FootageService::Started& started) { started_ = started; },
                                [&](const std::string& reason) { fault = reason; }});
    const auto ended = [&] { return started_ || !fault.empty(); };
    Scheduler& scheduler = application_.scheduler();
    pumpEventsUntil(
        scheduler, [&] { return ended() || fraction >= importedEnough; }, importBound);
    if (fault.empty() && !take("01-import")) return false;
    if (!pumpEventsUntil(scheduler, ended, importBound)) return fail("the import does not come to an end");
    if (!fault.empty()) {
        hasNothing_ = true;
        application_.showFault(fault);
        take("01-import");
        return fail(fault);
    }
    std::printf("imported %zu files, %zu known before, %zu not imported\n", started_->imported, started_->unchanged,
                started_->rejected.size());
    for (const auto& [file, reason] : started_->rejected) std::printf("  %s: %s\n", file.c_str(), reason.c_str());
    application_.openFootage(*started_);
    return true;
}

bool Tour::seeLiveEnd() {
    Browser& browser = application_.browser();
    if (!wait("the events to load", [&] { return browser.isListSeen(); })) return false;
    if (!wait("the newest recording's picture", [&] { return browser.player()->state() == State::Paused; }))
        return false;
    if (!wait("the previews at the live end", [this] { return isPreviewed(); })) return false;
    if (!browser.rejected().isEmpty() && !take("02-not-imported")) return false;
    browser.dismissRejected();
    return take("02-live-end");
}

bool Tour::selectEvent(const char* picture) {
    const ScrubberCell* cell = nullptr;
    double x = 0;
    auto since = application_.scheduler().monotonicNow();
    // The strip may still be on its way to where it rests: a cell that stays in its place for a while can be hit.
    const auto isReady = [&] {
        const auto now = application_.scheduler().monotonicNow();
        const ScrubberCell* nearest = isAtRest() && isPreviewed() ? eventBesideMark() : nullptr;
        const double place = nearest ? centreOf(*nearest) : 0;
        if (nearest != cell || place != x) since = now;
        cell = nearest;
        x = place;
        return cell && now - since > stillTime;
    };
    if (!wait("an event beside the mark", isReady)) return false;
    const auto event = cell->getEvent();
    hand_->tap(cell->mapToScene({cell->width() / 2, cell->height() / 2}));
    return wait("the selection", [&] { return selected_ == event; }) && watch(picture);
}

bool Tour::goToMiddle() {
    const ScrubberView& strip = *application_.browser().strip().view();
    const double wanted = strip.getBaseOffset().x / 2;
    const auto isInMiddle = [&] {
        const double way = strip.getBaseOffset().x - wanted;
        if (way >= 1) hand_->wheel(markOf(strip), static_cast<int>(std::min(way, wheelTurn)));
        return way < 1;
    };
    return wait("the middle of the strip", isInMiddle) &&
           wait("the events in the middle", [this] { return isAtRest() && isPreviewed(); });
}

bool Tour::flyOver() {
    const ScrubberView& strip = *application_.browser().strip().view();
    const QPointF middle = markOf(strip);
    // Not so far that the mark leaves the events.
    const QPointF reach(std::min(strip.width() * 0.3, strip.getBaseOffset().x * 0.4), 0);
    hand_->press(middle - reach);
    hand_->drag(middle + reach, 12);
    if (!wait("the time under the finger", [this] { return application_.browser().isFlyingOver() && isPreviewed(); }))
        return false;
    if (!settle() || !take("04-fly-over")) return false;
    hand_->release();
    RecordingPlayer& player = *application_.browser().player();
    return wait("the event under the mark to play",
                [&] { return player.state() == State::Playing && !application_.browser().isFlyingOver(); });
}

bool Tour::seeHead() {
    ScrubberView& strip = *application_.browser().strip().view();
    // The first entries may still load while the wheel turns, so it turns until the strip no longer follows.
    double before = strip.getBaseOffset().x + 1;
    const bool isThere = wait("the head of the strip", [&] {
        const bool isStuck = strip.getBaseOffset().x >= before;
        before = strip.getBaseOffset().x;
        hand_->wheel(markOf(strip), static_cast<int>(wheelTurn));
        return isStuck;
    });
    const auto isFirstSelected = [&] { return isAtRest() && isPreviewed() && selected_ == strip.getEvent(1); };
    return isThere && wait("the oldest event to be selected", isFirstSelected) && watch("05-head");
}

bool Tour::watch(const char* picture) {
    RecordingPlayer& player = *application_.browser().player();
    if (!wait("the recording to begin", [&] { return player.state() == State::Playing; })) return false;
    const TimeMs from = player.getPosition();
    const auto isPlaying = [&] { return player.getPosition() >= from + playedEnough && isAtRest() && isPreviewed(); };
    return wait("the recording to play", isPlaying) && settle() && take(picture);
}

bool Tour::seeInSize(int width, int height, const char* picture) {
    QQuickWindow& window = *application_.window();
    window.resize(width, height);
    const auto isResized = [&] {
        return window.contentItem()->width() == width && window.contentItem()->height() == height && isAtRest();
    };
    return wait("the window to change its size", isResized) && selectEvent(picture);
}

bool Tour::refuseToken() {
    application_.window()->resize(1280, 800);
    application_.browser().open(forged(QString::fromStdString(started_->token)),
                                QString::fromStdString(started_->cameraName));
    const auto isRefused = [this] { return application_.browser().mood() == Browser::Mood::Fault; };
    return wait("the service to refuse a forged token", isRefused) && settle() && take("08-token-refused");
}

const ScrubberCell* Tour::eventBesideMark() const {
    QQuickItem* strip = application_.browser().strip().view();
    const double mark = markOf(*strip).x();
    const ScrubberCell* nearest = nullptr;
    for (const ScrubberCell* cell : itemsIn<ScrubberCell>(strip)) {
        const double centre = centreOf(*cell);
        // Left of the mark, and with room for a finger.
        if (!isEvent(*cell) || centre > mark - cell->width() / 2 || centre < 8) continue;
        if (!nearest || centre > centreOf(*nearest)) nearest = cell;
    }
    return nearest;
}

bool Tour::isPreviewed() const {
    for (const ScrubberCell* cell : itemsIn<ScrubberCell>(application_.browser().strip().view())) {
        const auto event = cell->getEvent();
        if (!event || event->type() == ScrubberEventTypePending) return false;
        if (!isEvent(*cell) || event->imageUrl().value_or("").empty()) continue;
        const auto* preview = cell->property("previewImageView").value<ImageView*>();
        if (!preview || preview->image().isNull()) return false;
    }
    return true;
}

bool Tour::isAtRest() const {
    for (const auto* strip : itemsIn<ScrubberCollectionView>(application_.browser().strip().view()))
        if (strip->isDragging() || strip->isDecelerating()) return false;
    return !application_.browser().isFlyingOver();
}

bool Tour::wait(const char* what, const std::function<bool()>& done) {
    return pumpEventsUntil(application_.scheduler(), done, stepBound) ||
           fail(std::string("waited in vain for ") + what);
}

bool Tour::settle() {
    // Short animations of the interface come to their end.
    pumpEventsUntil(
        application_.scheduler(), [] { return false; }, settleTime);
    return true;
}

bool Tour::take(const char* name) {
    // Animations come to their end.
    pumpEventsUntil(
        application_.scheduler(), [] { return false; }, settleTime);
    const QImage picture = application_.window()->grabWindow();
    const std::filesystem::path path = pictures_ / (std::string(name) + ".png");
    if (picture.isNull() || !picture.save(QString::fromStdString(path.string())))
        return fail("cannot write " + path.string());
    taken_ << QString::fromStdString(path.string());
    return true;
}

bool Tour::fail(const std::string& what) {
    failure_ = what;
    return false;
}

}  // namespace korvane
