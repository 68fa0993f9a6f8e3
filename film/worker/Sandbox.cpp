#include "korvane/film/worker/Sandbox.h"

#include <fcntl.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <initializer_list>
#include <memory>
#include <new>

namespace korvane {
namespace {

// A sanitizer maps terabytes, reads files for its reports, and makes everything slow.
#ifdef KORVANE_SANITIZED
constexpr bool isSanitized = true;
constexpr std::int64_t slowness = 5;
#else
constexpr bool isSanitized = false;
constexpr std::int64_t slowness = 1;
#endif

// All numbers below are taken.
constexpr rlim_t filesOpened = 1;

bool limit(int resource, rlim_t soft, rlim_t hard) {
    // Limits that were set before may be lower, and stay.
    rlimit before{};
    if (::getrlimit(static_cast<__rlimit_resource_t>(resource), &before) != 0) return false;
    hard = std::min(hard, before.rlim_max);
    const rlimit limits{std::min(soft, hard), hard};
    return ::setrlimit(static_cast<__rlimit_resource_t>(resource), &limits) == 0;
}

struct FilterDeleter {
    void operator()(void* filter) const { ::seccomp_release(filter); }
};

/// One condition on a call's argument; the library's own macros are of C.
constexpr scmp_arg_cmp where(unsigned argument, scmp_compare how, scmp_datum_t first, scmp_datum_t second = 0) {
    return {argument, how, first, second};
}

/// What decoding needs. Everything else fails as if the system did not know it.
bool filterCalls(int room) {
    const std::unique_ptr<void, FilterDeleter> filter(::seccomp_init(SCMP_ACT_ERRNO(ENOSYS)));
    if (!filter) return false;
    constexpr int allowed[] = {SCMP_SYS(read),
                               SCMP_SYS(write),
                               SCMP_SYS(writev),
                               SCMP_SYS(pread64),
                               SCMP_SYS(lseek),
                               SCMP_SYS(close),
                               SCMP_SYS(sendmsg),
                               SCMP_SYS(recvmsg),
                               SCMP_SYS(recvfrom),
                               SCMP_SYS(munmap),
                               SCMP_SYS(mremap),
                               SCMP_SYS(brk),
                               SCMP_SYS(madvise),
                               SCMP_SYS(futex),
                               SCMP_SYS(set_robust_list),
                               SCMP_SYS(rseq),
                               SCMP_SYS(rt_sigprocmask),
                               SCMP_SYS(rt_sigaction),
                               SCMP_SYS(rt_sigreturn),
                               SCMP_SYS(sigaltstack),
                               SCMP_SYS(sched_getaffinity),
                               SCMP_SYS(sched_yield),
                               SCMP_SYS(exit),
                               SCMP_SYS(exit_group),
                               SCMP_SYS(gettid),
                               SCMP_SYS(getpid),
                               SCMP_SYS(clock_gettime),
                               SCMP_SYS(clock_getres),
                               SCMP_SYS(clock_nanosleep),
                               SCMP_SYS(gettimeofday),
                               SCMP_SYS(time),
                               SCMP_SYS(getrandom),
                               SCMP_SYS(getrusage),
                               SCMP_SYS(getcpu),
                               SCMP_SYS(restart_syscall)};
    for (const int call : allowed)
        if (::seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, call, 0) != 0) return false;
    const auto allow = [&filter](int call, std::initializer_list<scmp_arg_cmp> conditions) {
        return ::seccomp_rule_add_array(filter.get(), SCMP_ACT_ALLOW, call, static_cast<unsigned>(conditions.size()),
                                        conditions.begin()) == 0;
    };
    constexpr int uncounted = MAP_SHARED | MAP_GROWSDOWN | MAP_HUGETLB;
    const auto runs = where(2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0);
    // Threads, but no processes; pages that are written and counted, but none that are run; signals and limits for
    // itself.
    return allow(SCMP_SYS(clone), {where(0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD)}) &&
           allow(SCMP_SYS(mmap), {runs, where(3, SCMP_CMP_MASKED_EQ, uncounted, 0)}) &&
           allow(SCMP_SYS(mmap),
                 {runs, where(3, SCMP_CMP_EQ, MAP_SHARED), where(4, SCMP_CMP_EQ, static_cast<scmp_datum_t>(room))}) &&
           allow(SCMP_SYS(mprotect), {runs}) && allow(SCMP_SYS(prctl), {where(0, SCMP_CMP_EQ, PR_SET_NAME)}) &&
           allow(SCMP_SYS(tgkill), {where(0, SCMP_CMP_EQ, static_cast<scmp_datum_t>(::getpid()))}) &&
           allow(SCMP_SYS(prlimit64), {where(0, SCMP_CMP_EQ, 0), where(1, SCMP_CMP_EQ, RLIMIT_CPU)}) &&
           ::seccomp_load(filter.get()) == 0;
}

}  // namespace

bool enterSandbox(const HelperOrder& order, int room) {
    std::set_new_handler([] { ::_exit(exitForMemory); });
    const auto seconds = static_cast<rlim_t>(order.seconds * slowness);
    const bool hasTime =
        order.isEachOrder != 0 ? limit(RLIMIT_CPU, seconds, RLIM_INFINITY) : limit(RLIMIT_CPU, seconds, seconds + 1);
    if (!hasTime || !limit(RLIMIT_CORE, 0, 0) || ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return false;
    if (isSanitized) return true;
    return limit(RLIMIT_DATA, static_cast<rlim_t>(order.bytesOfMemory), static_cast<rlim_t>(order.bytesOfMemory)) &&
           limit(RLIMIT_FSIZE, 0, 0) && limit(RLIMIT_NOFILE, filesOpened, filesOpened) &&
           ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && filterCalls(room);
}

int mindMemory(int code) {
    if (code == -ENOMEM) ::_exit(exitForMemory);
    return code;
}

void grantTime(std::int64_t seconds) {
    rusage used{};
    ::getrusage(RUSAGE_SELF, &used);
    limit(RLIMIT_CPU, static_cast<rlim_t>(used.ru_utime.tv_sec + used.ru_stime.tv_sec + 1 + seconds * slowness),
          RLIM_INFINITY);
}

}  // namespace korvane
