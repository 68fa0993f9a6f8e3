#include "korvane/film/FilmChannel.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace korvane {
namespace {

// A packet carries a part of a message behind one byte.
enum class Part : char {
    Last,
    GoesOn,
    /// A message of its own, which takes the place of one that has begun and will not end.
    Alone,
};
constexpr std::size_t partBytes = 60'000;
constexpr std::size_t mostBytes = 2'100'000;
constexpr int betweenQuestions = 20;

}  // namespace

FilmWords& FilmWords::number(std::int64_t value) {
    std::array<char, sizeof value> raw{};
    std::memcpy(raw.data(), &value, sizeof value);
    bytes_.append(raw.data(), raw.size());
    return *this;
}

FilmWords& FilmWords::text(std::string_view value) {
    number(static_cast<std::int64_t>(value.size()));
    bytes_ += value;
    return *this;
}

std::string_view FilmNews::take(std::size_t count) {
    if (bytes_.size() - at_ < count) {
        isWhole_ = false;
        at_ = bytes_.size();
        return {};
    }
    const std::string_view taken = std::string_view(bytes_).substr(at_, count);
    at_ += count;
    return taken;
}

std::int64_t FilmNews::number() {
    std::int64_t value = 0;
    const std::string_view raw = take(sizeof value);
    if (raw.size() == sizeof value) std::memcpy(&value, raw.data(), sizeof value);
    return value;
}

std::int64_t FilmNews::number(std::int64_t least, std::int64_t most) {
    return std::clamp(number(), least, most);
}

std::string_view FilmNews::text() {
    const std::int64_t size = number();
    if (size < 0) isWhole_ = false;
    return isWhole_ ? take(static_cast<std::size_t>(size)) : std::string_view();
}

std::pair<FilmChannel, FilmChannel> FilmChannel::makePair() {
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return {};
    return {FilmChannel(Descriptor(ends[0])), FilmChannel(Descriptor(ends[1]))};
}

bool FilmChannel::sendPart(std::string_view part, char mark, int flags) {
    std::array<iovec, 2> pieces{iovec{&mark, 1}, iovec{const_cast<char*>(part.data()), part.size()}};
    msghdr packet{};
    packet.msg_iov = pieces.data();
    packet.msg_iovlen = pieces.size();
    ssize_t sent = -1;
    do sent = ::sendmsg(socket_.get(), &packet, MSG_NOSIGNAL | flags);
    while (sent < 0 && errno == EINTR);
    return sent >= 0;
}

bool FilmChannel::awaitRoom(const std::function<bool()>& isOver) const {
    pollfd waiting{socket_.get(), POLLOUT, 0};
    return !isOver() && (::poll(&waiting, 1, betweenQuestions) >= 0 || errno == EINTR);
}

bool FilmChannel::send(const FilmWords& message, const std::function<bool()>& isOver) {
    const std::string_view bytes = message.bytes();
    for (std::size_t at = 0; at < bytes.size(); at += partBytes) {
        const Part part = at + partBytes < bytes.size() ? Part::GoesOn : Part::Last;
        while (!sendPart(bytes.substr(at, partBytes), static_cast<char>(part), isOver ? MSG_DONTWAIT : 0))
            if (!isOver || errno != EAGAIN || !awaitRoom(isOver)) return false;
    }
    return true;
}

void FilmChannel::sendNow(const FilmWords& message) {
    sendPart(message.bytes(), static_cast<char>(Part::Alone), MSG_DONTWAIT);
}

std::optional<FilmNews> FilmChannel::receive(State& state, std::optional<std::chrono::milliseconds> longest) {
    state = State::Open;
    std::array<char, partBytes + 1> packet;
    while (true) {
        if (longest) {
            pollfd waiting{socket_.get(), POLLIN, 0};
            const int ready = ::poll(&waiting, 1, static_cast<int>(longest->count()));
            if (ready == 0 || (ready < 0 && errno == EINTR)) return std::nullopt;
        }
        const ssize_t count = ::recv(socket_.get(), packet.data(), packet.size(), 0);
        // The other end has closed without reading all; what it said before comes after this error.
        if (count < 0 && (errno == EINTR || errno == ECONNRESET)) continue;
        if (count < 2 || begun_.size() > mostBytes) {
            state = State::Closed;
            return std::nullopt;
        }
        const auto part = static_cast<Part>(packet.front());
        if (part == Part::Alone) begun_.clear();
        begun_.append(packet.data() + 1, static_cast<std::size_t>(count) - 1);
        if (part != Part::GoesOn) return FilmNews(std::exchange(begun_, {}));
        if (longest) return std::nullopt;
    }
}

void FilmChannel::close() {
    ::shutdown(socket_.get(), SHUT_RDWR);
}

}  // namespace korvane
