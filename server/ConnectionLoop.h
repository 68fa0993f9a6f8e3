#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "korvane/base/WorkerPool.h"
#include "korvane/server/AddressShares.h"
#include "korvane/server/Connections.h"

namespace korvane {

struct ConnectionLimits {
    /// Requests that are answered at a time.
    std::size_t threads = 48;
    /// How long a peer may take for each of its steps.
    std::chrono::milliseconds patience{10'000};
    /// With one more, the one that has waited longest is closed.
    std::size_t connections = 1024;
    /// Connections of one address that are answered at a time; the reply counts until the peer has taken it.
    /// At most half of the threads answer them.
    std::size_t fromOneAddress = 64;
    /// Bytes of replies that are in memory; with more, the one that its peer has left for longest is given up.
    std::size_t replyBytes = 256 * 1024 * 1024;
    /// The time that patience is measured in, read once a turn of the loop.
    std::function<std::chrono::steady_clock::time_point()> clock = std::chrono::steady_clock::now;
};

/// Holds all connections of a listening socket on one thread, and gives workers only what they can do without waiting
/// for a peer: the answer to a request that has come whole, and the next pieces of a reply whose peer takes more.
class ConnectionLoop {
  public:
    /// Answers one request on a worker. `head` is what the buffer has told of `request`.
    using Answer = std::function<OutgoingReply(int socket, RequestBuffer::Head head, const std::string& request)>;

    /// `answer` is called until run() has returned.
    ConnectionLoop(ConnectionLimits limits, Answer answer);
    ConnectionLoop(const ConnectionLoop&) = delete;
    ConnectionLoop& operator=(const ConnectionLoop&) = delete;

    /// False when the system has refused what a loop needs.
    bool isUsable() const { return epoll_ && wake_; }

    /// Serves on the calling thread until stop(). `listener` must not block. Called once.
    void run(int listener);

    /// Makes run() close all connections and return, also one that has not begun yet. May be called from any thread.
    void stop();

  private:
    void takeEvent(void* of, std::uint32_t what);
    void takeEventOf(Connection& connection, std::uint32_t what);
    void accept();
    void pauseAccepting();
    void resumeAccepting();
    bool giveWay();
    bool arm(Connection& connection, std::uint32_t events);
    void lookAtParked(Connection& connection, std::uint32_t what);
    void receive(Connection& connection);
    void drain(Connection& connection);
    void proceed(Connection& connection);
    void wait(Connection& connection, Connection::State state, std::uint32_t events);
    void dispatch(Connection& connection);
    void work(Connection& connection);
    bool takeNextRequest(Connection& connection);
    void giveBack(Connection& connection);
    void takeBack();
    void goOn(Connection& connection);
    void finishReply(Connection& connection);
    void giveShareBack(Connection& connection);
    void count(Connection& connection);
    void end(Connection& connection);
    void keepReplyLimit();
    void endLate();
    void endStalledBeforeLines();
    int untilNext();

    ConnectionLimits limits_;
    Answer answer_;
    Descriptor epoll_;
    Descriptor wake_;
    int listener_ = -1;
    bool accepting_ = false;
    Connections::Moment pausedAt_;
    bool toldOfLack_ = false;
    std::atomic<bool> stopping_ = false;
    Connections::Moment now_;
    Connections connections_;
    AddressShares shares_;
    /// When those that hold up a line were ended last.
    Connections::Moment lookedAtLines_;
    /// Bytes of requests that are not answered yet.
    std::size_t held_ = 0;
    std::size_t heldByReplies_ = 0;
    std::array<char, 16 * 1024> received_;
    std::mutex mutex_;
    /// What workers are done with, under the mutex. Has room for all connections, so that a worker cannot fail to add.
    std::vector<Connection*> returned_;
    /// The same as taken from there, by the loop alone.
    std::vector<Connection*> taken_;
    /// Comes to rest before the others go.
    WorkerPool workers_;
};

}  // namespace korvane
