// Every request of a typical use fails once: the host hears of it once, the list stays whole, and the next try gets it.
#include "korvane/base/Log.h"
#include "korvane/calendar/CalendarMonthModel.h"
#include "korvane/calendar/CalendarView.h"
#include "korvane/tests/views/RulerFixture.h"
#include "korvane/tests/views/StripFixture.h"
#include "korvane/views/timeline/ScrubberTimelineView.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

/// Lets the `number`-th of `requests`, as they were made without a failure, fail.
void failAt(ScriptedService& service, const std::vector<ScriptedRequest>& requests, std::size_t number) {
    const std::string& name = requests[number].name;
    for (std::size_t i = 0; i < number; ++i)
        if (requests[i].name == name) service.scriptNext(name, {});
    service.scriptNext(name, Script::failed(503));
}

class Log {
  public:
    Log() {
        setLogSink([this](std::string_view line) { lines.emplace_back(line); });
    }
    ~Log() { setLogSink({}); }
    std::vector<std::string> lines;
};

/// A strip in use, of events or of recorded time.
struct Strip {
    explicit Strip(bool isTimeline) {
        if (isTimeline)
            view = std::make_unique<ScrubberTimelineView>(environment, Rect{}, ui.root());
        else
            view = std::make_unique<ScrubberView>(environment, Rect{}, ui.root());
        view->getConfig().setDataSourceType(isTimeline ? ScrubberDataSourceTypeTimeline : ScrubberDataSourceTypeEvents);
        view->applyConfig();
        view->setDelegate(host.delegate);
        service.addEvents(250, ui.scheduler().utcNow());
        service.withFootage([&](ScriptedFootage& footage) {
            for (const std::int64_t i : {1, 20, 50}) {
                const TimeMs start = ui.scheduler().utcNow() - i * hour;
                footage.addRecord({i, start, start + hour, "", ""});
            }
        });
    }
    ~Strip() {
        view.reset();
        service.releaseAll();
        ui.settle();
    }

    void rest() {
        ui.settle();
        ui.advance(3s, 100ms);
    }

    /// Loads, looks at all pages, and has the second event deleted.
    void use() {
        view->setSource(QString::fromStdString(service.makeToken()));
        rest();
        for (std::int64_t index = 1; index < view->getEventsCount(); index += 20) {
            view->toEventAt(index);
            rest();
        }
        constexpr std::int64_t deleted = 2;
        for (std::int64_t i = 0; i < view->getEventsCount(); ++i) {
            const auto event = view->getEvent(i);
            if (!event || event->identificator() != deleted) continue;
            view->deleteEvent(event, {});
            break;
        }
        rest();
    }

    std::vector<std::string> list() const {
        std::vector<std::string> lines;
        for (std::int64_t i = 0; i < view->getEventsCount(); ++i) {
            const auto event = view->getEvent(i);
            EXPECT_TRUE(event) << i;
            if (!event) continue;
            lines.push_back(std::to_string(event->type()) + " " + std::to_string(event->timeAsValue()));
            for (const auto& child : event->childs()) lines.back() += " " + std::to_string(child->timeAsValue());
        }
        return lines;
    }

    std::size_t failures() const {
        const auto isFailure = [](const auto& line) { return line.starts_with("state") && !line.ends_with(" 0"); };
        return static_cast<std::size_t>(std::ranges::count_if(host.lines, isFailure));
    }

    VirtualUi ui;
    ScriptedService service{ui.scheduler()};
    const TimelineEnvironment environment{nullptr, std::shared_ptr<KorvaneService>(&service, [](auto*) {})};
    RecordingHost host;
    std::unique_ptr<ScrubberWidget> view;
};

class FailingStripTest : public testing::TestWithParam<bool> {};

TEST_P(FailingStripTest, AStripTellsOfItAndHasAllAfterTheNextTry) {
    const std::set<std::string> quiet{"setFullSharedToken", "getTimelineSync", "getEventsSync"};
    std::vector<ScriptedRequest> requests;
    std::vector<std::string> expected;
    {
        Strip strip(GetParam());
        strip.use();
        requests = strip.service.requests();
        expected = strip.list();
        ASSERT_EQ(strip.failures(), 0U);
    }
    for (std::size_t i = 0; i < requests.size(); ++i) {
        SCOPED_TRACE(std::to_string(i) + " " + requests[i].name);
        const Log log;
        Strip strip(GetParam());
        failAt(strip.service, requests, i);
        strip.use();
        // The first connection is only there to be watched, and the others are asked again without the host.
        const bool isMended = i == 0 || quiet.contains(requests[i].name);
        EXPECT_EQ(strip.failures(), isMended ? 0U : 1U);
        EXPECT_TRUE(log.lines.empty()) << log.lines[0];
        const auto list = strip.list();
        EXPECT_TRUE(!isMended || list == expected);
        strip.use();
        EXPECT_EQ(strip.list(), expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Strips, FailingStripTest, testing::Bool());

/// A ruler in use, with its calendar.
struct Ruler : RulerFixture {
    Ruler() {
        for (const int age : {9, 40}) record(now - age * hour, now - (age - 2) * hour);
    }
    void TestBody() override {}

    /// Gives what it shows.
    std::pair<QImage, std::size_t> use() {
        view_->setPlayer(player_);
        watch(3);
        view_->setPosition((now - 39 * hour) / 1000);
        watch(3);
        view_->setCalendarContainer(&place);
        return lookAtCalendar();
    }
    std::pair<QImage, std::size_t> lookAtCalendar() {
        view_->hideCalenadarInExternalView();
        view_->showCalenadarInExternalView();
        watch(6);
        const auto& calendar = *qobject_cast<CalendarView*>(place.childItems().constFirst());
        return {ui_.grab(), calendar.model().month().marks().size()};
    }
    ScriptedService& service() { return service_; }

    const TimeMs now = ui_.scheduler().utcNow();
    QQuickItem place{ui_.root()};
};

TEST(FailingRulerTest, AsksAgainForTheTimelineAndTellsOfTheCalendar) {
    std::vector<ScriptedRequest> requests;
    std::pair<QImage, std::size_t> expected;
    {
        Ruler ruler;
        expected = ruler.use();
        requests = ruler.service().requests();
        ASSERT_EQ(expected.second, 2U);
    }
    for (std::size_t i = 0; i < requests.size(); ++i) {
        SCOPED_TRACE(std::to_string(i) + " " + requests[i].name);
        const Log log;
        Ruler ruler;
        failAt(ruler.service(), requests, i);
        EXPECT_EQ(log.lines.size(), ruler.use() == expected ? 0U : 1U);
        EXPECT_EQ(ruler.lookAtCalendar(), expected);
    }
}

}  // namespace
}  // namespace korvane::test
