#include <algorithm>
#include <string>

#include "korvane/client/JsonReader.h"
#include "korvane/client/http/HttpService.h"
#include "korvane/fuzz/FedTransport.h"
#include "korvane/fuzz/Law.h"
#include "korvane/fuzz/StepScheduler.h"

using namespace korvane;
using fuzz::require;

namespace {

struct Client {
    Client() {
        require(connection->openSync("bearer", "http://127.0.0.1:1") == 0, "the connection opens");
        fuzz::feed(R"(0{"timezone":"Europe/Berlin"})");
        cameras->getCamera(7, [this](auto found, const std::string&, std::int32_t) { camera = std::move(found); });
        scheduler.run();
    }

    fuzz::StepScheduler scheduler;
    HttpService service{scheduler};
    std::shared_ptr<KorvaneShareConnection> connection = service.makeConnection();
    std::shared_ptr<KorvaneCameraList> cameras = service.makeCameraList(connection);
    std::shared_ptr<KorvaneCamera> camera;
};

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), lower);
    return text;
}

bool namesNoForeignAddress(const Reply& reply) {
    for (auto at = reply.begin(); reply.is_structured() && at != reply.end(); ++at) {
        if (!reply.is_object() || !lowered(at.key()).ends_with("url")) {
            if (!namesNoForeignAddress(*at)) return false;
            continue;
        }
        const std::string address = at->is_string() ? lowered(at->get<std::string>()) : "";
        if (!at->is_null() && !address.starts_with("http://") && !address.starts_with("https://")) return false;
    }
    return true;
}

/// Takes one reply.
class Taker {
  public:
    ReplyCompletion completion() {
        return [this](const Reply& reply, std::int32_t status) {
            ++count_;
            require(status == 0 || reply.is_null() || reply.is_string(), "a failure has a text or none");
            require(namesNoForeignAddress(reply), "an address leads to the web");
            const auto again = status == 0 ? readJson(reply.dump()) : reply;
            require(again == reply, "a reply written again reads the same");
        };
    }
    void check() const { require(count_ == 1, "a request is answered once"); }

  private:
    int count_ = 0;
};

void readCamera(Client& client) {
    int count = 0;
    client.cameras->getCamera(7, [&](const auto& camera, const std::string&, std::int32_t status) {
        ++count;
        require((status == 0) == (camera != nullptr), "a camera is found, or a failure told");
        require(!camera || camera->getTimezone().size() <= 100, "a zone has a name");
    });
    client.scheduler.run();
    require(count == 1, "a camera is answered once");
}

void readTimeline(Client& client) {
    const auto timeline = client.camera->getTimelineSync(0, 1000);
    if (!timeline) return;
    const TimelinePair* last = nullptr;
    for (const TimelinePair& period : *timeline->periods()) {
        require(period.start() <= period.end(), "a period has a length");
        require(!last || last->end() < period.start(), "periods ascend");
        last = &period;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Client client;
    const fuzz::Input input(data, size);
    fuzz::feed(input.text);
    if (input.choice == 'c') return readCamera(client), 0;
    if (input.choice == 't') return readTimeline(client), 0;
    if (input.choice == 's') return client.camera->getEventsSync(0, 1, {}, 0, 100, 0), 0;

    Taker taker;
    KorvaneCamera& camera = *client.camera;
    switch (input.choice) {
        case 'd':
            camera.deleteEvent(3, taker.completion());
            break;
        case 'r':
            camera.getRecords(0, 1, 0, 100, 0, taker.completion());
            break;
        case 'p':
            camera.getTimelineThumbnailsFull(0, 1, "recording_thumbnail", {"1"}, 100, 0, 0, taker.completion());
            break;
        case 'a':
            camera.getActivity(1, 0, 1, {}, 0, 0, 100, 0, taker.completion());
            break;
        case 'k':
            require(camera.getCalendar(0, 1, 100, 0, taker.completion()) == 0, "the calendar is asked for");
            break;
        default:
            camera.getEvents(0, 1, {}, 0, 100, 0, taker.completion());
    }
    client.scheduler.run();
    taker.check();
    return 0;
}
