#include "korvane/apps/browser/Browser.h"
#include "korvane/apps/browser/tour/EventPump.h"
#include "korvane/tests/apps/PlayerFixture.h"
#include "korvane/views/timeline/ScrubberViewDelegate.h"

namespace korvane::test {
namespace {

class BrowserTest : public PlayerFixture {
  protected:
    Browser browser{scheduler, service};
};

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

}  // namespace
}  // namespace korvane::test
