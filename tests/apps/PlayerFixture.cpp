#include "korvane/tests/apps/PlayerFixture.h"

#include "korvane/apps/browser/tour/EventPump.h"
#include "korvane/base/UtcTime.h"
#include "korvane/tests/server/TestClip.h"

namespace korvane::test {

void PlayerFixture::writeFootage() {
    for (const char* file : {firstFile, "20261118_070003.mp4", lastFile}) {
        TestClip clip;
        clip.seconds = static_cast<int>(length / 1000);
        clip.movements = {{1, 2}};
        clip.write(folder / file);
    }
}

void PlayerFixture::SetUp() {
    first = parseUtc("2026-11-18T07:00:00Z").value();
    second = first + length;
    last = first + 600'000;
    writeFootage();
    std::string fault;
    FootageService::Handlers told;
    told.started = [this](const auto& started) { token = started.token; };
    told.failed = [&](const std::string& reason) { fault = reason; };
    footage = std::make_unique<FootageService>(scheduler, std::move(told));
    footage->start(folder.path());
    ASSERT_TRUE(until([&] { return !token.empty() || !fault.empty(); }));
    ASSERT_EQ(fault, "");
    link.emplace(scheduler, service);
    link->open(token, [this](const auto& opened, const std::string&, std::int32_t) { camera = opened; });
    ASSERT_TRUE(until([this] { return camera != nullptr; }));
    player.emplace(scheduler, *service.helpers());
    player->setCamera(camera);
}

void PlayerFixture::TearDown() {
    player.reset();
    link.reset();
}

bool PlayerFixture::until(const std::function<bool()>& done) {
    return pumpEventsUntil(scheduler, done, std::chrono::seconds(60));
}

}  // namespace korvane::test
