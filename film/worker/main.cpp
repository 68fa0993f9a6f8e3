// korvane-film-helper: opens foreign films for the programs that start it, each in a process of its own with limits. It
// is told what to do over the connection that stands at helperControl, and ends with it.

#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "korvane/base/Descriptor.h"
#include "korvane/film/FilmChannel.h"
#include "korvane/film/HelperOrder.h"
#include "korvane/film/worker/FilmJob.h"
#include "korvane/film/worker/LibAv.h"
#include "korvane/film/worker/Sandbox.h"

// Some of libav goes on without the memory that it did not get, and reads a film wrongly then.
#ifndef KORVANE_SANITIZED
extern "C" {
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* memory, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);

static void* orEnd(void* memory) {
    if (!memory) ::_exit(korvane::exitForMemory);
    return memory;
}

void* malloc(std::size_t bytes) {
    return orEnd(__libc_malloc(bytes));
}
void* calloc(std::size_t count, std::size_t bytes) {
    return orEnd(__libc_calloc(count, bytes));
}
void* realloc(void* memory, std::size_t bytes) {
    void* const moved = __libc_realloc(memory, bytes);
    return bytes == 0 ? moved : orEnd(moved);
}
void* memalign(std::size_t alignment, std::size_t bytes) {
    return orEnd(__libc_memalign(alignment, bytes));
}
void* aligned_alloc(std::size_t alignment, std::size_t bytes) {
    return memalign(alignment, bytes);
}
int posix_memalign(void** memory, std::size_t alignment, std::size_t bytes) {
    *memory = memalign(alignment, bytes);
    return 0;
}
}
#endif

namespace {

constexpr std::size_t stackBytes = 2 * 1024 * 1024;
constexpr int keptBytes = 32 * 1024 * 1024;

using korvane::Descriptor;
using korvane::FilmChannel;
using korvane::FilmMessage;
using korvane::FilmWords;

struct Film {
    pid_t process = -1;
    /// The process's own end, kept to tell the caller how it has ended.
    FilmChannel channel;
    /// It may take its time to end, where a file system does not answer.
    bool isKilled = false;
};

struct Handed {
    korvane::HelperOrder order;
    Descriptor channel;
    Descriptor room;
    Descriptor file;
};

/// False at the end of the connection.
bool receive(Handed& handed) {
    std::array<int, 3> files{-1, -1, -1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof files)> space{};
    iovec content{&handed.order, sizeof handed.order};
    msghdr packet{};
    packet.msg_iov = &content;
    packet.msg_iovlen = 1;
    packet.msg_control = space.data();
    packet.msg_controllen = space.size();
    if (::recvmsg(korvane::helperControl, &packet, MSG_CMSG_CLOEXEC) != sizeof handed.order) return false;
    const cmsghdr* const head = CMSG_FIRSTHDR(&packet);
    if (!head || head->cmsg_type != SCM_RIGHTS || handed.order.version != korvane::HelperOrder::current) return false;
    std::memcpy(files.data(), CMSG_DATA(head), std::min(head->cmsg_len - CMSG_LEN(0), sizeof files));
    handed.channel = Descriptor(files[0]);
    handed.room = Descriptor(files[1]);
    handed.file = Descriptor(files[2]);
    return true;
}

[[noreturn]] void serve(Handed& handed, pid_t parent) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(0);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    FilmChannel channel(std::move(handed.channel));
    if (!korvane::enterSandbox(handed.order, handed.room.get())) ::_exit(korvane::exitWithoutSandbox);
    korvane::serveFilm(channel, handed.room.get(), handed.file.get(), handed.order);
    ::_exit(0);
}

void begin(Handed& handed, std::vector<Film>& films, int signals) {
    const pid_t own = ::getpid();
    const pid_t process = ::fork();
    if (process == 0) {
        ::close(korvane::helperControl);
        ::close(signals);
        films.clear();
        serve(handed, own);
    }
    FilmChannel channel(std::move(handed.channel));
    if (process > 0)
        films.push_back({process, std::move(channel)});
    else
        channel.sendNow(FilmWords(FilmMessage::Ended).number(korvane::endWithoutProcess));
}

/// What a caller is told of the end of a process.
int endOf(int status) {
    if (WIFSIGNALED(status)) return WTERMSIG(status);
    if (WEXITSTATUS(status) == korvane::exitWithoutSandbox) return korvane::endWithoutSandbox;
    return WEXITSTATUS(status) == korvane::exitForMemory ? korvane::endForMemory : 0;
}

void reap(std::vector<Film>& films) {
    int status = 0;
    for (pid_t ended = ::waitpid(-1, &status, WNOHANG); ended > 0; ended = ::waitpid(-1, &status, WNOHANG)) {
        std::erase_if(films, [&](Film& film) {
            if (film.process != ended) return false;
            film.channel.sendNow(FilmWords(FilmMessage::Ended).number(endOf(status)));
            return true;
        });
    }
}

int run() {
    sigset_t wanted;
    ::sigemptyset(&wanted);
    ::sigaddset(&wanted, SIGCHLD);
    ::sigprocmask(SIG_BLOCK, &wanted, nullptr);
    const Descriptor signals(::signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK));
    std::vector<Film> films;
    while (true) {
        std::vector<pollfd> waited{{korvane::helperControl, POLLIN, 0}, {signals.get(), POLLIN, 0}};
        for (const Film& film : films) waited.push_back({film.isKilled ? -1 : film.channel.descriptor(), 0, 0});
        if (::poll(waited.data(), waited.size(), -1) < 0 && errno != EINTR) return 1;
        // A caller that has closed a film may be far from its process's next look.
        for (std::size_t i = 0; i < films.size(); ++i)
            if ((waited[i + 2].revents & (POLLHUP | POLLERR)) != 0)
                films[i].isKilled = ::kill(films[i].process, SIGKILL) == 0;
        signalfd_siginfo told{};
        while (::read(signals.get(), &told, sizeof told) == sizeof told) {
        }
        reap(films);
        if ((waited[0].revents & (POLLIN | POLLHUP)) == 0) continue;
        Handed handed;
        if (!receive(handed)) return 0;
        begin(handed, films, signals.get());
    }
}

}  // namespace

int main() {
    korvane::silenceLibAv();
    // Pictures come and go: their memory is not given back to the system between two of them.
    ::mallopt(M_MMAP_THRESHOLD, keptBytes);
    ::mallopt(M_TRIM_THRESHOLD, 2 * keptBytes);
    // A stack is counted before it is used.
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, stackBytes);
    ::pthread_setattr_default_np(&attributes);
    ::pthread_attr_destroy(&attributes);
    if (::fcntl(korvane::helperControl, F_GETFD) < 0) {
        std::fputs("korvane-film-helper: is started by the programs that open films\n", stderr);
        return 2;
    }
    return run();
}
