#include "korvane/base/Base64Url.h"
#include "korvane/client/http/HttpService.h"
#include "korvane/fuzz/FedTransport.h"
#include "korvane/fuzz/Law.h"
#include "korvane/fuzz/StepScheduler.h"
#include "korvane/views/timeline/Model/ScrubberEvents/ScrubberEventsDataProvider.h"
#include "korvane/views/timeline/Model/ScrubberRecords/ScrubberRecordsDataProvider.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDataProvider.h"

using namespace korvane;
using fuzz::require;

namespace {

/// A list that knows of its entries nothing but what it is asked: searches look at one after the other.
class PlainWalk final : public ScrubberDataSourceDelegate {
  public:
    explicit PlainWalk(ScrubberDataSourceDelegate& list) : list_(list) {}
    std::int64_t OnScrubberGetEventsCount() override { return list_.OnScrubberGetEventsCount(); }
    std::shared_ptr<ScrubberEvent> OnScrubberGetEventByIndex(std::int64_t index) override {
        return list_.OnScrubberGetEventByIndex(index);
    }
    std::int32_t OnScrubberDeleteEvent(const std::shared_ptr<ScrubberEvent>&) override { return -1; }

  private:
    ScrubberDataSourceDelegate& list_;
};

constexpr std::int64_t mostLooked = 64;
constexpr std::int64_t mostSought = 4;

void look(ScrubberDataProvider& list) {
    const std::int64_t count = list.OnScrubberGetEventsCount();
    require(count >= 0, "a list has a length");
    require(!list.OnScrubberGetEventByIndex(count) && !list.OnScrubberGetEventByIndex(-1), "nothing lies beyond");
    if (count > mostLooked) return;
    PlainWalk plain(list);
    for (std::int64_t i = 0; i < count; ++i) {
        const auto event = list.OnScrubberGetEventByIndex(i);
        require(event != nullptr, "an entry is there");
        if (i % (count / mostSought + 1) != 0) continue;
        const TimeMs time = event->timeAsValue();
        require(list.OnScrubberFindEventByPosition(time) == plain.OnScrubberFindEventByPosition(time),
                "a search finds what a walk finds");
    }
}

std::shared_ptr<ScrubberSourceBinding> makeProvider(unsigned choice, Scheduler& scheduler, KorvaneService& service) {
    if ((choice & 3U) == 1) return std::make_shared<ScrubberRecordsDataProvider>(scheduler, service);
    if ((choice & 3U) == 2) return std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);
    return std::make_shared<ScrubberEventsDataProvider>(scheduler, service);
}

/// One thing that a view does, and what comes of it.
void act(char step, ScrubberSourceBinding& list, fuzz::StepScheduler& scheduler) {
    const std::int64_t count = list.OnScrubberGetEventsCount();
    const std::int64_t middle = count / 2;
    if (step == 'p') list.checkPartNeedRequested(static_cast<std::uint64_t>(middle), -1, -1);
    if (step == 'o') list.checkPartNeedRequested(1, 1, -1);
    if (step == 'g') list.enableEventGrouping(true);
    if (step == 'u') list.enableEventGrouping(false);
    if (step == 'd') list.deleteEvent(list.OnScrubberGetEventByIndex(middle), [](std::int32_t, const std::string&) {});
    if (step == 'x') list.OnScrubberDeleteEvent(list.OnScrubberGetEventByIndex(middle));
    if (step == 't') list.updateForTime(1'600'000'000'000, true, true);
    if (step == 'r') list.refresh();
    if (step == 'l') list.getUrl(static_cast<std::uint64_t>(middle), -1, [](const auto&) {});
    scheduler.run();
    look(list);
}

}  // namespace

// The kind of list, a line of steps, then the service's replies, the camera's first.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string token =
        encodeBase64Url(R"({"token":"bearer","expires":"","camid":7,"svcp":"http://127.0.0.1:1"})");
    constexpr std::size_t mostSteps = 8;
    const fuzz::Input input(data, size);
    std::string_view replies = input.text;
    const std::string_view steps = fuzz::takeLine(replies).substr(0, mostSteps);
    fuzz::feed(replies);
    fuzz::StepScheduler scheduler;
    HttpService service(scheduler);
    const auto list = makeProvider(input.choice, scheduler, service);
    require(list->setSource(token) == 0, "the token is good");
    scheduler.run();
    look(*list);
    for (const char step : steps) act(step, *list, scheduler);
    list->close();
    require(list->OnScrubberGetEventsCount() == 0, "a list that is closed is empty");
    scheduler.run();
    return 0;
}
