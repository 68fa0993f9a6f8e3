#include <QSignalSpy>
#include <cstdlib>
#include <random>

#include "korvane/apps/browser/RecordingPlayer.h"
#include "korvane/apps/browser/tour/EventPump.h"
#include "korvane/client/IcuHelpers.h"
#include "korvane/tests/client/RawServer.h"
#include "korvane/tests/server/TempFolder.h"
#include "korvane/tests/server/TestClip.h"
#include "korvane/toolkit/QtScheduler.h"

namespace korvane::test {
namespace {

using Answer = RawServer::Answer;
using State = RecordingPlayer::State;
using Then = RecordingPlayer::Then;
using namespace std::chrono_literals;

constexpr TimeMs begin = 1'763'449'200'000;

struct Told {
    TimeMs start;
    TimeMs end;
    std::string url;
};

/// A camera that knows recordings alone.
class ToldCamera : public KorvaneCamera {
  public:
    ToldCamera(const KorvaneHelpers& helpers, std::vector<Told> told) : helpers_(helpers), told_(std::move(told)) {}

    void getRecords(TimeMs from, TimeMs until, int order, std::int64_t, std::int64_t, ReplyCompletion done) override {
        Reply objects = Reply::array();
        for (std::size_t i = 0; i < told_.size(); ++i) {
            const Told& t = told_[order == 0 ? told_.size() - 1 - i : i];
            if (begin + t.end < from || (until >= 0 && begin + t.start >= until)) continue;
            objects.push_back({{"id", t.start}, {"start", text(t.start)}, {"end", text(t.end)}, {"url", t.url}});
        }
        done({{"meta", {{"total_count", objects.size()}}}, {"objects", objects}}, 0);
    }
    std::int64_t getID() const override { return 7; }
    std::string getTimezone() const override { return "UTC"; }
    void setFullSharedToken(const std::string&) override {}
    void getEvents(TimeMs, TimeMs, const std::optional<std::string>&, int, std::int64_t, std::int64_t,
                   ReplyCompletion) override {}
    std::optional<Reply> getEventsSync(TimeMs, TimeMs, const std::optional<std::string>&, int, std::int64_t,
                                       std::int64_t) override {
        return {};
    }
    void getTimelineThumbnailsFull(TimeMs, TimeMs, const std::string&, const std::vector<std::string>&, std::int32_t,
                                   std::int32_t, int, ReplyCompletion) override {}
    void deleteEvent(std::int64_t, ReplyCompletion) override {}
    void getActivity(int, TimeMs, TimeMs, const std::optional<std::string>&, int, int, std::int32_t, std::int32_t,
                     ReplyCompletion) override {}
    std::shared_ptr<Timeline> getTimelineSync(TimeMs, TimeMs) override { return nullptr; }
    std::int32_t getCalendar(TimeMs, TimeMs, std::int32_t, std::int32_t, ReplyCompletion) override { return -1; }

  private:
    std::string text(TimeMs time) const {
        return helpers_.formatTime(begin + time, "yyyy-MM-dd'T'HH:mm:ss.SSS'Z'", "UTC");
    }

    const KorvaneHelpers& helpers_;
    const std::vector<Told> told_;
};

/// A player of films of 3 s, ten pictures a second, that a server of the test's own gives or withholds.
class FilmTest : public testing::Test {
  protected:
    FilmTest() {
        TestClip clip;
        clip.seconds = 3;
        clip.write(folder / "film.mp4");
        std::ifstream in(folder / "film.mp4", std::ios::binary);
        film.assign(std::istreambuf_iterator<char>(in), {});
    }

    void tell(std::vector<Told> told, std::chrono::milliseconds stallTimeout = 1h) {
        player.emplace(scheduler, helpers, nullptr, MediaOptions{5s, stallTimeout, {}});
        player->setCamera(std::make_shared<ToldCamera>(helpers, std::move(told)));
    }
    bool until(const std::function<bool()>& done) { return pumpEventsUntil(scheduler, done, 30s); }
    bool comesTo(State state) {
        return until([&] { return player->state() == state; });
    }
    TimeMs frame() const { return player->framePosition() - begin; }

    TempFolder folder;
    std::string film;
    QtScheduler scheduler;
    IcuHelpers helpers{scheduler};
    RawServer films{[this](const std::string&) { return Answer{RawServer::ok(film), true}; }};
    std::optional<RecordingPlayer> player;
};

TEST_F(FilmTest, AServiceThatDoesNotDeliverHoldsNobodyUp) {
    const auto head = [](std::size_t length) {
        return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n";
    };
    const RawServer::Script scripts[] = {
        [](const std::string&) { return std::nullopt; },
        [&](const std::string&) {
            return Answer{head(film.size()) + film.substr(0, film.size() / 2), true};
        },
        [&](const std::string&) {
            return Answer{head(film.size()) + film.substr(0, 2'000), false};
        },
        [](const std::string&) {
            return Answer{RawServer::ok(std::string(100'000, 'x')), true};
        },
        [](const std::string&) {
            return Answer{RawServer::ok("", "401 No"), true};
        },
    };
    for (const auto& script : scripts) {
        RawServer server(script);
        for (const bool isPatient : {false, true}) {
            tell({{0, 3'000, server.url() + "/film"}}, isPatient ? 300ms : 1h);
            player->open(begin + 2'500, Then::Play);
            const QSignalSpy failures(&*player, &RecordingPlayer::failed);
            if (isPatient)
                EXPECT_TRUE(comesTo(State::Failed)) << &script - scripts;
            else
                EXPECT_TRUE(until([&] { return server.connections() > 0; }));
            EXPECT_LE(failures.size(), 1) << &script - scripts;
            player.reset();  // without the wait of an hour
        }
    }
}

TEST_F(FilmTest, NothingButHttpIsOpenedByWhateverName) {
    const std::string local = (folder / "film.mp4").string();
    RawServer server([&](const std::string& request) {
        if (request.starts_with("GET /moved"))
            return Answer{"HTTP/1.1 302 Found\r\nLocation: file://" + local + "\r\n\r\n"};
        if (request.starts_with("GET /list"))
            return Answer{
                RawServer::ok("#EXTM3U\n#EXT-X-TARGETDURATION:3\n#EXTINF:3,\nfile://" + local + "\n#EXT-X-ENDLIST\n")};
        return Answer{RawServer::ok("ffconcat version 1.0\nfile '" + local + "'\n")};
    });
    const std::vector<std::string> urls = {"file://" + local,
                                           local,
                                           "concat:" + local,
                                           "tcp://127.0.0.1:1?listen=1",
                                           "subfile:,,start,0,end,9,,:" + local,
                                           server.url() + "/moved",
                                           server.url() + "/list.m3u8",
                                           server.url() + "/concat"};
    for (const std::string& url : urls) {
        tell({{0, 3'000, url}});
        QSignalSpy failures(&*player, &RecordingPlayer::failed);
        player->open(begin + 1'000, Then::Play);
        ASSERT_TRUE(comesTo(State::Failed)) << url;
        EXPECT_TRUE(player->sink()->picture().isNull()) << url;
        ASSERT_EQ(failures.size(), 1) << url;
        EXPECT_FALSE(failures[0][0].toString().contains("film.mp4")) << url;
    }
}

TEST_F(FilmTest, NoSecondIsShownTwiceAndNoneIsLeftOut) {
    // The second lies over the end of the first, the fourth within the third's word, which its film does not keep.
    const std::string url = films.url();
    tell(
        {{0, 3'000, url + "/1"}, {2'000, 5'000, url + "/2"}, {5'000, 60'000, url + "/3"}, {7'000, 10'000, url + "/4"}});
    std::vector<TimeMs> frames;
    QObject::connect(&*player, &RecordingPlayer::framePositionChanged, &*player, [&] { frames.push_back(frame()); });
    player->open(begin, Then::Play);
    ASSERT_TRUE(comesTo(State::Ended));
    for (std::size_t i = 1; i < frames.size(); ++i) {
        EXPECT_GT(frames[i], frames[i - 1]);
        EXPECT_LT(frames[i], frames[i - 1] + 2'000);
    }
    EXPECT_EQ(frames.back(), 9'900);
}

TEST_F(FilmTest, AFilmEndsWhereItEnds) {
    const std::string url = films.url();
    tell({{0, 60'000, url + "/1"}, {70'000, 73'000, url + "/2"}});
    player->open(begin + 30'000, Then::Pause);
    ASSERT_TRUE(comesTo(State::Paused));
    EXPECT_EQ(player->getPosition(), begin + 70'000);
    tell({{0, 60'000, url + "/1"}});
    player->openNewest(Then::Pause);
    ASSERT_TRUE(comesTo(State::Paused));
    EXPECT_EQ(frame(), 0) << "the newest stretch of what there is";
    QSignalSpy moves(&*player, &RecordingPlayer::positionChanged);
    player->resume();
    ASSERT_TRUE(comesTo(State::Ended));
    EXPECT_EQ(frame(), 2'900);
}

// Key frames lie so far apart that decoding up to the end would be seen in the processor's time.
TEST_F(FilmTest, AMomentWellBehindTheEndIsNotDecodedFor) {
    TestClip clip;
    clip.seconds = 20;
    clip.keyFrameEvery = 1'000;
    clip.write(folder / "one.mp4");
    const auto copied = [&](const std::string& name, const std::string& options = "") {
        const std::string from = (folder / "one.mp4").string();
        const std::string command = "ffmpeg -v error -y -i " + from + " -c copy " + options + " ";
        EXPECT_EQ(std::system((command + (folder / name).string()).c_str()), 0);
        std::ifstream in(folder / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    std::string cut = copied("fast.mp4", "-movflags +faststart");
    cut.resize(cut.size() * 3 / 4);
    FilmHelper helper;
    for (const auto& bytes : {copied("a.mp4"), copied("a.mkv"), copied("a.ts"), cut}) {
        film = bytes;
        SCOPED_TRACE(film.size());
        Film played(scheduler, helper, films.url() + "/film", MediaOptions{5s, 1h, {}}, false, [] {});
        const auto goTo = [&](TimeMs moment) {
            played.seek(moment, Film::Seek::Exact);
            EXPECT_TRUE(until([&] { return played.front() || played.isAtEnd(); })) << moment;
            return played.take();
        };
        EXPECT_FALSE(goTo(3'600'000));
        const TimeMs end = played.end().value_or(0);
        EXPECT_FALSE(goTo(end + 10'000));
        const auto last = goTo(end + 1'000);
        ASSERT_TRUE(last);
        EXPECT_TRUE(last->isLast);
        EXPECT_LE(std::abs(last->end - end), 100);
        for (const TimeMs moment : {TimeMs{0}, end / 2}) {
            const auto inside = goTo(moment);
            ASSERT_TRUE(inside);
            EXPECT_TRUE(inside->begin <= moment && moment < inside->end) << moment << " " << inside->begin;
        }
    }
}

// There the container finds nothing at all behind the end, not even the picture before it.
TEST_F(FilmTest, AFilmThatEndsBeforeItsContainerKnowsEndsThere) {
    const auto converted = [&](const std::string& name, const std::string& options) {
        const std::string command =
            "ffmpeg -v error -y -i " + (folder / "film.mp4").string() + " -g 5 -bf 0 -c:v libx264 " + options;
        EXPECT_EQ(std::system((command + " " + (folder / name).string()).c_str()), 0);
        std::ifstream in(folder / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    const std::string whole = converted("fast.mp4", "-movflags +faststart");
    const std::string stream = converted("film.ts", "-muxdelay 0");
    for (const std::string& bytes : {whole.substr(0, whole.size() * 3 / 4), stream}) {
        film = bytes;
        SCOPED_TRACE(film.size());
        for (const TimeMs told : {TimeMs{3'600'000'000}, TimeMs{60'000}}) {
            const std::size_t before = films.requests().size();
            tell({{-100'000, -97'000, films.url() + "/0"}, {0, told, films.url() + "/1"}});
            player->openNewest(Then::Pause);
            ASSERT_TRUE(comesTo(State::Paused));
            EXPECT_EQ(frame(), 0) << "not the recording before it";
            const std::size_t asked = films.requests().size() - before;
            EXPECT_LE(asked, 60U);
        }
        const std::size_t before = films.requests().size();
        player->resume();
        ASSERT_TRUE(comesTo(State::Ended));
        EXPECT_GE(frame(), 1'000);
        EXPECT_LE(frame(), 2'900);
        EXPECT_LE(films.requests().size(), before + 10) << "what is known is not asked again";
    }
}

TEST_F(FilmTest, UnderAFingerThePictureOnlyComesNearer) {
    std::vector<Told> told;
    for (TimeMs start = 0; start < 15'000; start += 3'000)
        told.push_back({start, start + 2'999, films.url() + "/" + std::to_string(start)});
    tell(told);
    player->open(begin, Then::Pause);
    ASSERT_TRUE(comesTo(State::Paused));
    TimeMs wish = 0;
    TimeMs shown = frame();
    QObject::connect(&*player, &RecordingPlayer::framePositionChanged, &*player, [&] {
        EXPECT_LE(std::abs(frame() - wish), std::abs(shown - wish)) << wish;
        shown = frame();
    });
    std::minstd_rand random(5);
    for (int stop = 0; stop < 12; ++stop) {
        for (int step = 0; step < 8; ++step) {
            wish = static_cast<TimeMs>(random() % 15'000);
            player->scrubTo(begin + wish);
            for (auto turns = random() % 4; turns > 0; --turns) QCoreApplication::processEvents();
        }
        ASSERT_TRUE(until([&] { return frame() <= wish && wish < frame() + 100; })) << wish << " " << frame();
    }
    EXPECT_EQ(player->getPosition(), begin) << "the position waits for the finger";
    player->endScrub();
    ASSERT_TRUE(comesTo(State::Paused));
    EXPECT_EQ(player->getPosition(), begin + wish);
}

}  // namespace
}  // namespace korvane::test
