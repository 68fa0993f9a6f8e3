#include "korvane/server/ConnectionLoop.h"

#include <netinet/tcp.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <new>
#include <utility>

#include "korvane/base/Log.h"

namespace korvane {
namespace {

// What one turn does at most, so that no kind of work keeps the others waiting.
constexpr int eventsAtATime = 256;
constexpr int acceptsAtATime = 64;
constexpr int endsAtATime = 256;

constexpr std::size_t mostHeld = 32 * 1024 * 1024;
constexpr std::size_t mostDrained = 256 * 1024;
constexpr std::chrono::milliseconds pauseForLack{100};
constexpr std::chrono::milliseconds longestSleep{60'000};
// For a peer that takes nothing of its reply while others of its address wait for its share.
constexpr std::chrono::milliseconds patienceBeforeLine{2000};
constexpr std::chrono::milliseconds betweenLooksAtLines{250};
// A peer that goes on at once needs neither the loop nor another worker, but must not keep the worker for itself.
constexpr int millisecondsForNextRequest = 1;
constexpr int requestsInARow = 8;

using State = Connection::State;
constexpr std::array givingWay = {State::Idle, State::Heading, State::Parked, State::Stalled, State::Draining};
// Who is parked waits for others, not they for it.
constexpr std::array timed = {State::Idle, State::Heading, State::Stalled, State::Draining};
constexpr std::array holding = {State::Heading, State::Parked};

constexpr std::string_view tooSlow = "HTTP/1.1 408 Request Timeout\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";

/// Unless the system keeps little of a reply, a peer that reads slowly makes room seldom and looks as if it did not
/// read.
void keepLittleUnsent(int socket) {
    const int bytes = 64 * 1024;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &bytes, sizeof bytes);
}

bool isLackOfRoom(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

bool hasCallers(int listener) {
    const int before = errno;
    pollfd wanted{listener, POLLIN, 0};
    const bool any = ::poll(&wanted, 1, 0) > 0;
    errno = before;
    return any;
}

bool watch(int epoll, int descriptor, void* of) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = of;
    return ::epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

}  // namespace

ConnectionLoop::ConnectionLoop(ConnectionLimits limits, Answer answer)
    : limits_(std::move(limits)),
      answer_(std::move(answer)),
      epoll_(::epoll_create1(EPOLL_CLOEXEC)),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      shares_(std::max<std::size_t>(limits_.fromOneAddress, 1), std::max<std::size_t>(limits_.threads / 2, 1)),
      workers_(limits_.threads) {
    limits_.connections = std::max<std::size_t>(limits_.connections, 1);
    returned_.reserve(limits_.connections);
    taken_.reserve(limits_.connections);
}

void ConnectionLoop::stop() {
    stopping_ = true;
    ::eventfd_write(wake_.get(), 1);
}

void ConnectionLoop::run(int listener) {
    listener_ = listener;
    if (!watch(epoll_.get(), wake_.get(), &wake_)) return logError("ConnectionLoop", "cannot wait for its workers");
    resumeAccepting();
    std::array<epoll_event, eventsAtATime> events;
    while (!stopping_) {
        now_ = limits_.clock();
        const int count = ::epoll_wait(epoll_.get(), events.data(), eventsAtATime, untilNext());
        if (count < 0 && errno != EINTR) {
            logError("ConnectionLoop", "cannot wait for connections");
            break;
        }
        now_ = limits_.clock();
        for (int i = 0; i < count; ++i) {
            const epoll_event& event = events[static_cast<std::size_t>(i)];
            takeEvent(event.data.ptr, event.events);
        }
        takeBack();
        endLate();
        endStalledBeforeLines();
        if (connections_.bury() || count == 0 || now_ - pausedAt_ >= pauseForLack) resumeAccepting();
    }
    workers_.stop();
    returned_.clear();
    connections_.endAll();
    connections_.bury();
}

void ConnectionLoop::takeEvent(void* of, std::uint32_t what) {
    if (of == &wake_) {
        eventfd_t ignored = 0;
        ::eventfd_read(wake_.get(), &ignored);
        return;
    }
    Connection* connection = of == &listener_ ? nullptr : static_cast<Connection*>(of);
    try {
        if (connection == nullptr) return accept();
        if (!Connections::hasEnded(*connection)) takeEventOf(*connection, what);
    } catch (const std::bad_alloc&) {
        if (connection == nullptr) return pauseAccepting();
        if (!Connections::hasEnded(*connection)) end(*connection);
    }
}

void ConnectionLoop::takeEventOf(Connection& connection, std::uint32_t what) {
    switch (connection.state) {
        case State::Idle:
        case State::Heading:
            return receive(connection);
        case State::Stalled:
            return dispatch(connection);
        case State::Draining:
            return drain(connection);
        case State::Parked:
            return lookAtParked(connection, what);
        case State::Working:
            return;
    }
}

void ConnectionLoop::lookAtParked(Connection& connection, std::uint32_t what) {
    if ((what & (EPOLLERR | EPOLLHUP)) != 0) return end(connection);
    // It may still read, but more likely nobody is there.
    shares_.goToEndOfLine(connection);
    wait(connection, State::Parked, 0);
}

void ConnectionLoop::accept() {
    for (int i = 0; i < acceptsAtATime; ++i) {
        sockaddr_storage address{};
        socklen_t size = sizeof address;
        const bool isFull = connections_.count() >= limits_.connections;
        if (isFull && connections_.oldest(givingWay) == nullptr) return pauseAccepting();
        Descriptor socket(
            ::accept4(listener_, reinterpret_cast<sockaddr*>(&address), &size, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (!socket) {
            if (errno == EAGAIN || errno == EWOULDBLOCK) return;
            // Without a descriptor it fails even where nobody waits.
            if (errno == EMFILE && !hasCallers(listener_)) return;
            if (isLackOfRoom(errno) && !(errno == EMFILE && giveWay())) return pauseAccepting();
            continue;
        }
        if (isFull) giveWay();
        keepLittleUnsent(socket.get());
        toldOfLack_ = false;
        Connection& connection = connections_.add(std::move(socket), peerAddress(address), now_);
        epoll_event event{};
        event.events = EPOLLIN | EPOLLONESHOT;
        event.data.ptr = &connection;
        if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, connection.socket.get(), &event) != 0) end(connection);
    }
}

void ConnectionLoop::pauseAccepting() {
    if (!std::exchange(toldOfLack_, true)) logError("ConnectionLoop", "there is no room for further connections");
    pausedAt_ = now_;
    if (std::exchange(accepting_, false)) ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, listener_, nullptr);
}

void ConnectionLoop::resumeAccepting() {
    if (!accepting_) accepting_ = watch(epoll_.get(), listener_, &listener_);
}

bool ConnectionLoop::giveWay() {
    Connection* oldest = connections_.oldest(givingWay);
    if (oldest != nullptr) end(*oldest);
    return oldest != nullptr;
}

bool ConnectionLoop::arm(Connection& connection, std::uint32_t events) {
    epoll_event event{};
    event.events = events | EPOLLONESHOT;
    event.data.ptr = &connection;
    return ::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, connection.socket.get(), &event) == 0;
}

void ConnectionLoop::wait(Connection& connection, State state, std::uint32_t events) {
    // The parts of one head share their time, and so does all that is thrown away.
    if (state != connection.state || state == State::Stalled) connections_.move(connection, state, now_);
    if (!arm(connection, events)) end(connection);
}

void ConnectionLoop::receive(Connection& connection) {
    const ssize_t count = ::recv(connection.socket.get(), received_.data(), received_.size(), 0);
    if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) return end(connection);
    if (count > 0) connection.requests.append({received_.data(), static_cast<std::size_t>(count)});
    this->count(connection);
    proceed(connection);
    while (held_ > mostHeld) {
        Connection* oldest = connections_.oldest(holding);
        if (oldest == nullptr) return;
        end(*oldest);
    }
}

/// What a peer still sends is read, since closing before that would take the last reply from it.
void ConnectionLoop::drain(Connection& connection) {
    const ssize_t count = ::recv(connection.socket.get(), received_.data(), received_.size(), 0);
    if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) return end(connection);
    if (count > 0) connection.drained += static_cast<std::size_t>(count);
    if (connection.drained > mostDrained) return end(connection);
    wait(connection, State::Draining, EPOLLIN);
}

void ConnectionLoop::proceed(Connection& connection) {
    connection.head = connection.requests.look();
    if (connection.head == RequestBuffer::Head::Missing)
        return wait(connection, connection.requests.isEmpty() ? State::Idle : State::Heading, EPOLLIN);
    if (shares_.take(connection)) return dispatch(connection);
    wait(connection, State::Parked, EPOLLRDHUP);
}

void ConnectionLoop::dispatch(Connection& connection) {
    try {
        if (!shares_.takeWorker(connection)) return wait(connection, State::Parked, EPOLLRDHUP);
        connections_.move(connection, State::Working, now_);
        workers_.run([this, &connection] { work(connection); });
    } catch (const std::bad_alloc&) {
        // Comes back as if a worker had failed, since the caller may be about to end another.
        connections_.move(connection, State::Working, now_);
        connection.progress = OutgoingReply::Progress::Broken;
        giveBack(connection);
    }
}

void ConnectionLoop::work(Connection& connection) {
    const int socket = connection.socket.get();
    try {
        for (int i = 0; i < requestsInARow; ++i) {
            if (i > 0 && !takeNextRequest(connection)) break;
            connection.progress = OutgoingReply::Progress::Broken;
            if (!connection.reply) connection.reply = answer_(socket, connection.head, connection.requests.take());
            connection.progress = connection.reply->send(socket);
        }
    } catch (const std::exception& error) {
        connection.progress = OutgoingReply::Progress::Broken;
        logError("ConnectionLoop", error.what());
    } catch (...) {
        connection.progress = OutgoingReply::Progress::Broken;
        logError("ConnectionLoop", "a request has failed");
    }
    giveBack(connection);
}

bool ConnectionLoop::takeNextRequest(Connection& connection) {
    if (connection.progress != OutgoingReply::Progress::Sent || connection.reply->closes || stopping_) return false;
    connection.head = connection.requests.look();
    if (connection.head == RequestBuffer::Head::Missing) {
        pollfd wanted{connection.socket.get(), POLLIN, 0};
        if (::poll(&wanted, 1, millisecondsForNextRequest) <= 0) return false;
        std::array<char, 4096> received;
        const ssize_t count = ::recv(wanted.fd, received.data(), received.size(), 0);
        // What has ended does so for the loop, too.
        if (count <= 0) return false;
        connection.requests.append({received.data(), static_cast<std::size_t>(count)});
        connection.head = connection.requests.look();
    }
    if (connection.head == RequestBuffer::Head::Missing) return false;
    connection.reply.reset();
    return true;
}

void ConnectionLoop::giveBack(Connection& connection) {
    {
        const std::lock_guard lock(mutex_);
        returned_.push_back(&connection);
    }
    ::eventfd_write(wake_.get(), 1);
}

void ConnectionLoop::takeBack() {
    {
        const std::lock_guard lock(mutex_);
        taken_.swap(returned_);
    }
    for (Connection* connection : taken_) {
        if (Connection* next = shares_.giveWorkerBack(*connection)) dispatch(*next);
        count(*connection);
        try {
            goOn(*connection);
        } catch (const std::bad_alloc&) {
            end(*connection);
        }
    }
    taken_.clear();
    keepReplyLimit();
}

void ConnectionLoop::goOn(Connection& connection) {
    switch (connection.progress) {
        case OutgoingReply::Progress::Sent:
            return finishReply(connection);
        case OutgoingReply::Progress::Blocked:
            return wait(connection, State::Stalled, EPOLLOUT);
        case OutgoingReply::Progress::Cut:
            return dispatch(connection);
        case OutgoingReply::Progress::Broken:
            return end(connection);
    }
}

void ConnectionLoop::keepReplyLimit() {
    auto& stalled = connections_.listOf(State::Stalled);
    while (heldByReplies_ > limits_.replyBytes && !stalled.empty()) end(stalled.front());
}

void ConnectionLoop::finishReply(Connection& connection) {
    const bool closes = connection.reply->closes;
    connection.reply.reset();
    count(connection);
    giveShareBack(connection);
    if (!closes) return proceed(connection);
    connection.requests = RequestBuffer();
    count(connection);
    ::shutdown(connection.socket.get(), SHUT_WR);
    wait(connection, State::Draining, EPOLLIN);
}

void ConnectionLoop::giveShareBack(Connection& connection) {
    if (Connection* next = shares_.giveBack(connection)) dispatch(*next);
}

void ConnectionLoop::count(Connection& connection) {
    held_ += connection.requests.size();
    held_ -= std::exchange(connection.counted, connection.requests.size());
    const std::size_t ofReply = connection.reply ? connection.reply->held() : 0;
    heldByReplies_ += ofReply;
    heldByReplies_ -= std::exchange(connection.countedOfReply, ofReply);
}

void ConnectionLoop::end(Connection& connection) {
    // A process that was forked a moment ago may keep the descriptor open, whose events would come on.
    ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, connection.socket.get(), nullptr);
    if (connection.state == State::Parked) shares_.leaveLine(connection);
    held_ -= connection.counted;
    heldByReplies_ -= connection.countedOfReply;
    connections_.end(connection);
    if (connection.hasShare) giveShareBack(connection);
}

void ConnectionLoop::endLate() {
    for (int i = 0; i < endsAtATime; ++i) {
        Connection* oldest = connections_.oldest(timed);
        if (oldest == nullptr || now_ - oldest->since < limits_.patience) return;
        if (oldest->state == State::Heading)
            ::send(oldest->socket.get(), tooSlow.data(), tooSlow.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        end(*oldest);
    }
}

void ConnectionLoop::endStalledBeforeLines() {
    if (!shares_.hasLines() || now_ - lookedAtLines_ < betweenLooksAtLines) return;
    lookedAtLines_ = now_;
    auto& stalled = connections_.listOf(State::Stalled);
    for (auto place = stalled.begin(); place != stalled.end() && now_ - place->since >= patienceBeforeLine;) {
        Connection& connection = *place++;
        if (shares_.hasLine(connection.peer)) end(connection);
    }
}

int ConnectionLoop::untilNext() {
    using std::chrono::milliseconds;
    milliseconds left = accepting_ ? longestSleep : pauseForLack;
    if (shares_.hasLines()) left = std::min(left, betweenLooksAtLines);
    const Connection* oldest = connections_.oldest(timed);
    if (oldest != nullptr)
        left = std::min(left, std::chrono::ceil<milliseconds>(oldest->since + limits_.patience - now_));
    return static_cast<int>(std::max(left.count(), milliseconds::rep{0}));
}

}  // namespace korvane
