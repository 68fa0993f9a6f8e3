#include "korvane/client/Status.h"
#include "korvane/tests/apps/PlayerFixture.h"

namespace korvane::test {
namespace {

using State = RecordingPlayer::State;
using Then = RecordingPlayer::Then;

class RecordingPlayerTest : public PlayerFixture {};

TEST_F(RecordingPlayerTest, JumpsOverAGapSaysSoAndEndsAtTheLastRecording) {
    QSignalSpy gaps(&*player, &RecordingPlayer::gapSkipped);
    player->open(second + 2'000, Then::Play);
    ASSERT_TRUE(until([this] { return player->state() == State::Ended; }));
    ASSERT_EQ(gaps.size(), 1);
    EXPECT_EQ(gaps[0][1].toLongLong(), last);
    EXPECT_GT(player->getPosition(), last + 2'000);
    player->resume();
    EXPECT_TRUE(until([this] { return player->state() == State::Playing && player->getPosition() >= last; }));
}

TEST_F(RecordingPlayerTest, StandsOnTheFrameThatWasAskedFor) {
    for (const TimeMs moment : {first + 1'000, first + 2'200, last + 1'700, second + 300, first + 100}) {
        player->open(moment, Then::Pause);
        ASSERT_TRUE(until([this] { return player->state() == State::Paused; })) << moment;
        EXPECT_EQ(player->getPosition(), moment);
        // The frame that is on screen at that moment: it begins at most a frame's time earlier.
        const auto isThere = [&] {
            const TimeMs frame = player->framePosition();
            return !player->sink()->picture().isNull() && frame <= moment && frame > moment - 250;
        };
        EXPECT_TRUE(until(isThere)) << moment - first << " " << player->framePosition() - first;
    }
}

TEST_F(RecordingPlayerTest, SeeksFromAnyThreadAndStaysPaused) {
    player->open(first + 500, Then::Pause);
    ASSERT_TRUE(until([this] { return player->state() == State::Paused; }));
    scheduler.spawn("seek", [this] { player->setPosition(second + 1'000); })->join();
    EXPECT_TRUE(until([this] { return player->getPosition() == second + 1'000; }));
    EXPECT_TRUE(until([this] { return player->state() == State::Paused; }));
    EXPECT_EQ(player->getSource(), camera);
    player->setPosition(-1);
    player->setCamera(nullptr);
    EXPECT_EQ(player->getPosition(), -1);
    EXPECT_EQ(player->state(), State::Idle);
    player->setPosition(first);
    player->open(first, Then::Play);
    player->openNewest(Then::Play);
    player->resume();
    EXPECT_EQ(player->state(), State::Idle);
}

TEST_F(RecordingPlayerTest, AServiceThatIsGoneIsAFailureWithItsStatus) {
    QSignalSpy failures(&*player, &RecordingPlayer::failed);
    footage.reset();
    player->open(first + 500, Then::Play);
    ASSERT_TRUE(until([this] { return player->state() == State::Failed; }));
    ASSERT_EQ(failures.size(), 1);
    EXPECT_EQ(failures[0][1].toInt(), StatusTransportFailed);
    EXPECT_FALSE(failures[0][0].toString().isEmpty());
}

TEST_F(RecordingPlayerTest, MayGoWhileAnAnswerIsOnItsWayAndTheLastOfManyRequestsWins) {
    for (int time = 0; time < 20; ++time) {
        player->open(first + time * 100, Then::Play);
        player.emplace(scheduler, *service.helpers());
        player->setCamera(camera);
    }
    for (const TimeMs moment : {first, last, second + 1'000, first + 2'000, last + 500, first + 700})
        player->open(moment, Then::Pause);
    ASSERT_TRUE(until([this] { return player->state() == State::Paused; }));
    EXPECT_EQ(player->getPosition(), first + 700);
}

}  // namespace
}  // namespace korvane::test
