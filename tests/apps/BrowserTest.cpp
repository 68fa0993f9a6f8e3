#include "korvane/apps/browser/Browser.h"
#include "korvane/apps/browser/StatusText.h"
#include "korvane/apps/browser/tour/EventPump.h"
#include "korvane/client/Status.h"
#include "korvane/tests/apps/PlayerFixture.h"
#include "korvane/views/timeline/ScrubberViewDelegate.h"

namespace korvane::test {
namespace {

class BrowserTest : public PlayerFixture {
  protected:
    Browser browser{scheduler, service};
};

TEST_F(BrowserTest, SaysWhatIsWrongWithAToken) {
    for (const auto& [text, status] : std::vector<std::pair<QString, int>>{
             {"", StatusTokenSize},
             {"s3cret*", StatusTokenEncoding},
             {"bm8ganNvbg", StatusTokenFormat},
             {"e30", StatusTokenKeys},
         }) {
        browser.open(text, "Gate");
        ASSERT_TRUE(until([this] { return browser.mood() == Browser::Mood::Fault; })) << qPrintable(text);
        EXPECT_EQ(browser.message().toLower(), statusText(status));
        EXPECT_EQ(browser.time(), "");
        EXPECT_EQ(browser.player()->state(), RecordingPlayer::State::Idle);
    }
    browser.open(QString::fromStdString(token), "");
    EXPECT_TRUE(until([this] { return browser.player()->getSource() != nullptr; }));
    EXPECT_EQ(browser.mood(), Browser::Mood::Calm);
    EXPECT_EQ(browser.cameraName(), "Camera 1");
    EXPECT_FALSE(browser.zone().isEmpty());
}

TEST_F(BrowserTest, PlaysTheEventsOwnMomentAfterADragWroteOverIt) {
    browser.open(QString::fromStdString(token), "Gate");
    ASSERT_TRUE(until([this] { return browser.player()->getSource() != nullptr; }));
    const auto event = ScrubberEvent::build(7, first + 1'500);
    event->setTimeAsValue(second + 1'000);
    emit browser.strip().selected(event);
    ASSERT_TRUE(until([this] { return browser.player()->state() == RecordingPlayer::State::Playing; }));
    EXPECT_LT(browser.player()->getPosition(), second);
    EXPECT_FALSE(browser.isLive());

    emit browser.strip().selected(ScrubberEvent::build());
    EXPECT_EQ(browser.player()->state(), RecordingPlayer::State::Paused) << "a slot that is not filled plays nothing";
    emit browser.strip().selected(nullptr);
    emit browser.strip().selected(ScrubberEvent::build(-1));
    EXPECT_TRUE(browser.isLive());
    EXPECT_TRUE(until([this] { return browser.player()->getPosition() == last; }));
}

TEST_F(BrowserTest, WarnsOfAccessThatEnds) {
    browser.open(QString::fromStdString(token), "Gate");
    emit browser.strip().tokenWillExpire(4 * 60'000);
    EXPECT_TRUE(browser.message().contains("4 min")) << qPrintable(browser.message());
    emit browser.strip().stateChanged(0, 404);
    EXPECT_EQ(browser.message().toLower(), statusText(404));
    EXPECT_EQ(browser.mood(), Browser::Mood::Fault);
    emit browser.strip().tokenWillExpire(-1);
    emit browser.strip().stateChanged(0, 0);
    EXPECT_EQ(browser.mood(), Browser::Mood::Calm);
    EXPECT_TRUE(browser.message().contains("ended")) << qPrintable(browser.message());
}

}  // namespace
}  // namespace korvane::test
