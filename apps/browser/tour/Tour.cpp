#include "korvane/apps/browser/tour/Tour.h"

#include <QByteArray>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQuickWindow>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

#include "korvane/apps/browser/tour/EventPump.h"
#include "korvane/apps/browser/tour/TourEye.h"
#include "korvane/apps/browser/tour/TourHand.h"
#include "korvane/base/Printable.h"

namespace korvane {

namespace {

using namespace std::chrono_literals;
using State = RecordingPlayer::State;

constexpr auto importBound = 600s;
constexpr auto stepBound = 20s;
constexpr auto settleTime = 300ms;  // for animations and answers
constexpr double importedEnough = 0.4;
constexpr TimeMs glance = 1'200;
constexpr TimeMs look = 6'000;
constexpr double wheelTurn = 2'000;        // points
constexpr double creep = 20;               // points that a playing event may still move the strip
constexpr std::int64_t enoughToWalk = 5;   // events
constexpr std::int64_t enoughToTurn = 30;  // segments

// The same token with other fields.
QString changed(const std::string& token, const QJsonObject& changes) {
    constexpr auto encoding = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;
    QJsonObject fields =
        QJsonDocument::fromJson(QByteArray::fromBase64(QByteArray::fromStdString(token), encoding)).object();
    for (auto change = changes.begin(); change != changes.end(); ++change) fields[change.key()] = change.value();
    return QString::fromLatin1(QJsonDocument(fields).toJson(QJsonDocument::Compact).toBase64(encoding));
}

}  // namespace

Tour::Tour(Application& application, Options options)
    : application_(application),
      options_(std::move(options)),
      hand_(std::make_unique<TourHand>(application.scheduler(), *application.window())) {
    selection_ = QObject::connect(&application.browser().strip(), &StripHost::selected, [this] { ++selections_; });
    timelineSelection_ =
        QObject::connect(&application.browser().timeline(), &TimelineHost::selected, [this] { ++selections_; });
}

Tour::~Tour() {
    QObject::disconnect(selection_);
    QObject::disconnect(timelineSelection_);
}

int Tour::run() {
    std::error_code error;
    std::filesystem::create_directories(options_.pictures, error);
    if (error) {
        std::fprintf(stderr, "korvane-browser: cannot make %s: %s\n", options_.pictures.c_str(),
                     error.message().c_str());
        return 1;
    }
    // The same pictures everywhere, whatever the look of the system.
    application_.preferences().setLook(Preferences::Look::Dark);
    application_.preferences().setHasTwelveHours(false);
    const bool isDone = walk();
    if (!isDone) std::fprintf(stderr, "korvane-browser: %s\n", printable(failure_).c_str());
    for (const QString& fault : application_.faults()) std::fprintf(stderr, "interface: %s\n", qPrintable(fault));
    if (!taken_.isEmpty()) std::printf("Pictures:\n");
    for (const QString& picture : taken_) std::printf("  %s\n", qPrintable(picture));
    std::fflush(stdout);
    if (hasNothing_) return 2;
    return isDone && application_.faults().isEmpty() ? 0 : 1;
}

bool Tour::walk() {
    if (!options_.token.empty()) {
        application_.openToken(options_.token);
    } else if (!importFolder()) {
        return false;
    }
    if (!seeLiveEnd()) return false;
    // Footage without movement has no events to show.
    const auto count = application_.browser().strip().count();
    if (count == 0) return true;
    if (count < enoughToWalk) return seeFirst() && seeLooks() && seeSizes() && refuseToken();
    return goToMiddle() && selectEvent() && watch("03-event-playing", look) && flyOver("04-fly-over") &&
           seeNeighbours() && seeDeletion() && seePlayOn() && seeRecordings() && seeGroups() && seeTimeline() &&
           seeFirst() && seeLooks() && seeSizes() && refuseToken();
}

bool Tour::importFolder() {
    if (!take("00-folder-asked")) return false;
    application_.importFootage(options_.folder, handlers());
    const Import& import = *import_;
    const auto ended = [&import] { return import.look || !import.fault.empty(); };
    Scheduler& scheduler = application_.scheduler();
    pumpEventsUntil(
        scheduler, [&] { return !import.token.empty() || ended() || import.fraction >= importedEnough; }, importBound);
    // A folder that is known is shown at once.
    if (import.token.empty() && !take("01-import")) return false;
    if (!pumpEventsUntil(scheduler, ended, importBound)) return fail("the import does not come to an end");
    hasNothing_ = import.token.empty();
    const std::string fault = import.look ? import.look->fault : import.fault;
    if (!fault.empty()) return fail(fault);
    std::printf("imported %zu files, %zu known before, %zu not imported\n", import.look->imported,
                import.look->unchanged, import.look->rejected.size());
    for (const auto& [file, reason] : import.look->rejected) std::printf("  %s: %s\n", file.c_str(), reason.c_str());
    return true;
}

/// They may be called after the tour.
FootageService::Handlers Tour::handlers() const {
    FootageService::Handlers told;
    told.progress = [import = import_](const FootageService::Progress& progress) {
        import->fraction = progress.fraction;
        if (progress.file.empty() || std::exchange(import->file, progress.file) == progress.file) return;
        std::printf("importing %zu/%zu %s\n", progress.filesDone + 1, progress.filesTotal, progress.file.c_str());
    };
    told.started = [import = import_](const FootageService::Started& what) { import->token = what.token; };
    told.looked = [import = import_](const FootageService::Look& look) {
        if (!import->look) import->look = look;
    };
    told.failed = [import = import_](const std::string& reason) { import->fault = reason; };
    return told;
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

bool Tour::selectEvent() {
    std::optional<std::int64_t> index;
    const auto isReady = [&] {
        index = isAtRest() && isMarked() && isPreviewed() ? eventBesideMark() : std::nullopt;
        return index.has_value();
    };
    if (!wait("an event beside the mark", isReady)) return false;
    ScrubberView& strip = *application_.browser().strip().view();
    const auto event = strip.getEvent(*index);
    hand_->tap({beginOf(strip, *index) + strip.getConfig().cellWidth() / 2, markOf(strip).y()});
    return wait("the selection", [&] { return selected() == event && isMarked(); });
}

bool Tour::flyOver(const char* picture) {
    const ScrubberWidget& strip = *application_.browser().shown().widget();
    const QPointF middle = markOf(strip);
    // Not so far that the mark leaves the events.
    const QPointF reach(std::min(strip.width() * 0.3, strip.getBaseOffset().x * 0.4), 0);
    hand_->press(middle - reach);
    hand_->drag(middle + reach, 12);
    if (!wait("the time under the finger", [this] { return application_.browser().isFlyingOver() && isPreviewed(); }))
        return false;
    if (!take(picture)) return false;
    const int before = selections_;
    hand_->release();
    return wait("the event under the mark to be selected",
                [&] { return selections_ > before && isMarked() && isAtRest(); });
}

bool Tour::go(Qt::Key key, const char* what) {
    const int before = selections_;
    hand_->key(key);
    return wait(what, [&] { return selections_ > before && isMarked(); });
}

bool Tour::seeNeighbours() {
    return go(Qt::Key_Right, "the next event") && watch("05-next", glance) && go(Qt::Key_Left, "the previous event") &&
           watch("06-previous", glance) && seeHourBack();
}

bool Tour::seeHourBack() {
    // The first event has none before it.
    if (!application_.browser().navigation()->canGoBackByHours()) return true;
    return go(Qt::Key_PageUp, "the events of an hour before") && watch("07-hour-back", glance);
}

bool Tour::seeDeletion() {
    Navigation& navigation = *application_.browser().navigation();
    hand_->key(Qt::Key_Delete);
    if (!wait("the question before a deletion", [&] { return !navigation.doomed().isEmpty(); })) return false;
    if (!take("08-delete")) return false;
    if (!options_.mayDelete) {
        hand_->key(Qt::Key_Escape);
        return wait("the question to go", [&] { return navigation.doomed().isEmpty(); });
    }
    const StripHost& strip = application_.browser().strip();
    const auto count = strip.count();
    // The deletion is not what Return does by itself.
    hand_->key(Qt::Key_Tab);
    return go(Qt::Key_Return, "the event after the deleted one") &&
           wait("the event to go", [&] { return strip.count() == count - 1; }) && watch("09-deleted", glance);
}

bool Tour::seePlayOn() {
    StripHost& strip = application_.browser().strip();
    if (!choose("Play on", "")) return false;
    // Nearly to the end of the event that plays.
    const auto index = strip.indexUnderMark();
    const double passed = index ? strip.view()->getOffsetBetweenPointerAndItemBegin(*index) : 0;
    const QPointF mark = markOf(*strip.view());
    const auto before = selected();
    hand_->press(mark);
    hand_->drag(mark - QPointF(strip.view()->getConfig().cellWidth() - passed, 0), 12);
    hand_->release();
    return wait("the next event to follow", [&] { return selected() != before && isMarked(); }) &&
           watch("10-played-on", glance) && choose("Play on", "");
}

bool Tour::seeRecordings() {
    return choose("Recordings", "the recordings") && watch("11-recordings", glance) &&
           choose("Recordings", "the events");
}

bool Tour::seeGroups() {
    return choose("Group", "the groups") && watch("12-groups", glance) && choose("Group", "the single events");
}

bool Tour::seeTimeline() {
    Browser& browser = application_.browser();
    const auto isLive = [&] { return browser.isLive() && isAtRest() && browser.player()->state() == State::Paused; };
    hand_->key(Qt::Key_T);
    if (!wait("the moment on the timeline", [this] { return isMarked() && isAtRest(); })) return false;
    if (!go(Qt::Key_Home, "the begin of the timeline") || !watch("17-timeline-first", glance)) return false;
    const bool isLong = browser.timeline().count() > enoughToTurn;
    for (int steps = isLong ? 2 : 3; steps > 0; --steps)
        if (!go(isLong ? Qt::Key_PageDown : Qt::Key_Right, "another place of the timeline")) return false;
    if (!watch("18-timeline-playing", look) || !flyOver("19-timeline-fly-over")) return false;
    if (!watch("20-timeline-after-drag", glance)) return false;
    hand_->key(Qt::Key_End);
    if (!wait("the live end of the timeline", isLive) || !take("21-timeline-live")) return false;
    return seeRuler() && wait("the events after the ruler", [&] { return browser.strip().isReady() && isAtRest(); });
}

bool Tour::seeRuler() {
    Browser& browser = application_.browser();
    hand_->key(Qt::Key_T);
    if (!wait("the ruler", [&] { return browser.page() == Browser::Page::Ruler && browser.ruler()->canMove(); }))
        return false;
    hand_->key(Qt::Key_Home);
    const auto isFirst = [&] { return browser.player()->state() == State::Playing && !browser.isLive(); };
    if (!wait("the begin of the ruler", isFirst) || !watch("22-ruler-minutes", look)) return false;
    for (const char* picture : {"23-ruler-hours", "24-ruler-days"})
        if (!tapItem("spokenName", "Scale") || !watch(picture, glance)) return false;
    if (!tapItem("spokenName", "Scale") || !seeRange()) return false;
    hand_->key(Qt::Key_End);
    if (!wait("the live end of the ruler",
              [&] { return browser.isLive() && browser.player()->state() == State::Paused; }))
        return false;
    settle();
    if (!tapItem("spokenName", "Scale") || !tapItem("spokenName", "A screen earlier") || !take("27-ruler-scrolled"))
        return false;
    if (!seeCalendar()) return false;
    hand_->key(Qt::Key_T);
    return true;
}

bool Tour::seeCalendar() {
    Browser& browser = application_.browser();
    if (!tapItem("spokenName", "Calendar")) return false;
    if (!wait("the days of the calendar", [this] { return !recordedDays().empty(); }) || !take("28-ruler-calendar"))
        return false;
    QQuickItem* const day = recordedDays().front();
    hand_->tap(day->mapToScene({day->width() / 2, day->height() / 2}));
    hand_->leave();
    const auto isThere = [&] { return browser.player()->state() == State::Playing && !browser.isLive(); };
    if (!wait("the day that was chosen", isThere) || !watch("29-ruler-day", glance)) return false;
    hand_->key(Qt::Key_Escape);
    hand_->key(Qt::Key_End);
    return wait("the live end after the calendar", [&] { return browser.isLive(); });
}

std::vector<QQuickItem*> Tour::recordedDays() const {
    const auto isRecordedDay = [](const QQuickItem& item) { return item.property("isMarked").toBool(); };
    return itemsIn(*application_.window()->contentItem(), isRecordedDay);
}

bool Tour::seeRange() {
    const RulerHost& ruler = *application_.browser().ruler();
    hand_->key(Qt::Key_R);
    if (!wait("the range", [&] { return ruler.hasRange(); }) || !watch("25-ruler-range", glance)) return false;
    hand_->key(Qt::Key_R);
    if (!options_.isResizing) return true;
    QQuickWindow& window = *application_.window();
    const QSize before = window.size();
    window.resize(390, 844);
    const bool isSeen = watch("26-ruler-narrow", glance) && tapItem("spokenName", "Calendar") &&
                        wait("the days in a narrow window", [this] { return !recordedDays().empty(); }) &&
                        take("37-ruler-narrow-days") && tapItem("spokenName", "Calendar");
    window.resize(before);
    return isSeen;
}

bool Tour::seeFirst() {
    const auto isFirst = [this] { return selected() == application_.browser().strip().entry(1) && isMarked(); };
    return go(Qt::Key_Home, "the first event") && wait("the first event to load", isFirst) && watch("13-first", glance);
}

bool Tour::choose(const char* label, const char* what) {
    if (!tapItem("label", label)) return false;
    // Without a name there is nothing to wait for.
    return *what == 0 || wait(what, [this] { return isMarked(); });
}

bool Tour::tapItem(const char* property, const char* begin) {
    QQuickItem* button = nullptr;
    const auto isButton = [&](const QQuickItem& item) {
        return item.property(property).toString().startsWith(QLatin1String(begin));
    };
    for (QQuickItem* item : itemsIn(*application_.window()->contentItem(), isButton)) button = item;
    if (!button) return fail(std::string("there is nothing to tap on, ") + begin);
    hand_->tap(button->mapToScene({button->width() / 2, button->height() / 2}));
    hand_->leave();
    return true;
}

bool Tour::watch(const char* picture, TimeMs enough) {
    RecordingPlayer& player = *application_.browser().player();
    const auto isOver = [&] { return player.state() == State::Ended || player.state() == State::Paused; };
    // Of an event that lies behind the end of its film there is nothing to play.
    bool hasMoved = !isOver();
    const auto moves = QObject::connect(&player, &RecordingPlayer::stateChanged, [&] { hasMoved = true; });
    // An event that has already ended is played once more.
    if (!hasMoved) hand_->key(Qt::Key_Space);
    const bool isBegun =
        wait("the recording to begin", [&] { return player.state() == State::Playing || (hasMoved && isOver()); });
    QObject::disconnect(moves);
    if (!isBegun) return false;
    const TimeMs from = player.getPosition();
    const auto isSeen = [&] {
        return (isOver() || player.getPosition() >= from + enough) && isAtRest() && isPreviewed();
    };
    return wait("the recording to play", isSeen) && take(picture);
}

bool Tour::seeLooks() {
    Preferences& preferences = application_.preferences();
    if (!seeSheet(Qt::Key_Comma, "30-settings") || !seeSheet(Qt::Key_Question, "31-keys")) return false;
    preferences.setLook(Preferences::Look::Light);
    preferences.setHasTwelveHours(true);
    const bool isSeen = take("32-light") && seeSheet(Qt::Key_Comma, "33-light-settings");
    preferences.setLook(Preferences::Look::Dark);
    preferences.setHasTwelveHours(false);
    return isSeen;
}

bool Tour::seeSheet(Qt::Key key, const char* picture) {
    hand_->key(key);
    const bool isSeen = take(picture);
    hand_->key(Qt::Key_Escape);
    return isSeen;
}

bool Tour::seeSizes() {
    if (!options_.isResizing) return true;
    QQuickWindow& window = *application_.window();
    const QSize before = window.size();
    const bool isSeen = seeInSize(390, 844, "14-narrow") && seeInSize(1680, 720, "15-wide") &&
                        seeInSize(360, 640, "34-narrowest") && seeInSize(844, 390, "35-low") &&
                        seeInSize(2560, 1080, "36-widest");
    window.resize(before);
    return isSeen;
}

bool Tour::seeInSize(int width, int height, const char* picture) {
    QQuickWindow& window = *application_.window();
    window.resize(width, height);
    const auto isResized = [&] {
        return window.contentItem()->width() == width && window.contentItem()->height() == height && isAtRest() &&
               isMarked();
    };
    return wait("the window to change its size", isResized) && watch(picture, look);
}

bool Tour::refuseToken() {
    if (!options_.token.empty()) return true;
    Browser& browser = application_.browser();
    const auto isFault = [&] { return browser.mood() == Browser::Mood::Fault; };
    const auto opens = [&](const QJsonObject& changes) {
        browser.open(changed(import_->token, changes), browser.cameraName());
    };
    // Nobody listens on the first port.
    opens({{"svcp", "http://127.0.0.1:1"}, {"api_p", 1}});
    if (!wait("the service to be away", [&] { return browser.service()->isLost() && isFault(); })) return false;
    if (!take("38-service-away")) return false;
    opens({{"token", "forged.forged"}});
    return wait("the service to refuse a forged token", [&] { return isFault() && !browser.service()->isLost(); }) &&
           take("16-token-refused");
}

std::optional<std::int64_t> Tour::eventBesideMark() const {
    ScrubberView& strip = *application_.browser().strip().view();
    const double half = strip.getConfig().cellWidth() / 2;
    const auto under = strip.getIndexPathFromPointer();
    // Left of the mark, and with room for a finger.
    for (std::int64_t index = under.value_or(0) - 1; index > 0 && beginOf(strip, index) + half >= 8; --index)
        if (isRecorded(strip.getEvent(index))) return index;
    return std::nullopt;
}

bool Tour::isPreviewed() const {
    Browser& browser = application_.browser();
    const bool hasCells = browser.page() == Browser::Page::Events && browser.strip().count() > 0;
    return !hasCells || areCellsFilled(*browser.strip().view());
}

bool Tour::isAtRest() const {
    if (const Browser& browser = application_.browser(); browser.page() == Browser::Page::Timeline)
        return application_.browser().timeline().view()->isAtRest() && !browser.isFlyingOver();
    if (application_.browser().page() == Browser::Page::Ruler) return true;
    ScrubberView& strip = *application_.browser().strip().view();
    const auto under = strip.getIndexPathFromPointer();
    if (!under || application_.browser().isFlyingOver()) return false;
    const double begin = beginOf(strip, *under);
    const auto cells = cellsIn(strip);
    return std::any_of(cells.begin(), cells.end(),
                       [begin](const QQuickItem* cell) { return std::abs(cell->mapToScene({}).x() - begin) <= creep; });
}

const std::shared_ptr<ScrubberEvent>& Tour::selected() const {
    return application_.browser().navigation()->selected();
}

bool Tour::isMarked() const {
    const ScrubberHost& strip = application_.browser().shown();
    const auto index = strip.indexUnderMark();
    return strip.isReady() && index && strip.isAt(selected(), *index);
}

bool Tour::wait(const char* what, const std::function<bool()>& done) {
    return pumpEventsUntil(application_.scheduler(), done, stepBound) ||
           fail(std::string("waited in vain for ") + what);
}

void Tour::settle() {
    pumpEventsUntil(
        application_.scheduler(), [] { return false; }, settleTime);
}

bool Tour::take(const char* name) {
    settle();
    const QImage picture = application_.window()->grabWindow();
    const std::filesystem::path path = options_.pictures / (std::string(name) + ".png");
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
