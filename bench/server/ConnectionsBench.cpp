// How long an honest client waits for the service, and how much memory the service takes, beside connections that do
// nothing, that send a byte a second, and that are kept alive.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "korvane/base/Descriptor.h"
#include "korvane/server/AccessToken.h"
#include "korvane/server/CameraServer.h"
#include "korvane/server/SampleMaker.h"
#include "korvane/server/Storage.h"

namespace {

using namespace korvane;
using Clock = std::chrono::steady_clock;

constexpr TimeMs endTime = 1'780'000'000'000;
constexpr int rounds = 300;

struct Service {
    pid_t process = 0;
    std::uint16_t port = 0;
    std::string request;
};

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::exit(1);
}

/// A service in a process of its own, so that memory and descriptors are its own.
Service startService(const std::filesystem::path& folder) {
    const auto file = folder / "camera.db";
    std::string bearer;
    std::int64_t camera = 0;
    {
        auto storage = std::move(*Storage::open(file));
        camera = storage->cameraForFolder("", "Rows", "UTC")->id;
        if (addSampleEvents(*storage, camera, 10'000, endTime, 60'000)) std::abort();
        bearer = AccessToken::forDatabase(file)->issueBearer(camera, endTime / 1000 + 60);
    }
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) fail("pipe");
    Service service;
    service.process = ::fork();
    if (service.process < 0) fail("fork");
    if (service.process == 0) {
        CameraServerOptions options;
        options.now = [] { return endTime; };
        CameraServer server(file, options);
        const auto port = server.start();
        const std::uint16_t told = port ? *port : 0;
        if (::write(ends[1], &told, sizeof told) != sizeof told) std::_Exit(1);
        while (true) ::pause();
    }
    if (::read(ends[0], &service.port, sizeof service.port) != sizeof service.port || service.port == 0)
        fail("the service does not start");
    service.request = "GET /v1/cameras/" + std::to_string(camera) + "/events?limit=10&access=" + bearer +
                      " HTTP/1.1\r\nHost: bench\r\n\r\n";
    return service;
}

Descriptor dial(const Service& service) {
    Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address{AF_INET, htons(service.port), {htonl(INADDR_LOOPBACK)}, {}};
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) fail("connect");
    return socket;
}

void say(const Descriptor& socket, const std::string& bytes) {
    if (::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) fail("send");
}

void ask(const Service& service, const Descriptor& socket) {
    say(socket, service.request);
    std::string reply;
    std::array<char, 16'384> buffer;
    while (!reply.ends_with("]}")) {
        const ssize_t count = ::recv(socket.get(), buffer.data(), buffer.size(), 0);
        if (count <= 0) fail("no answer");
        reply.append(buffer.data(), static_cast<std::size_t>(count));
    }
    if (!reply.starts_with("HTTP/1.1 200")) fail("another answer");
}

double residentMegabytes(const Service& service) {
    std::ifstream status("/proc/" + std::to_string(service.process) + "/statm");
    double pages = 0;
    status >> pages >> pages;
    return pages * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

void measure(const Service& service, const char* beside) {
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        const auto begin = Clock::now();
        ask(service, dial(service));
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
    }
    std::sort(times.begin(), times.end());
    std::printf("beside %-32s answered in %6.2f ms, at worst %6.2f ms; resident %5.1f MB\n", beside,
                times[times.size() / 2], times.back(), residentMegabytes(service));
}

void beAttacked(const Service& service) {
    std::vector<Descriptor> slow;
    for (int i = 0; i < 1000; ++i) say(slow.emplace_back(dial(service)), "GET /");
    std::vector<Descriptor> silent;
    for (int i = 0; i < 60; ++i) silent.push_back(dial(service));
    std::vector<Descriptor> kept;
    for (int i = 0; i < 49; ++i) ask(service, kept.emplace_back(dial(service)));
    for (int second = 0; second < 3; ++second) {
        for (const Descriptor& socket : slow) say(socket, "x");
        measure(service, "1000 slow, 60 silent, 49 kept");
        ::sleep(1);
    }
}

}  // namespace

int main() {
    rlimit descriptors{};
    ::getrlimit(RLIMIT_NOFILE, &descriptors);
    descriptors.rlim_cur = descriptors.rlim_max;
    std::string name = (std::filesystem::temp_directory_path() / "korvane-bench-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) fail("mkdtemp");
    const Service service = startService(name);
    ::setrlimit(RLIMIT_NOFILE, &descriptors);
    measure(service, "none");
    beAttacked(service);
    std::vector<Descriptor> idle;
    for (int i = 0; i < 10'000; ++i) idle.push_back(dial(service));
    measure(service, "10000 idle");
    ask(service, idle.front());
    ::kill(service.process, SIGKILL);
    ::waitpid(service.process, nullptr, 0);
    std::error_code ignored;
    std::filesystem::remove_all(name, ignored);
}
