// The strip in the whole application, led by keys and pointer, against the real service.
#include <QUrl>
#include <atomic>
#include <chrono>
#include <cmath>
#include <limits>

#include "korvane/apps/browser/StatusText.h"
#include "korvane/apps/browser/tour/EventPump.h"
#include "korvane/apps/browser/tour/TourEye.h"
#include "korvane/client/TokenReader.h"
#include "korvane/server/CameraServer.h"
#include "korvane/server/Database.h"
#include "korvane/server/Importer.h"
#include "korvane/server/Storage.h"
#include "korvane/tests/apps/ApplicationFixture.h"
#include "korvane/tests/server/TestClip.h"

namespace korvane::test {
namespace {

constexpr int live = 0;
constexpr double rounding =
    1.25;  // points: a step is a multiple of half a point, a cell and the strip are drawn on whole pixels

// A tip ends with its key: "Next (Right)".
QQuickItem* visibleItem(QQuickItem* root, const char* property, const QString& wanted) {
    if (!root->isVisible()) return nullptr;
    const QString text = root->property(property).toString();
    if (text == wanted || text.startsWith(wanted + QLatin1String(" ("))) return root;
    for (QQuickItem* child : root->childItems())
        if (QQuickItem* found = visibleItem(child, property, wanted)) return found;
    return nullptr;
}

/// Nine events of about two seconds, in three films: two that touch, and one two hours later.
class StripTest : public ApplicationFixture {
  protected:
    void writeFootage() override {
        TestClip clip;
        clip.seconds = 20;
        clip.movements = {{2, 4}, {9, 11}, {15, 17}};
        for (const char* file : {"20261118_070000.mp4", "20261118_070020.mp4", "20261118_090000.mp4"})
            clip.write(folder / file);
    }

    StripHost& strip() { return browser().strip(); }

    void click(const char* property, const QString& wanted) {
        QQuickItem* button = visibleItem(window().contentItem(), property, wanted);
        ASSERT_NE(button, nullptr) << qPrintable(wanted);
        const QPointF middle = button->mapToScene({button->width() / 2, button->height() / 2});
        QTest::mouseClick(&window(), Qt::LeftButton, {}, middle.toPoint());
    }

    bool comesTo(int index) {
        return until([this, index] { return index == live ? isAtLiveEnd() : plays(index); });
    }

    bool isAtLiveEnd() {
        return browser().isLive() && !navigation().selected() && strip().indexUnderMark() == strip().count() + 1;
    }

    bool plays(std::int64_t index) {
        const auto& event = navigation().selected();
        return event && strip().isReady() && strip().indexUnderMark() == index && strip().entry(index) == event &&
               player().state() == State::Playing && player().getPosition() >= event->start() &&
               player().getPosition() <= event->end();
    }

    /// Points from where the selected entry rests to where the player is: its span lies over its picture.
    double offsetOfPlayer() {
        const auto& event = navigation().selected();
        const auto duration = static_cast<double>(event->end() - event->start());
        // Head and live entry are wider.
        double width = strip().view()->getConfig().cellWidth();
        for (const QQuickItem* cell : cellsIn(*strip().view())) {
            width = std::min(width, qvariant_cast<QQuickItem*>(cell->property("previewImageView"))->width());
        }
        return width * static_cast<double>(player().getPosition() - event->start()) / duration;
    }

    /// The same of the mark, as a person sees it while the strip moves: from the cell that is nearest to its place.
    double offsetOfMark() {
        constexpr double resting = 1.5;  // an entry rests with its begin so far left of the mark
        const auto index = strip().indexUnderMark();
        if (!index) return -1;
        const double expected = strip().view()->getOffsetBetweenPointerAndItemBegin(*index);
        double seen = std::numeric_limits<double>::infinity();
        for (const QQuickItem* cell : cellsIn(*strip().view())) {
            const double offset =
                strip().view()->width() / 2 - resting - cell->mapToItem(strip().view(), QPointF()).x();
            if (std::abs(offset - expected) < std::abs(seen - expected)) seen = offset;
        }
        return seen;
    }

    /// Holds the player, so that the strip's next advance goes to where it is.
    void expectMarkAtPlayer(const char* way) {
        press(Qt::Key_Space);
        ASSERT_TRUE(comesToState(State::Paused)) << way;
        EXPECT_TRUE(until([this] { return std::abs(offsetOfMark() - offsetOfPlayer()) <= rounding; }))
            << way << ": mark " << offsetOfMark() << ", player " << offsetOfPlayer();
    }

    /// Drags the strip by so many points; to the left is on in time.
    void drag(double points) {
        TourHand finger = hand();
        const ScrubberView& view = *strip().view();
        const QPointF mark = view.mapToScene({view.width() / 2, view.height() / 2});
        finger.press(mark);
        finger.drag(mark + QPointF(points, 0), 8);
        finger.release();
    }
};

TEST_F(StripTest, KeysAndButtonsGoFromEventToEvent) {
    struct Step {
        Qt::Key key;      // or
        const char* tip;  // of a button
        int expected;
    };
    constexpr auto none = Qt::Key_unknown;
    for (const Step& step : std::vector<Step>{
             {none, "Previous", 9},
             {Qt::Key_Home, "", 1},
             {Qt::Key_Right, "", 2},
             {none, "Next", 3},
             {none, "Last", 9},
             {Qt::Key_Left, "", 8},
             {Qt::Key_PageUp, "", 7},  // the first within the last hour
             {Qt::Key_PageUp, "", 6},  // nothing within it: the one before
             {none, "An hour back", 1},
             {none, "An hour on", 7},
             {Qt::Key_PageDown, "", live},
             {none, "First", 1},
             {Qt::Key_End, "", 9},
             {Qt::Key_Right, "", live},
         }) {
        if (step.key == none)
            ASSERT_NO_FATAL_FAILURE(click("tip", QLatin1String(step.tip)));
        else
            press(step.key);
        ASSERT_TRUE(comesTo(step.expected))
            << step.key << step.tip << " to " << step.expected << ", is at " << strip().indexUnderMark().value_or(-1);
        EXPECT_EQ(navigation().canGoBack(), step.expected != 1);
        EXPECT_EQ(navigation().canGoOn(), step.expected != live);
        EXPECT_EQ(navigation().canDelete(), step.expected != live);
    }
}

TEST_F(StripTest, DeletesOnlyWhatWasConfirmedAndSaysWhatWasRefused) {
    press(Qt::Key_Home);
    ASSERT_TRUE(comesTo(1));
    const auto next = strip().entry(2);
    for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return}) {
        press(Qt::Key_Delete);
        EXPECT_FALSE(navigation().doomed().isEmpty());
        press(Qt::Key_Right);
        press(key);
        EXPECT_TRUE(navigation().doomed().isEmpty() && plays(1)) << "what the question stands over stays";
    }
    press(Qt::Key_Delete);
    press(Qt::Key_Tab);
    press(Qt::Key_Return);
    ASSERT_TRUE(comesTo(1));
    ASSERT_TRUE(until([&] { return navigation().selected() == next && browser().count() == "8 events"; }));

    {
        Database writer(defaultDatabase(folder.path()));
        const DatabaseTransaction held(writer);
        press(Qt::Key_Delete);
        press(Qt::Key_Tab);
        press(Qt::Key_Return);
        ASSERT_TRUE(until([this] { return browser().message().contains("busy"); }));
        EXPECT_EQ(browser().count(), "8 events");
        EXPECT_FALSE(browser().service()->isLost());
    }
    ASSERT_TRUE(until([this] { return browser().count() == "7 events"; })) << "asked again";
    ASSERT_TRUE(until([this] { return !browser().message().contains("busy"); }));
    ASSERT_TRUE(comesTo(1));
    const auto third = navigation().selected();

    std::atomic<bool> isGoneAtService = false;
    camera->deleteEvent(third->identificator().value(), [&](const auto&, std::int32_t) { isGoneAtService = true; });
    ASSERT_TRUE(until([&] { return isGoneAtService.load(); }));
    ASSERT_NO_FATAL_FAILURE(click("tip", "Delete this event"));
    ASSERT_NO_FATAL_FAILURE(click("text", "Delete"));
    ASSERT_TRUE(until([this] { return browser().mood() == Browser::Mood::Warning; }));
    EXPECT_EQ(browser().message(), "Not deleted: " + deletionFault(404));
    EXPECT_EQ(browser().count(), "7 events");
}

TEST_F(StripTest, SwitchesChangeTheListAndKeepTheMoment) {
    press(Qt::Key_End);
    ASSERT_TRUE(comesTo(9));
    const std::tuple<const char*, QString, int> steps[] = {
        {"Recordings", "3 recordings", 3},
        {"Group", "3 recordings, grouped", 2},
        {"Recordings", "9 events, grouped", 2},
        {"Group", "9 events", 9},
    };
    for (const auto& [label, count, index] : steps) {
        const TimeMs before = player().getPosition();
        ASSERT_NO_FATAL_FAILURE(click("label", QLatin1String(label)));
        ASSERT_TRUE(until([&, expected = count] { return browser().count() == expected; })) << label;
        ASSERT_TRUE(comesTo(index)) << label << ", is at " << strip().indexUnderMark().value_or(-1);
        EXPECT_GE(player().getPosition(), before) << label;
        EXPECT_EQ(navigation().canDelete(), index == 9);
    }
    const auto late = ScrubberEvent::build();
    strip().view()->getDelegate()->OnScrubberDidSelectEvent(late);
    late->assign(strip().entry(2)->fields());
    strip().view()->setState(ScrubberStateReady, 0);
    EXPECT_TRUE(until([&] { return navigation().selected() == late; })) << "selected before its page came";
}

TEST_F(StripTest, AServiceThatComesBackIsFoundByAllParts) {
    press(Qt::Key_Home);
    ASSERT_TRUE(comesTo(1));
    press(Qt::Key_Space);
    ASSERT_TRUE(comesToState(State::Paused));
    const TimeMs before = player().getPosition();
    const std::string address = readToken(token, "https", 443, 0).baseUrl;
    footage.reset();
    ServiceWatch& watch = *browser().service();
    press(Qt::Key_End);
    ASSERT_TRUE(until([&] { return watch.isLost(); }));
    EXPECT_EQ(browser().mood(), Browser::Mood::Fault);
    press(Qt::Key_Left);
    ASSERT_TRUE(until([&] { return strip().indexUnderMark() == 8 && player().getPosition() > before; }));
    press(Qt::Key_Space);
    ASSERT_TRUE(until([&] { return watch.isLost() && !watch.isTrying(); })) << "by hand it tries at once";

    CameraServerOptions options;
    options.port = static_cast<std::uint16_t>(QUrl(QString::fromStdString(address)).port());
    CameraServer back(defaultDatabase(folder.path()), options);
    ASSERT_TRUE(back.start());
    watch.tryNow();
    ASSERT_TRUE(until([&] { return !watch.isLost(); }));
    EXPECT_TRUE(comesTo(8)) << "at the moment that was selected meanwhile";
    press(Qt::Key_Left);
    EXPECT_TRUE(comesTo(7)) << "and all goes on";
}

TEST_F(StripTest, WhatComesToTheFolderShowsAndTheMomentStays) {
    const auto storage = std::move(*Storage::open(defaultDatabase(folder.path())));
    const auto comes = [&](const char* file) {
        TestClip clip;
        clip.seconds = 20;
        clip.movements = {{2, 4}};
        clip.write(folder / file);
        ASSERT_TRUE(importFolder(*storage, folder.path(), {}));
        browser().renewFootage();
    };
    press(Qt::Key_Home);
    ASSERT_TRUE(comesTo(1));
    const auto event = navigation().selected();
    TourHand hand(application->scheduler(), window());
    const ScrubberView& view = *strip().view();
    const QPointF mark = view.mapToScene({view.width() / 2, view.height() / 2});
    hand.press(mark);
    hand.drag(mark - QPointF(20, 0), 4);
    ASSERT_NO_FATAL_FAILURE(comes("20261118_060000.mp4"));
    EXPECT_FALSE(pumpEventsUntil(
        scheduler, [this] { return browser().count() != "9 events"; }, std::chrono::milliseconds(600)))
        << "under a hand";
    hand.release();
    ASSERT_TRUE(until([this] { return browser().count() == "10 events"; }));
    EXPECT_TRUE(until([&] {
        const auto index = strip().indexUnderMark();
        return index == 2 && strip().entry(*index)->identificator() == event->identificator();
    })) << strip().indexUnderMark().value_or(-1);
    const TimeMs at = player().getPosition();
    EXPECT_TRUE(at > event->start() && at < event->end()) << "the player stays where the hand has left it";

    press(Qt::Key_End);
    press(Qt::Key_Right);
    ASSERT_TRUE(comesTo(live));
    ASSERT_NO_FATAL_FAILURE(comes("20261118_100000.mp4"));
    EXPECT_TRUE(until([&] { return player().getPosition() >= first + 3 * 3'600'000; })) << "the newest picture";
    EXPECT_TRUE(comesTo(live));
}

TEST_F(StripTest, TheMarkStandsWhereThePlayerIs) {
    press(Qt::Key_Home);
    ASSERT_TRUE(comesTo(1));
    ASSERT_NO_FATAL_FAILURE(expectMarkAtPlayer("a jump"));

    const TimeMs before = player().getPosition();
    drag(-40);
    ASSERT_TRUE(until([&] { return player().state() == State::Paused && player().getPosition() > before + 5'000; }));
    EXPECT_EQ(navigation().selected(), strip().entry(1)) << "a drag within the entry seeks in it";
    press(Qt::Key_Space);
    ASSERT_TRUE(comesTo(1));
    ASSERT_NO_FATAL_FAILURE(expectMarkAtPlayer("a drag"));

    drag(-160);
    ASSERT_TRUE(comesTo(2)) << "a drag to another entry plays it";
    ASSERT_NO_FATAL_FAILURE(expectMarkAtPlayer("a snap"));

    // The entry outlasts the film that holds it; what overlaps it has nothing more to show, and the next film begins.
    press(Qt::Key_Left);
    ASSERT_TRUE(comesTo(1));
    ASSERT_NO_FATAL_FAILURE(click("label", "Play on"));
    player().setPosition(first + 39'500);
    ASSERT_TRUE(comesTo(7));
    ASSERT_NO_FATAL_FAILURE(expectMarkAtPlayer("playing on"));
}

TEST_F(StripTest, EndsAnEntryOnceMoreAfterASeekBack) {
    const auto isOver = [this] { return browser().message() == "End of the recording"; };
    press(Qt::Key_Home);
    ASSERT_TRUE(comesTo(1));
    ASSERT_NO_FATAL_FAILURE(click("label", "Recordings"));
    ASSERT_TRUE(until([this] { return browser().count() == "3 recordings"; }));
    ASSERT_TRUE(comesTo(1));
    // The next film touches this one, so nothing but the strip stops the player.
    player().setPosition(first + 19'000);
    ASSERT_TRUE(until(isOver));
    const TimeMs over = player().getPosition();
    drag(40);
    ASSERT_TRUE(until([&] { return player().state() == State::Paused && player().getPosition() < over - 2'000; }));
    EXPECT_FALSE(isOver());
    press(Qt::Key_Space);
    ASSERT_TRUE(comesTo(1));
    ASSERT_NO_FATAL_FAILURE(expectMarkAtPlayer("a seek back"));
    press(Qt::Key_Space);
    player().setPosition(first + 19'000);
    EXPECT_TRUE(until(isOver));
    EXPECT_LT(player().getPosition(), first + 30'000) << "not only where the footage has a hole";
}

TEST_F(StripTest, ASwitchLeavesTheEndBehind) {
    press(Qt::Key_Home);
    ASSERT_TRUE(comesTo(1));
    player().setPosition(first + 39'500);
    ASSERT_TRUE(until([this] { return browser().message() == "End of the event"; }));
    ASSERT_NO_FATAL_FAILURE(click("label", "Group"));
    ASSERT_TRUE(until([this] { return browser().count() == "9 events, grouped" && navigation().selected(); }));
    EXPECT_EQ(browser().message(), "Paused");
}

}  // namespace
}  // namespace korvane::test
