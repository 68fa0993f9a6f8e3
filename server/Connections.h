#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <list>
#include <optional>
#include <span>

#include "korvane/base/Descriptor.h"
#include "korvane/server/OutgoingReply.h"
#include "korvane/server/PeerAddress.h"
#include "korvane/server/RequestBuffer.h"

namespace korvane {

/// One peer's connection. It is the loop's, but in state Working it is a worker's alone.
struct Connection {
    enum class State {
        Idle,     // Nothing of a request has come.
        Heading,  // A part of a request's head has.
        Parked,   // A request has come whole and waits for others of its address.
        Working,  // A worker answers.
        Stalled,  // The peer takes no more of its reply now.
        Draining  // The last reply is sent, and what still comes is thrown away.
    };

    Descriptor socket;
    PeerAddress peer{};
    RequestBuffer requests;
    /// What `requests` told last.
    RequestBuffer::Head head = RequestBuffer::Head::Missing;
    std::optional<OutgoingReply> reply;
    OutgoingReply::Progress progress = OutgoingReply::Progress::Broken;
    /// One of the few of its address that are answered now.
    bool hasShare = false;
    /// One of the fewer that workers answer now.
    bool hasWorker = false;
    /// Bytes of `requests` as the loop has counted them last.
    std::size_t counted = 0;
    /// The same of `reply`.
    std::size_t countedOfReply = 0;
    /// Bytes that were thrown away.
    std::size_t drained = 0;
    State state = State::Idle;
    std::chrono::steady_clock::time_point since;
    std::list<Connection>::iterator place;
};

/// All connections, by state and by when they came to it. Used by one thread.
class Connections {
  public:
    using State = Connection::State;
    using Moment = std::chrono::steady_clock::time_point;

    Connection& add(Descriptor socket, PeerAddress peer, Moment now);
    void move(Connection& connection, State state, Moment now);

    /// Closes it. The object stays until bury(), for the sake of those who still point to it.
    void end(Connection& connection);
    static bool hasEnded(const Connection& connection) { return !connection.socket; }
    /// Whether there was anything to bury.
    bool bury();

    /// Closes all of them at once, those in state Working too.
    void endAll();

    /// Of all that are in one of `states`, the one that has been so for longest; null without one.
    Connection* oldest(std::span<const State> states);
    std::size_t count() const { return count_; }

    /// All that are in a state, the oldest first.
    std::list<Connection>& listOf(State state) { return lists_[static_cast<std::size_t>(state)]; }

  private:
    std::array<std::list<Connection>, static_cast<std::size_t>(State::Draining) + 1> lists_;
    std::list<Connection> ended_;
    std::size_t count_ = 0;
};

}  // namespace korvane
