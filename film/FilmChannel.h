#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "korvane/base/Descriptor.h"
#include "korvane/film/FilmMessages.h"

namespace korvane {

/// A message that is being put together.
class FilmWords {
  public:
    explicit FilmWords(FilmMessage type) : bytes_(1, static_cast<char>(type)) {}

    FilmWords& number(std::int64_t value);
    FilmWords& text(std::string_view value);

    const std::string& bytes() const { return bytes_; }

  private:
    std::string bytes_;
};

/// A message that came. Reading beyond its end gives zeros and empty texts, and isWhole() false from then on.
class FilmNews {
  public:
    /// `bytes` has at least one.
    explicit FilmNews(std::string bytes) : bytes_(std::move(bytes)) {}

    FilmMessage type() const { return static_cast<FilmMessage>(bytes_.front()); }
    std::int64_t number();
    /// As number(), where anything outside of the two is an end.
    std::int64_t number(std::int64_t least, std::int64_t most);
    /// Valid as long as the message.
    std::string_view text();
    bool isWhole() const { return isWhole_; }

  private:
    std::string_view take(std::size_t count);

    std::string bytes_;
    std::size_t at_ = 1;
    bool isWhole_ = true;
};

/// One end of a connection within a machine. Messages come whole or not at all. Sending and receiving may each be used
/// by one thread at a time.
class FilmChannel {
  public:
    enum class State { Open, Closed };

    FilmChannel() = default;
    explicit FilmChannel(Descriptor socket) : socket_(std::move(socket)) {}

    /// Two ends; both without a socket when the system gives none.
    static std::pair<FilmChannel, FilmChannel> makePair();

    /// Waits for room, and asks `isOver` several times a second then, if there is one. False when it says so, and when
    /// the other end is closed.
    bool send(const FilmWords& message, const std::function<bool()>& isOver = {});

    /// A short message that comes in place of one whose sender has ended amid it. Does not wait: where there is no room
    /// it is lost.
    void sendNow(const FilmWords& message);

    /// Waits for a message for `longest`, for ever when absent. Absent, but Open, also where only a part of one has
    /// come. Closed also for a message that is too long.
    std::optional<FilmNews> receive(State& state, std::optional<std::chrono::milliseconds> longest = {});

    /// Ends all sending and receiving, at both ends. Any thread.
    void close();

    int descriptor() const { return socket_.get(); }

  private:
    bool sendPart(std::string_view part, char mark, int flags);
    bool awaitRoom(const std::function<bool()>& isOver) const;

    Descriptor socket_;
    std::string begun_;  // of a message whose end has not come yet
};

}  // namespace korvane
