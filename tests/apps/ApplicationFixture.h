#pragma once

#include <QQuickWindow>
#include <QTest>

#include "korvane/apps/browser/Application.h"
#include "korvane/apps/browser/tour/TourHand.h"
#include "korvane/tests/apps/PlayerFixture.h"

namespace korvane::test {

/// The whole application, led by keys and pointer, against the real service. Each test ends without a fault.
class ApplicationFixture : public PlayerFixture {
  protected:
    using State = RecordingPlayer::State;
    using Page = Browser::Page;

    /// The list has loaded, and the player stands at the live end.
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(PlayerFixture::SetUp());
        application.emplace();
        ASSERT_NE(application->window(), nullptr);
        application->openToken(token);
        ASSERT_TRUE(until([this] { return browser().isListSeen() && player().state() == State::Paused; }));
    }

    void TearDown() override {
        const QStringList faults = application ? application->faults() : QStringList();
        EXPECT_TRUE(faults.isEmpty()) << qPrintable(faults.join('\n'));
        application.reset();
        PlayerFixture::TearDown();
    }

    QQuickWindow& window() { return *application->window(); }
    Browser& browser() { return application->browser(); }
    RecordingPlayer& player() { return *browser().player(); }
    Navigation& navigation() { return *browser().navigation(); }
    void press(Qt::Key key, Qt::KeyboardModifiers with = {}) { QTest::keyClick(&window(), key, with); }
    TourHand hand() { return TourHand(application->scheduler(), window()); }
    bool comesToState(State state) {
        return until([this, state] { return player().state() == state; });
    }

    std::optional<Application> application;
};

}  // namespace korvane::test
