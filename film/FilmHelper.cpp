#include "korvane/film/FilmHelper.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "korvane/film/FilmTask.h"
#include "korvane/film/HelperOrder.h"

extern char** environ;

namespace korvane {
namespace {

namespace fs = std::filesystem;

constexpr int foldersAbove = 3;
// So many times its processor time a film may be silent.
constexpr int patience = 30;

/// Whether nobody else can have put the file there.
bool isOurs(fs::path file, const fs::path& upTo) {
    while (true) {
        struct stat info {};
        if (::stat(file.c_str(), &info) != 0) return false;
        if ((info.st_uid != 0 && info.st_uid != ::geteuid()) || (info.st_mode & S_IWOTH) != 0) return false;
        if (file == upTo) return true;
        file = file.parent_path();
    }
}

fs::path findProgram() {
    if (const char* named = ::secure_getenv("KORVANE_FILM_HELPER"); named && *named) return named;
    std::error_code code;
    fs::path folder = fs::read_symlink("/proc/self/exe", code).parent_path();
    for (int i = 0; i <= foldersAbove && folder.has_relative_path(); ++i, folder = folder.parent_path()) {
        fs::path beside = folder / "libexec/korvane/korvane-film-helper";
        if (::access(beside.c_str(), X_OK) == 0 && isOurs(beside, folder)) return beside;
    }
    return KORVANE_FILM_HELPER;
}

/// What the program is to know of the environment: nothing that is secret.
std::vector<char*> environmentForHelper() {
    std::vector<char*> kept;
    for (char** variable = environ; variable && *variable; ++variable) {
        const std::string_view text(*variable);
        const std::string_view name = text.substr(0, text.find('='));
        if (name == "LD_LIBRARY_PATH" || name.ends_with("SAN_OPTIONS")) kept.push_back(*variable);
    }
    kept.push_back(nullptr);
    return kept;
}

int makeMemory() {
    constexpr unsigned flags = MFD_CLOEXEC | MFD_ALLOW_SEALING;
    constexpr unsigned noPrograms = 8;  // MFD_NOEXEC_SEAL, which kernels before 6.3 do not know
    const int made = ::memfd_create("korvane-film", flags | noPrograms);
    return made >= 0 || errno != EINVAL ? made : ::memfd_create("korvane-film", flags);
}

/// Group and signals of its own: what interrupts the caller at the terminal must not cost a film.
int spawn(const fs::path& program, int control, pid_t& process) {
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    ::posix_spawn_file_actions_init(&files);
    ::posix_spawnattr_init(&attributes);
    ::posix_spawn_file_actions_adddup2(&files, control, helperControl);
    for (int standard = 0; standard < helperControl; ++standard)
        ::posix_spawn_file_actions_addopen(&files, standard, "/dev/null", O_RDWR, 0);
    ::posix_spawn_file_actions_addclosefrom_np(&files, helperControl + 1);
    sigset_t none;
    sigset_t all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setsigdefault(&attributes, &all);
    ::posix_spawnattr_setpgroup(&attributes, 0);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    std::string name = program.string();
    std::array<char*, 2> arguments{name.data(), nullptr};
    const int code =
        ::posix_spawn(&process, name.c_str(), &files, &attributes, arguments.data(), environmentForHelper().data());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&files);
    return code;
}

}  // namespace

struct FilmHelper::State {
    bool start(std::string& reason);
    void stop();
    int order(const HelperOrder& order, int channel, int room, int file) const;

    fs::path program;
    std::mutex mutex;
    std::shared_ptr<const Descriptor> control;
    pid_t process = -1;
};

bool FilmHelper::State::start(std::string& reason) {
    if (control) return true;
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        reason = "the program that opens films cannot be reached: " + std::generic_category().message(errno);
        return false;
    }
    Descriptor own(ends[0]);
    const Descriptor theirs(ends[1]);
    if (program.empty()) program = findProgram();
    if (const int code = spawn(program, theirs.get(), process); code != 0) {
        process = -1;
        reason = "the program that opens films, " + program.string() +
                 ", cannot be started: " + std::generic_category().message(code);
        return false;
    }
    control = std::make_shared<const Descriptor>(std::move(own));
    return true;
}

void FilmHelper::State::stop() {
    control.reset();
    if (process > 0) {
        ::kill(process, SIGKILL);
        while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    process = -1;
}

/// 0, or why it has not been sent.
int FilmHelper::State::order(const HelperOrder& order, int channel, int room, int file) const {
    const std::array<int, 3> handed{channel, room, file};
    const std::size_t count = file < 0 ? 2 : 3;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof handed)> space{};
    iovec content{const_cast<HelperOrder*>(&order), sizeof order};
    msghdr packet{};
    packet.msg_iov = &content;
    packet.msg_iovlen = 1;
    packet.msg_control = space.data();
    packet.msg_controllen = CMSG_SPACE(count * sizeof(int));
    cmsghdr* const head = CMSG_FIRSTHDR(&packet);
    head->cmsg_level = SOL_SOCKET;
    head->cmsg_type = SCM_RIGHTS;
    head->cmsg_len = CMSG_LEN(count * sizeof(int));
    std::memcpy(CMSG_DATA(head), handed.data(), count * sizeof(int));
    ssize_t sent = -1;
    do sent = ::sendmsg(control->get(), &packet, MSG_NOSIGNAL);
    while (sent < 0 && errno == EINTR);
    return sent < 0 ? errno : 0;
}

FilmHelper::FilmHelper(fs::path program) : state_(std::make_unique<State>()) {
    state_->program = std::move(program);
}

FilmHelper::~FilmHelper() {
    state_->stop();
}

std::unique_ptr<FilmTask> FilmHelper::begin(int file, const FilmLimits& limits, std::string& reason) {
    auto [own, theirs] = FilmChannel::makePair();
    // What a film's process writes there stays readable, whatever becomes of the process.
    Descriptor room(makeMemory());
    if (own.descriptor() < 0 || !room || ::fcntl(room.get(), F_ADD_SEALS, F_SEAL_SHRINK) != 0) {
        reason = "there is no room for a film: " + std::generic_category().message(errno);
        return nullptr;
    }
    const HelperOrder order{HelperOrder::current, limits.bytesOfMemory, limits.seconds, limits.isEachOrder ? 1 : 0};
    const std::lock_guard lock(state_->mutex);
    // One that has gone is noticed by sending.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!state_->start(reason)) return nullptr;
        const int code = state_->order(order, theirs.descriptor(), room.get(), file);
        if (code == 0)
            return std::make_unique<FilmTask>(std::move(own), std::move(room), state_->control,
                                              std::chrono::seconds(limits.seconds) * patience);
        reason = "the program that opens films has gone: " + std::generic_category().message(code);
        if (code != EPIPE && code != ECONNRESET) return nullptr;
        state_->stop();
    }
    return nullptr;
}

}  // namespace korvane
