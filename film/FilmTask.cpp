#include "korvane/film/FilmTask.h"

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <utility>

#include "korvane/base/Printable.h"
#include "korvane/film/HelperOrder.h"

namespace korvane {
namespace {

constexpr std::chrono::milliseconds betweenLooks(20);
constexpr std::chrono::milliseconds untilGone(100);
constexpr std::int64_t mostRoom = 300LL * 1024 * 1024;
constexpr std::size_t longestReason = 200;
constexpr std::int64_t mostAtATime = 256LL * 1024;

constexpr const char* wantOfMemory = "takes more memory than a film may";

std::string reasonOf(int signal) {
    if (signal == endForMemory) return wantOfMemory;
    if (signal == SIGKILL) return "was ended from outside";
    if (signal == SIGXCPU) return "takes more processor time than a film may";
    if (signal == 0) return "has made its reader end";
    return "has brought its reader down (signal " + std::to_string(signal) + ")";
}

}  // namespace

FilmTask::FilmTask(FilmChannel channel, Descriptor room, std::shared_ptr<const Descriptor> helper,
                   std::chrono::milliseconds patience)
    : channel_(std::move(channel)), memory_(std::move(room)), helper_(std::move(helper)), patience_(patience) {}

FilmTask::~FilmTask() {
    if (room_) ::munmap(const_cast<std::uint8_t*>(room_), roomBytes_);
}

void FilmTask::fail(FilmFailure::Kind kind, std::string reason) {
    failure_ = {kind, false, std::move(reason)};
    isOver_ = isOver_ || kind != FilmFailure::Kind::Unreadable;
}

void FilmTask::noteFailure(FilmNews& news) {
    if (news.type() == FilmMessage::Ended) {
        const auto signal = static_cast<int>(news.number(endWithoutProcess, 64));
        if (signal == endWithoutProcess)
            return fail(FilmFailure::Kind::Unavailable, "cannot be read: the system gives no process for it");
        if (signal == endWithoutSandbox)
            return fail(FilmFailure::Kind::Unavailable, "cannot be read: the system refuses the walls around films");
        fail(FilmFailure::Kind::BeyondLimits, reasonOf(signal));
        failure_.isMemory = signal == endForMemory;
        return;
    }
    const bool isMemory = news.number() == 1;
    fail(isMemory ? FilmFailure::Kind::BeyondLimits : FilmFailure::Kind::Unreadable,
         isMemory ? wantOfMemory : printable(news.text().substr(0, longestReason)));
    failure_.isMemory = isMemory;
}

void FilmTask::makeRoom(std::int64_t bytes) {
    const auto wanted = static_cast<std::size_t>(std::clamp<std::int64_t>(bytes, 0, mostRoom));
    if (wanted <= roomBytes_ || wanted != static_cast<std::size_t>(bytes)) return;
    if (::ftruncate(memory_.get(), static_cast<off_t>(wanted)) != 0) return;
    void* const made = ::mmap(nullptr, wanted, PROT_READ, MAP_SHARED, memory_.get(), 0);
    if (made == MAP_FAILED) return;
    if (room_) ::munmap(const_cast<std::uint8_t*>(room_), roomBytes_);
    room_ = static_cast<const std::uint8_t*>(made);
    roomBytes_ = wanted;
}

bool FilmTask::sendBytes(FilmNews& question, const IsOver& isOver) {
    const std::int64_t position = question.number();
    buffer_.resize(static_cast<std::size_t>(question.number(0, mostAtATime)));
    std::size_t got = 0;
    if (source_ && position >= 0 && !buffer_.empty()) {
        source_->seek(position);
        got = source_->read({reinterpret_cast<std::uint8_t*>(buffer_.data()), buffer_.size()});
    }
    const bool hasFailed = !source_ || source_->hasFailed();
    return channel_.send(FilmWords(FilmMessage::Bytes).text(std::string_view(buffer_).substr(0, got)).number(hasFailed),
                         isOver);
}

/// What the process asks while it works. False when it can no longer be answered.
bool FilmTask::answer(FilmNews& question, const IsOver& isOver) {
    switch (question.type()) {
        case FilmMessage::Read:
            return sendBytes(question, isOver);
        case FilmMessage::AskSize:
            return channel_.send(FilmWords(FilmMessage::Size).number(source_ ? source_->size().value_or(-1) : -1),
                                 isOver);
        default:
            makeRoom(question.number());
            return channel_.send(FilmWords(FilmMessage::Room).number(static_cast<std::int64_t>(roomBytes_)), isOver);
    }
}

/// When the program goes, its end of the connection is closed at about the time at which its films' are.
bool FilmTask::isHelperThere() const {
    pollfd end{helper_->get(), 0, 0};
    return ::poll(&end, 1, static_cast<int>(untilGone.count())) >= 0 && (end.revents & (POLLHUP | POLLERR)) == 0;
}

std::optional<FilmNews> FilmTask::ask(const FilmWords& order, const OnNews& onNews, const IsOver& isOver) {
    if (isOver_) return std::nullopt;
    // The time that the answers to the process take is not its own.
    auto begun = Clock::now();
    const auto isLate = [&] { return Clock::now() - begun > patience_; };
    const auto isEnough = [&] { return isCancelled_ || (isOver && isOver()) || isLate(); };
    bool isSent = channel_.send(order, isEnough);
    while (true) {
        FilmChannel::State state = FilmChannel::State::Closed;
        auto news = channel_.receive(state, betweenLooks);
        if (isCancelled_ || (isOver && isOver())) {
            fail(FilmFailure::Kind::Cancelled, "was broken off");
            return std::nullopt;
        }
        if (isLate() && !(news && news->type() == FilmMessage::Done)) {
            fail(FilmFailure::Kind::BeyondLimits, "has made its reader wait");
            return std::nullopt;
        }
        if (state == FilmChannel::State::Closed || (!news && !isSent)) {
            if (isHelperThere())
                fail(FilmFailure::Kind::BeyondLimits, reasonOf(0));
            else
                fail(FilmFailure::Kind::Unavailable, "cannot be read: the program that opens films has gone");
            return std::nullopt;
        }
        if (!news) continue;
        switch (news->type()) {
            case FilmMessage::Done:
                return news;
            case FilmMessage::Failed:
            case FilmMessage::Ended:
                noteFailure(*news);
                return std::nullopt;
            case FilmMessage::Progress:
            case FilmMessage::Motion:
            case FilmMessage::Sound:
                if (onNews) onNews(*news);
                break;
            case FilmMessage::Read:
            case FilmMessage::AskSize:
            case FilmMessage::AskRoom: {
                const auto asked = Clock::now();
                // One that cannot be answered has ended, and is about to say why.
                isSent = answer(*news, isEnough) && isSent;
                if (isSent) begun += Clock::now() - asked;
                break;
            }
            default:
                fail(FilmFailure::Kind::BeyondLimits, "has made its reader talk nonsense");
                return std::nullopt;
        }
    }
}

void FilmTask::cancel() {
    isCancelled_ = true;
    channel_.close();
}

}  // namespace korvane
