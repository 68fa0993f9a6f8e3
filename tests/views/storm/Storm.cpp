#include "korvane/tests/views/storm/Storm.h"

#include <QCoreApplication>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <numeric>
#include <utility>

#include "korvane/views/timeline/Presentation/CellScale.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCell.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t stepsTold = 30;
constexpr auto coarse = 250ms;

}  // namespace

Storm::Storm(std::uint64_t seed, Widget widget)
    : seed_(seed),
      widget_(widget),
      hasLies_(seed % 4 == 0),
      dice_(seed),
      ui_(800, 120, seed),
      service_(ui_.scheduler()),
      environment_{nullptr, std::shared_ptr<KorvaneService>(&service_, [](auto*) {})} {
    fillFootage(dice_.pick({0, 1, 2, 3, 40, 150, 260, 260}));
    makeView();
    view_->setSource(QString::fromStdString(service_.makeToken()));
    ui_.advance(50ms);
    threadsOfService_ = ui_.scheduler().liveThreads();
}

Storm::~Storm() {
    if (view_) endView();
    service_.releaseAll();
    ui_.settle();
}

std::string Storm::run(int steps) {
    const auto& all = allSteps();
    const int total = std::accumulate(all.begin(), all.end(), 0, [](int sum, const Step& s) { return sum + s.weight; });
    for (step_ = 0; step_ < steps && fault_.empty(); ++step_) {
        auto drawn = static_cast<int>(dice_.between(0, total - 1));
        const auto step = std::find_if(all.begin(), all.end(), [&](const Step& s) { return (drawn -= s.weight) < 0; });
        last_.push_back(std::to_string(step_) + " " + step->name);
        if (last_.size() > stepsTold) last_.pop_front();
        note("");
        (this->*step->run)();
        ui_.settle();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        check();
        if (std::getenv("KORVANE_STORM_TRACE")) std::cerr << last_.back() << std::endl;
    }
    if (fault_.empty()) checkEnd();
    return report();
}

void Storm::note(std::string_view text) {
    if (last_.empty()) last_.emplace_back();
    if (!text.empty()) last_.back() += ", ";
    last_.back() += text;
    for (const char c : text) digest_ = (digest_ ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
}

void Storm::complain(const std::string& what) {
    if (fault_.empty()) fault_ = what;
}

std::string Storm::report() const {
    if (fault_.empty()) return {};
    std::string text = "seed " + std::to_string(seed_) + ", step " + std::to_string(step_) + ": " + fault_ + "\n";
    for (const std::string& line : last_) text += "  " + line + "\n";
    return text;
}

std::shared_ptr<Storm::Promise> Storm::promise(const char* name, bool mustBeKept) {
    return promises_.emplace_back(std::make_shared<Promise>(Promise{name, mustBeKept, hosts_.size()}));
}

ReloadingCollectionView& Storm::strip() const {
    auto* const item = qvariant_cast<QObject*>(view_->contentView()->property("scrubberEventsCollectionView"));
    return *qobject_cast<ReloadingCollectionView*>(item);
}

/// The tree of days has a new object for an entry each time it is asked.
bool Storm::isSame(const std::shared_ptr<ScrubberEvent>& one, const std::shared_ptr<ScrubberEvent>& other) const {
    if (one == other || !one || !other) return one == other;
    return hasTimeline() && one->type() == other->type() && one->start() == other->start() &&
           one->identificator() == other->identificator();
}

double Storm::scaleOf(std::int64_t index) const {
    auto* const cell = strip().cellForItemAtIndexPath(index);
    if (auto* const piece = qobject_cast<ScrubberTimelineCell*>(cell)) {
        return piece->containerView() ? piece->containerView()->scaleRect().width : 0;
    }
    const auto* const picture = cell ? qvariant_cast<QQuickItem*>(cell->property("previewImageView")) : nullptr;
    return picture ? picture->width() : 0;
}

void Storm::makeView() {
    StormHost::Link link;
    link.hear = [this](const std::string& what) { note(what); };
    link.underMarkInstead = [this](const auto& event) {
        if (!view_) return std::string();
        const std::int64_t under = view_->indexUnderMark();
        // An entry rests a little to the left of the mark, where a narrow cell is over already.
        for (std::int64_t index = under; index > std::max<std::int64_t>(under - 4, 0); --index) {
            const bool isThere = std::abs(view_->getOffsetBetweenPointerAndItemBegin(index)) < 0.01;
            if (isThere && isSame(view_->getEvent(index), event)) return std::string();
        }
        if (hasTimeline() && isSame(view_->getEvent(under), event)) return std::string();
        return nameOf(view_->getEvent(under));
    };
    link.meddle = [this] { meddle(); };
    link.isCurrent = [this](const auto& event) {
        const auto current = view_ ? view_->getCurrentEvent() : nullptr;
        // A list that is loaded anew may have another object for it by now.
        return !view_ || current == event || (current && current->identificator() == event->identificator());
    };
    link.complain = [this](const std::string& what) { complain(what); };
    link.playsWhatIsSelected = hasTimeline();
    hosts_.push_back(std::make_unique<StormHost>(ui_.scheduler(), dice_, std::move(link)));
    if (hasTimeline()) {
        view_ = std::make_unique<ScrubberTimelineView>(environment_, Rect{}, ui_.root());
        view_->getConfig().setDataSourceType(ScrubberDataSourceTypeTimeline);
    } else {
        view_ = std::make_unique<ScrubberView>(environment_, Rect{}, ui_.root());
    }
    view_->setDelegate(host().delegate());
}

void Storm::endView() {
    StormHost& last = host();
    view_.reset();
    last.viewHasGone();
}

void Storm::check() {
    if (ui_.scheduler().liveThreads() - threadsOfService_ > (view_ ? 1 : 0)) {
        complain(std::to_string(ui_.scheduler().liveThreads() - threadsOfService_) + " cells play");
    }
    checkPromises(false);
    if (!view_) return;
    checkList();
    checkPlayback();
    note(std::to_string(strip().contentOffset().x));
}

void Storm::checkList() {
    const std::int64_t count = view_->getEventsCount();
    if (hasLies_ || view_->getDataSourceDelegate() || count == 0) return;
    const auto first = view_->getEvent(0);
    const auto last = view_->getEvent(count - 1);
    if (count < 2 || !first || first->type() != ScrubberEventTypeHead || !last ||
        last->type() != ScrubberEventTypeLive) {
        complain("the list of " + std::to_string(count) + " has lost its head or its live entry");
    }
}

void Storm::checkPlayback() {
    const bool plays = ui_.scheduler().liveThreads() > threadsOfService_;
    if (view_->getCurrentEvent() && !plays) complain("there is a current event, and no cell plays");
}

void Storm::checkPromises(bool isAtRest) {
    for (const auto& each : promises_) {
        const bool isDue = isAtRest && each->mustBeKept && view_ && each->view == hosts_.size();
        if (each->calls > 1) complain(each->name + ": its completion ran twice");
        if (isDue && each->calls == 0) complain(each->name + ": its completion did not run");
    }
    if (isAtRest) std::erase_if(promises_, [](const auto& each) { return each->mustBeKept; });
}

// The first and the live entry lie on the mark when the strip is beyond its bounds, the further the wider the mark is.
void Storm::checkBounds() {
    constexpr double beyond = 8 + 1.5 + widestMark / 2;
    if (view_->getEventsCount() < 2) return;
    const double offset = strip().contentOffset().x;
    const double most = std::max(0.0, strip().contentSize().width - strip().width());
    if (offset < -beyond - 0.01 || offset > most + beyond + 0.01) {
        complain("the strip rests at " + std::to_string(offset) + ", beyond 0 to " + std::to_string(most));
    }
}

// What plays is in the list and under the mark, which stands where the player was asked last.
void Storm::checkMark() {
    constexpr double narrowest = 20;  // points, below which an entry is hardly under the mark when it rests
    const auto current = view_->getCurrentEvent();
    const std::int64_t under = view_->indexUnderMark();
    const double cellWidth = strip().layoutAttributesForItemAtIndexPath(1).value_or(Rect{}).width;
    const auto poll = host().lastPoll();
    // A player beyond the end of an entry moves the strip no more, wherever the host takes it.
    if (hasTimeline() && host().hasFinished()) return;
    if (current && leftByHost_.lock() == current && isSame(poll.event, current) && poll.position > poll.end) return;
    // While it is loaded anew there is no list to look into.
    if (!current || view_->getEventsCount() < 3 || cellWidth < narrowest) return;
    // In a list made anew what plays goes on until its page has come.
    const auto there = view_->getEvent(under);
    if (there && there->type() == ScrubberEventTypePending) return;
    // At its end an entry may leave the mark to the next one.
    const std::int64_t index = isSame(view_->getEvent(under), current) ? under : under - 1;
    const double offset = view_->getOffsetBetweenPointerAndItemBegin(index);
    const double width = scaleOf(index);
    if (!isSame(view_->getEvent(index), current) || (index < view_->getEventsCount() - 1 && offset > cellWidth + 2)) {
        return complain("the mark is in " + nameOf(view_->getEvent(index)) + ", and " + nameOf(current) + " plays");
    }
    if (!isSame(poll.event, current) || current->type() == ScrubberEventTypeLive || poll.position < 0 ||
        poll.position >= poll.end)
        return;
    const double expected = std::max(0.0, CellScale{poll.start, poll.end, width}.offsetOf(poll.position));
    const double second = width * 1000 / static_cast<double>(poll.end - poll.start);
    if (expected <= width && std::abs(offset - expected) > 1.5 * second + 0.5) {
        complain("the mark is at " + std::to_string(offset) + ", the player at " + std::to_string(expected));
    }
}

// With a service that answers, nothing that is looked at stays pending.
void Storm::checkWhatIsInView() {
    if (view_->getEventsCount() == 0) {
        if (ui_.scheduler().liveThreads() > threadsOfService_) complain("a cell plays, and there is no list");
        strip().layoutIfNeeded();
        if (!strip().indexPathsForVisibleItems().empty()) complain("cells show, and there is no list");
    }
    if (hasLies_ || view_->getDataSourceDelegate() || view_->getEventsCount() < 3) return;
    for (const std::int64_t index : strip().indexPathsForVisibleItems()) {
        const auto event = view_->getEvent(index);
        if (event && event->type() == ScrubberEventTypePending) {
            return complain("entry " + std::to_string(index) + " is looked at and stays pending");
        }
    }
}

void Storm::checkEnd() {
    liftAll();
    if (view_) endView();
    ui_.settle();
    check();
    service_.releaseAllReversed();
    ui_.advance(5s, coarse);
    check();
    if (const int open = service_.openConnections()) complain(std::to_string(open) + " connections are left open");
}

}  // namespace korvane::test
