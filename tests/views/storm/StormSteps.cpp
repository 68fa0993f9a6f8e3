#include <limits>

#include "korvane/tests/views/StripFixture.h"
#include "korvane/tests/views/storm/Storm.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

constexpr TimeMs least = std::numeric_limits<TimeMs>::min();
constexpr TimeMs most = std::numeric_limits<TimeMs>::max();
constexpr auto coarse = 250ms;

/// Replies that no service in its right mind gives. The second half breaks what a list is made of.
std::function<void(Reply&)> drawDistortion(Dice& dice, bool isLie) {
    using Alter = void (*)(Reply&);
    static const Alter harmless[] = {
        [](Reply& reply) { reply = nullptr; },
        [](Reply& reply) {
            reply = Reply::array({1, "two"});
        },
        [](Reply& reply) { reply["objects"] = Reply::array(); },
        [](Reply& reply) { reply["objects"] = "none"; },
        [](Reply& reply) {
            for (Reply& object : reply["objects"]) object = {{"id", "seven"}, {"time", 5}, {"thumb", 5}};
        },
        [](Reply& reply) {
            if (reply["objects"].size() > 1) reply["objects"].erase(0);
        },
    };
    static const Alter lies[] = {
        [](Reply& reply) { reply.erase("meta"); },
        [](Reply& reply) { reply["meta"]["total_count"] = 1; },
        [](Reply& reply) { reply["meta"]["total_count"] = 3'000'000'000'000; },
        [](Reply& reply) { reply["meta"]["total_count"] = -5; },
        [](Reply& reply) { reply["meta"]["total_count"] = 5'000; },
        [](Reply& reply) {
            const Reply once = reply["objects"];
            for (const Reply& object : once) reply["objects"].push_back(object);
        },
        [](Reply& reply) {
            for (Reply& object : reply["objects"]) object = 7;
        },
    };
    const auto alter =
        isLie ? lies[dice.between(0, std::ssize(lies) - 1)] : harmless[dice.between(0, std::ssize(harmless) - 1)];
    return [alter](Reply& reply) {
        if (reply.is_object() && reply.contains("objects")) alter(reply);
    };
}

}  // namespace

const std::vector<Storm::Step>& Storm::allSteps() {
    static const std::vector<Step> steps = {
        {20, "pointer", &Storm::stepPointer},
        {6, "drag", &Storm::stepDrag},
        {4, "flick", &Storm::stepFlick},
        {6, "tap", &Storm::stepTap},
        {6, "wheel", &Storm::stepWheel},
        {2, "cancel", &Storm::stepCancel},
        {16, "navigate", &Storm::stepNavigate},
        {4, "scroll to pointer", &Storm::stepScrollToPointer},
        {4, "delete", &Storm::stepDelete},
        {5, "set source", &Storm::stepSetSource},
        {1, "clean", &Storm::stepClean},
        {3, "reload", &Storm::stepReload},
        {4, "resize", &Storm::stepResize},
        {4, "configure", &Storm::stepConfigure},
        {2, "own source", &Storm::stepOwnSource},
        {2, "view", &Storm::stepView},
        {30, "time", &Storm::stepShortTime},
        {6, "long time", &Storm::stepLongTime},
        {8, "script", &Storm::stepScript},
        {6, "release", &Storm::stepRelease},
        {3, "footage", &Storm::stepFootage},
        {4, "mood", &Storm::stepMood},
        {2, "rest", &Storm::stepRest},
    };
    return steps;
}

// Pointers

Point Storm::drawPoint() {
    return {static_cast<double>(dice_.between(0, 799)), static_cast<double>(dice_.between(0, 119))};
}

void Storm::liftAll() {
    for (const auto& [pointer, at] : std::exchange(down_, {})) ui_.release(at, pointer);
}

void Storm::stepPointer() {
    const int pointer = dice_.pick({0, 0, 0, 1, VirtualUi::mouse});
    const Point at = drawPoint();
    note(std::to_string(pointer) + " at " + std::to_string(at.x));
    if (!down_.contains(pointer)) {
        ui_.press(at, pointer);
        down_[pointer] = at;
    } else if (dice_.oneIn(3)) {
        down_.erase(pointer);
        ui_.release(at, pointer);
    } else {
        down_[pointer] = at;
        ui_.move(at, pointer);
    }
}

void Storm::stepDrag() {
    liftAll();
    ui_.drag(drawPoint(), drawPoint(), milliseconds(dice_.between(20, 150)), dice_.oneIn(2));
}

void Storm::stepFlick() {
    liftAll();
    const Point from = drawPoint();
    ui_.drag(from, {from.x + static_cast<double>(dice_.pick({-300, -150, 150, 300})), from.y}, 48ms);
}

void Storm::stepTap() {
    liftAll();
    ui_.tap(drawPoint(), dice_.pick({0, VirtualUi::mouse}));
}

void Storm::stepWheel() {
    const auto turn = static_cast<int>(dice_.pick({-240, -120, -15, 15, 120, 240}));
    const Point at = drawPoint();
    if (dice_.oneIn(2)) {
        ui_.wheel(at, {0, turn});
    } else {
        ui_.wheel(at, {}, {turn, 0});
    }
}

void Storm::stepCancel() {
    if (!view_) return;
    if (dice_.oneIn(2)) {
        strip().ungrabTouchPoints();
    } else {
        strip().ungrabMouse();
    }
}

// What a host asks for

std::shared_ptr<ScrubberEvent> Storm::drawEvent() {
    switch (dice_.between(0, 9)) {
        case 0:
            return nullptr;
        case 1:
            return ScrubberEvent::build(dice_.pick<TimeMs>({-1, 0, 1, 5, least, most}));
        case 2:
            return kept_;
        case 3:
            return ScrubberEvent::build(dice_.between(0, lastId_ + 1), ui_.scheduler().utcNow() - 3'000'000);
        default:
            break;
    }
    const std::int64_t count = view_->getEventsCount();
    auto event =
        view_->getEvent(dice_.oneIn(5) ? dice_.between(-1, 2) : dice_.between(0, std::max<std::int64_t>(count, 1)));
    if (dice_.oneIn(4)) kept_ = event;
    return event;
}

template <typename View>
void Storm::navigate(View& view) {
    const auto event = drawEvent();
    switch (dice_.between(0, 11)) {
        case 0:
            return view.toFirstEvent();
        case 1:
            return view.toLastEvent();
        case 2:
        case 3:
            return view.toNextEvent();
        case 4:
            return view.toPreviousEvent();
        case 5:
            return view.toNextEventWithSendNotify(false);
        case 6:
            return view.toPreviousEventWithSendNotify(false);
        case 7:
        case 8: {
            const TimeMs ago = dice_.pick<TimeMs>({0, 1'000, 900'000, 4'000'000, 90'000'000});
            return view.toClosestEvent(dice_.oneIn(4) ? event : ScrubberEvent::build(ui_.scheduler().utcNow() - ago));
        }
        case 9:
            return view.toEvent(event, dice_.oneIn(2), dice_.oneIn(2));
        case 10:
            return view.toEvent(event, dice_.oneIn(2), true, dice_.pick({0.0, 0.3, -1.0, 2.0}));
        default:
            return view.toEvent(event);
    }
}

void Storm::navigate() {
    if (auto* const timeline = qobject_cast<ScrubberTimelineView*>(view_.get())) {
        if (dice_.oneIn(6)) return timeline->toNextEventOnlyScroll();
        navigate(*timeline);
    } else if (auto* const events = qobject_cast<ScrubberView*>(view_.get())) {
        navigate(*events);
    }
}

// From within a callback, or in a row.
void Storm::meddle() {
    if (!view_) return;
    if (!ui_.scheduler().isMainThread()) {
        note("(from a thread)");
        if (dice_.oneIn(2)) {
            view_->setSource(drawToken());
        } else if (dice_.oneIn(2)) {
            view_->refresh();
        } else {
            view_->scrollToPosition(dice_.oneIn(2));
        }
        return;
    }
    note("(meddles)");
    switch (dice_.between(0, 9)) {
        case 0:
            return stepClean();
        case 1:
            return stepSetSource();
        case 2:
            return stepReload();
        case 3:
            if (dice_.oneIn(3)) return endView();
            return;
        case 4:
            return stepDelete();
        case 5:
            return stepResize();
        default:
            return navigate();
    }
}

void Storm::stepNavigate() {
    if (view_) navigate();
}

void Storm::stepScrollToPointer() {
    if (!view_ || view_->getEventsCount() < 2) return;
    const std::int64_t item = dice_.between(0, view_->getEventsCount() - 1);
    const auto kept = promise("scrollToPointer", item > 0);
    note(std::to_string(item));
    leftByHost_ = view_->getCurrentEvent();
    view_->scrollToPointer(item, dice_.pick({0.0, 0.002, 0.5, 3.0}), [kept] { ++kept->calls; });
}

void Storm::stepDelete() {
    if (!view_) return;
    const auto event = drawEvent();
    const auto kept = promise("deleteEvent", false);
    note(event ? std::to_string(event->identificator().value_or(-1)) : "null");
    const auto status = view_->deleteEvent(event, [this, kept](std::int32_t answer, const std::string&) {
        ++kept->calls;
        note("deleted");
        if (!view_ || kept->view != hosts_.size()) complain("deleteEvent: its completion ran without its view");
        if (answer != 0) complain("deleteEvent: its completion has a status other than 0");
    });
    if (status != 0 && event && view_) note("refused");
}

QString Storm::drawToken() {
    const TimeMs now = ui_.scheduler().utcNow();
    const auto expiring = [&](TimeMs at) { return service_.makeToken(7, service_.helpers()->formatTimeWithSSS(at)); };
    switch (dice_.between(0, 13)) {
        case 0:
            return {};
        case 1:
            return QStringLiteral("no token");
        case 2:
            return QStringLiteral("e30");
        case 3:
            return QString::fromStdString(service_.makeToken(8, ""));
        case 4:
            return QString::fromStdString(service_.makeToken(-1, "yesterday"));
        case 5:
            return QString::fromStdString(expiring(now - 3'600'000));
        case 6:
            return QString::fromStdString(expiring(now + 10'000));
        default:
            return QString::fromStdString(service_.makeToken());
    }
}

void Storm::stepSetSource() {
    if (!view_) return;
    auto& config = view_->getConfig();
    config.setDataSourceType(hasTimeline() ? dice_.pick({2, 2, 2, 2, 0, 1}) : dice_.pick({0, 0, 0, 1, 1, 2, 9}));
    config.setEventGrouping(dice_.oneIn(2));
    config.setContinuousEventPlaying(dice_.oneIn(2));
    const QString token = drawToken();
    const TimeMs now = ui_.scheduler().utcNow();
    const TimeMs start = dice_.pick<TimeMs>({-1, 0, now, now - 600'000, least, most});
    note(std::to_string(config.dataSourceType()) + (config.eventGrouping() ? " grouped" : ""));
    switch (dice_.between(0, 3)) {
        case 0:
            view_->setSource(token, start);
            return;
        case 1:
            view_->setSource(token, start, dice_.pick<TimeMs>({-1, now, least, most}),
                             dice_.oneIn(2) ? std::optional<QString>() : QStringLiteral("motion"), dice_.between(-1, 2),
                             dice_.pick<std::int64_t>({-1, 0, 1, 10, most}), dice_.pick<std::int64_t>({-1, 0, 5, most}),
                             start);
            return;
        default:
            view_->setSource(token);
    }
}

void Storm::stepClean() {
    if (view_) view_->clean();
}

void Storm::stepReload() {
    if (!view_) return;
    switch (dice_.between(0, 3)) {
        case 0:
            view_->refresh();
            return;
        case 1:
            if (auto* const events = qobject_cast<ScrubberView*>(view_.get())) return events->updateScrubberData();
            return;
        case 2:
            return view_->scrollToPosition(dice_.oneIn(2));
        default:
            return view_->reload();
    }
}

void Storm::stepResize() {
    ui_.root()->setSize({static_cast<double>(dice_.pick({800, 800, 500, 1001, 17, 0})),
                         static_cast<double>(dice_.pick({120, 120, 121, 60, 0}))});
}

void Storm::stepConfigure() {
    if (!view_) return;
    auto& config = view_->getConfig();
    config.setCellWidth(dice_.pick({134.35, 134.35, 100.0, 50.0, 3.0, 0.0, -5.0, 1000.0}));
    config.setCellSeparatorWidth(dice_.pick({1.0, 1.0, 0.0, 40.0, -10.0}));
    config.setScrubberCenterMarkWidth(dice_.pick({3.0, 3.0, 0.0, widestMark, -4.0}));
    config.setContinuousEventPlaying(dice_.oneIn(2));
    if (!dice_.oneIn(4)) view_->applyConfig();
}

void Storm::stepOwnSource() {
    if (!view_) return;
    if (dice_.oneIn(2)) {
        view_->setDataSourceDelegate(nullptr);
    } else {
        view_->setDataSourceDelegate(std::make_shared<OwnEvents>(dice_.pick<std::int64_t>({0, 1, 2, 3, 30, 5'000})));
    }
    if (dice_.oneIn(2)) view_->reload();
}

void Storm::stepView() {
    if (view_ && dice_.oneIn(2)) endView();
    if (view_) return;
    if (dice_.oneIn(3)) ui_.advance(milliseconds(dice_.between(1, 500)), coarse);
    makeView();
    if (!dice_.oneIn(4)) view_->setSource(QString::fromStdString(service_.makeToken()));
}

// Time and surroundings

void Storm::stepShortTime() {
    const milliseconds duration(dice_.between(1, 60));
    note(std::to_string(duration.count()));
    ui_.advance(duration);
}

void Storm::stepLongTime() {
    const milliseconds duration(dice_.between(60, 3'000));
    note(std::to_string(duration.count()));
    ui_.advance(duration, coarse);
}

void Storm::stepScript() {
    const std::string name =
        dice_.pick({"getCamera", "getEvents", "getEvents", "getEvents", "getRecords", "getRecords",
                    "getTimelineThumbnailsFull", "deleteEvent", "openSync", "getActivity", "getTimelineSync"});
    Script script;
    script.isHeld = dice_.oneIn(3);
    if (dice_.oneIn(3)) script.delay = milliseconds(dice_.between(1, 2'000));
    if (dice_.oneIn(4)) script.status = dice_.pick({-1, 401, 404, 503, -7});
    if (dice_.oneIn(3)) script.alter = drawDistortion(dice_, hasLies_ && dice_.oneIn(2));
    script.isUnstoppable = dice_.oneIn(4);
    note(name + (script.isHeld ? " held" : "") + (script.status ? " fails" : "") + (script.alter ? " altered" : ""));
    service_.scriptNext(name, std::move(script));
}

void Storm::stepRelease() {
    service_.clearRequests();
    if (dice_.oneIn(2)) {
        service_.releaseAll();
    } else {
        service_.releaseAllReversed();
    }
}

void Storm::fillFootage(std::int64_t count) {
    const TimeMs now = ui_.scheduler().utcNow();
    TimeMs time = now - count * (hasTimeline() ? 300'000 : 15'000);
    service_.withFootage([&](ScriptedFootage& footage) {
        for (std::int64_t i = 0; i < count; ++i) {
            time += dice_.pick<TimeMs>({0, 1'000, 5'000, 10'000, 10'001, 30'000});
            const std::int64_t id = dice_.oneIn(30) ? 0 : ++lastId_;
            footage.addEvent({id, time, dice_.pick({"motion", "doorbell", "Doorbell", ""}), ""});
            if (hasTimeline()) time += dice_.pick<TimeMs>({0, 0, 200'000, 900'000});
            const TimeMs length = dice_.pick<TimeMs>({0, 5'000, 20'000});
            footage.addRecord({id, time, time + (hasTimeline() ? length * dice_.between(1, 60) : length), "", ""});
        }
    });
}

void Storm::stepFootage() {
    if (dice_.oneIn(8)) {
        service_.withFootage([](ScriptedFootage& footage) { footage.clear(); });
    } else if (dice_.oneIn(2)) {
        service_.withFootage([this](ScriptedFootage& footage) { footage.removeEvent(dice_.between(0, lastId_)); });
    } else {
        fillFootage(dice_.pick({1, 5, 120}));
    }
}

void Storm::stepMood() {
    if (view_) host().changeMood();
}

void Storm::stepRest() {
    liftAll();
    if (!view_) return;
    host().calmDown();
    ui_.advance(1'300ms, coarse);
    for (int wait = 0; view_ && (strip().isDragging() || strip().isDecelerating()); ++wait) {
        if (wait > 100) return complain("the strip does not come to rest");
        ui_.advance(coarse, coarse);
    }
    if (!view_) return;
    ui_.advance(1'300ms, coarse);
    checkPromises(true);
    checkBounds();
    if (!view_) return;
    checkMark();
    service_.clearScripts();
    service_.releaseAll();
    ui_.advance(70s, 1s);  // a page that has failed is asked for again after a minute at the latest
    if (view_ && strip().isVisible()) checkWhatIsInView();
}

}  // namespace korvane::test
