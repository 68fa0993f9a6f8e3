#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "korvane/film/FilmPicture.h"
#include "korvane/film/VideoAnalysis.h"
#include "korvane/film/worker/Sandbox.h"

namespace korvane {
namespace {

std::string little(std::uint32_t value, std::size_t bytes = 4) {
    std::string text;
    for (std::size_t i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
    return text;
}

std::string big(std::uint32_t value) {
    const std::string text = little(value);
    return {text.rbegin(), text.rend()};
}

std::string chunk(const std::string& name, const std::string& content) {
    return name + little(static_cast<std::uint32_t>(content.size())) + content + std::string(content.size() % 2, '\0');
}

std::string pngPart(const std::string& name, const std::string& content) {
    const std::string summed = name + content;
    const uLong sum = ::crc32(0, reinterpret_cast<const Bytef*>(summed.data()), static_cast<uInt>(summed.size()));
    return big(static_cast<std::uint32_t>(content.size())) + summed + big(static_cast<std::uint32_t>(sum));
}

/// A square picture of 32 bits a point, all black.
std::string blackPng(std::uint32_t side) {
    const std::vector<Bytef> rows(std::size_t{side} * (4 * side + 1), 0);
    uLongf size = ::compressBound(rows.size());
    std::string packed(size, '\0');
    ::compress2(reinterpret_cast<Bytef*>(packed.data()), &size, rows.data(), rows.size(), 1);
    packed.resize(size);
    const std::string head = big(side) + big(side) + std::string("\x08\x06\0\0\0", 5);
    return "\x89PNG\r\n\x1a\n" + pngPart("IHDR", head) + pngPart("IDAT", packed) + pngPart("IEND", "");
}

/// A film of ten pictures a second, each of them the same one.
std::string film(const std::string& picture, std::uint32_t side, std::size_t pictures) {
    const auto count = static_cast<std::uint32_t>(pictures);
    const std::string avih = little(100'000) + little(0) + little(0) + little(0x10) + little(count) + little(0) +
                             little(1) + little(0) + little(side) + little(side) + std::string(16, '\0');
    const std::string strh =
        "vidsMPNG" + std::string(12, '\0') + little(1) + little(10) + little(0) + little(count) + std::string(24, '\0');
    const std::string strf =
        little(40) + little(side) + little(side) + little(1, 2) + little(32, 2) + "MPNG" + std::string(20, '\0');
    const std::string lists =
        chunk("LIST", "hdrl" + chunk("avih", avih) + chunk("LIST", "strl" + chunk("strh", strh) + chunk("strf", strf)));
    std::string movi = "movi";
    for (std::size_t i = 0; i < pictures; ++i) movi += chunk("00dc", picture);
    return chunk("RIFF", "AVI " + lists + chunk("LIST", movi));
}

class HostileFilmTest : public testing::Test {
  protected:
    HostileFilmTest() { std::filesystem::create_directories(folder_); }
    ~HostileFilmTest() override { std::filesystem::remove_all(folder_); }

    Descriptor write(const std::string& content) {
        const auto file = folder_ / "film.avi";
        std::ofstream(file, std::ios::binary) << content;
        Descriptor opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
        std::filesystem::remove(file);
        return opened;
    }

    /// Why the film was not analysed; empty when it was.
    std::string analyze(int file, FilmLimits limits, FilmFailure::Kind kind) {
        std::string reason;
        const auto task = helper.begin(file, limits, reason);
        if (!task) return "no process: " + reason;
        if (task->ask(FilmWords(FilmMessage::Analyze).number(1))) return "";
        EXPECT_EQ(task->failure().kind, kind);
        return task->failure().reason;
    }

    FilmHelper helper;

  private:
    const std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() / ("korvane-films-" + std::to_string(::getpid()));
};

std::vector<pid_t> childrenOf(pid_t process) {
    const auto number = std::to_string(process);
    std::ifstream list("/proc/" + number + "/task/" + number + "/children");
    std::vector<pid_t> children;
    for (pid_t child = 0; list >> child;) children.push_back(child);
    return children;
}

TEST_F(HostileFilmTest, WhatAFilmTakesTooMuchOfCostsThatFilmAlone) {
    const auto good = write(film(blackPng(64), 64, 20));
    const auto decodes = [&] { return analyze(good.get(), {}, FilmFailure::Kind::Unreadable); };
    ASSERT_EQ(decodes(), "");
    FilmLimits quick;
    quick.seconds = 1;
    const auto slow = write(film(blackPng(3000), 3000, 300));
    EXPECT_EQ(analyze(slow.get(), quick, FilmFailure::Kind::BeyondLimits), "takes more processor time than a film may");
#ifndef KORVANE_SANITIZED
    FilmLimits small;
    small.bytesOfMemory = 32 * 1024 * 1024;
    EXPECT_EQ(analyze(slow.get(), small, FilmFailure::Kind::BeyondLimits), "takes more memory than a film may");
#endif
    // One that brings its process down, and then the program with it.
    std::string reason;
    for (const bool isWhole : {false, true}) {
        const auto task = helper.begin(slow.get(), {}, reason);
        ASSERT_TRUE(task) << reason;
        const pid_t program = childrenOf(::getpid()).at(0);
        const auto kill = [&] {
            for (const pid_t doomed : isWhole ? std::vector{program} : childrenOf(program)) ::kill(doomed, SIGTERM);
            return false;
        };
        EXPECT_FALSE(task->ask(FilmWords(FilmMessage::Analyze).number(1), {}, kill));
        EXPECT_EQ(task->failure().kind, isWhole ? FilmFailure::Kind::Unavailable : FilmFailure::Kind::BeyondLimits);
        if (!isWhole) {
            EXPECT_EQ(task->failure().reason, "has brought its reader down (signal 15)");
        }
        EXPECT_EQ(decodes(), "");
    }
    const auto lost = write("This is no film at all, but a text that goes on for a while.");
    EXPECT_EQ(analyze(lost.get(), {}, FilmFailure::Kind::Unreadable), "not a video file, or damaged");
}

TEST_F(HostileFilmTest, AFilmThatNobodyWaitsForEndsAtOnce) {
    const auto slow = write(film(blackPng(3000), 3000, 300));
    std::string reason;
    const auto task = helper.begin(slow.get(), {}, reason);
    ASSERT_TRUE(task) << reason;
    int asked = 0;
    EXPECT_FALSE(task->ask(FilmWords(FilmMessage::Analyze).number(1), {}, [&] { return ++asked == 3; }));
    EXPECT_EQ(task->failure().kind, FilmFailure::Kind::Cancelled);
    EXPECT_EQ(asked, 3);
    FilmHelper missing("/nowhere/korvane-film-helper");
    EXPECT_FALSE(missing.begin(slow.get(), {}, reason));
    EXPECT_NE(reason.find("/nowhere/korvane-film-helper, cannot be started"), std::string::npos) << reason;
    const auto analysis = analyzeVideo(missing, slow.get(), {});
    ASSERT_FALSE(analysis);
    EXPECT_TRUE(analysis.error().isBusy) << "which says nothing of the file";
}

// What a process may do that a hostile film has taken over.
TEST(FilmTaskTest, EndsWhateverTheOtherEndSays) {
    const FilmWords nonsense[] = {FilmWords(FilmMessage::Read).number(-1).number(1 << 30),
                                  FilmWords(FilmMessage::AskRoom).number(1LL << 60),
                                  FilmWords(FilmMessage::Motion).number(7).text(std::string(50'000, 'x')),
                                  FilmWords(FilmMessage::Ended).number(1'000),
                                  FilmWords(FilmMessage::Analyze),
                                  FilmWords(FilmMessage::Failed)};
    for (const FilmWords& words : nonsense) {
        auto [own, theirs] = FilmChannel::makePair();
        const auto helper = std::make_shared<const Descriptor>(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        FilmTask task(std::move(own), Descriptor(::memfd_create("room", MFD_CLOEXEC)), helper,
                      std::chrono::milliseconds(50));
        // As many as there is room for, and no answer is ever read.
        for (int i = 0; i < 2'000; ++i) theirs.sendNow(words);
        int asked = 0;
        EXPECT_FALSE(task.ask(FilmWords(FilmMessage::Step), {}, [&] { return ++asked > 1'000; }))
            << static_cast<int>(words.bytes().front());
        EXPECT_TRUE(task.room().empty());
    }
    auto [own, theirs] = FilmChannel::makePair();
    const auto helper = std::make_shared<const Descriptor>(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    FilmTask silent(std::move(own), Descriptor(), helper, std::chrono::milliseconds(0));
    EXPECT_FALSE(silent.ask(FilmWords(FilmMessage::Step)));
    EXPECT_EQ(silent.failure().reason, "has made its reader wait");
    // One that always has something to say, and never the answer.
    auto [listening, talking] = FilmChannel::makePair();
    FilmTask endless(std::move(listening), Descriptor(), helper, std::chrono::milliseconds(20));
    const auto talk = [&end = talking] { end.sendNow(FilmWords(FilmMessage::Progress).number(1)); };
    talk();
    int heard = 0;
    EXPECT_FALSE(endless.ask(
        FilmWords(FilmMessage::Step), [&](FilmNews&) { talk(); }, [&] { return ++heard > 2'000'000; }));
    EXPECT_EQ(endless.failure().reason, "has made its reader wait") << heard;
}

TEST(FilmChannelTest, HearsTheLastWordsOfOneThatHasNotHeardAll) {
    auto [own, theirs] = FilmChannel::makePair();
    ASSERT_TRUE(own.send(FilmWords(FilmMessage::Step)));
    theirs.sendNow(FilmWords(FilmMessage::Ended).number(SIGXCPU));
    theirs = {};
    FilmChannel::State state = FilmChannel::State::Open;
    auto last = own.receive(state);
    ASSERT_TRUE(last);
    EXPECT_EQ(last->number(), SIGXCPU);
    EXPECT_FALSE(own.receive(state));
    EXPECT_EQ(state, FilmChannel::State::Closed);
}

TEST(FilmTaskTest, ShowsNoPictureThatTheRoomDoesNotHold) {
    const std::int64_t sizes[][3] = {{0, 0, 0}, {2, 2, 8},        {-4, 4, 16}, {1 << 20, 1 << 20, 1 << 22},
                                     {4, 1, 4}, {1, 1, INT64_MAX}};
    auto [own, theirs] = FilmChannel::makePair();
    const FilmTask task(std::move(own), Descriptor(), nullptr, std::chrono::hours(1));
    for (const auto& [width, height, stride] : sizes) {
        FilmNews answer(FilmWords(FilmMessage::Done).number(width).number(height).number(stride).bytes());
        EXPECT_FALSE(readPicture(answer, task)) << width << " x " << height;
    }
}

#ifndef KORVANE_SANITIZED
TEST(SandboxTest, TakesWhatAFilmDoesNotNeed) {
    struct Deed {
        const char* name;
        bool (*succeeds)();
    };
    const Deed deeds[] = {
        {"a file is opened", [] { return ::open("/dev/null", O_RDONLY) >= 0; }},
        {"a file is made", [] { return ::open("/tmp", O_TMPFILE | O_WRONLY, 0600) >= 0; }},
        {"a connection is made", [] { return ::socket(AF_INET, SOCK_STREAM, 0) >= 0; }},
        {"a program is started", [] { return ::execl("/bin/false", "false", nullptr) == 0; }},
        {"a process is made", [] { return ::fork() >= 0; }},
        {"another process is ended",
         [] { return ::kill(::getppid(), 0) == 0 || ::tgkill(::getppid(), ::getppid(), 0) == 0; }},
        {"a limit is raised",
         [] {
             const rlimit more{128 << 20, 128 << 20};
             return ::setrlimit(RLIMIT_DATA, &more) == 0 || ::prlimit(::getppid(), RLIMIT_CPU, nullptr, nullptr) == 0;
         }},
        {"memory is not counted",
         [] {
             const int flags = MAP_SHARED | MAP_ANONYMOUS;
             return ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, flags, -1, 0) != MAP_FAILED;
         }},
        {"code is made", [] {
             return ::mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
         }}};
    for (const Deed& deed : deeds) {
        const pid_t process = ::fork();
        if (process == 0)
            ::_exit(!enterSandbox({HelperOrder::current, 64 << 20, 5, 0}, -1) ? 2 : deed.succeeds() ? 1 : 0);
        int status = -1;
        ASSERT_EQ(::waitpid(process, &status, 0), process);
        EXPECT_EQ(status, 0) << deed.name;
    }
}
#endif

}  // namespace
}  // namespace korvane
