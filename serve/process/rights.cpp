#include "serve/process/rights.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <seccomp.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "text/command_error.h"

namespace diskmgt::serve {

namespace {

[[noreturn]] void fail(const std::string& what, int error) {
    throw CommandError(kPluginUnusable, "cannot " + what + ": " + std::strerror(error) +
                                            "; the endpoint does not run with more rights than it needs");
}

void require(bool isDone, const char* what) {
    if (!isDone) fail(what, errno);
}

void setCapabilities(std::uint32_t kept) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[2] = {{kept, kept, 0}, {0, 0, 0}};
    (void)::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);  // old kernels have none
    require(::syscall(SYS_capset, &header, sets) == 0, "give up capabilities");
}

void dropFromBoundingSet(std::uint32_t kept) {
    for (int number = 0; number < 64; ++number) {
        if (number < 32 && (kept & (1U << number)) != 0) continue;
        if (::prctl(PR_CAPBSET_READ, number, 0, 0, 0) != 1) continue;
        require(::prctl(PR_CAPBSET_DROP, number, 0, 0, 0) == 0, "give up capabilities");
    }
}

/// As SCMP_A0 and its like, which are not C++. For a masked comparison `one` is the mask and `other` the value.
scmp_arg_cmp argument(unsigned number, scmp_compare how, scmp_datum_t one, scmp_datum_t other = 0) {
    return {number, how, one, other};
}

struct FilterEnd {
    void operator()(void* filter) const { seccomp_release(filter); }
};

class Filter {
public:
    Filter() : filter(seccomp_init(SCMP_ACT_ERRNO(EPERM))) {
        if (filter == nullptr) fail("make a system-call filter", ENOMEM);
        check(seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_TSYNC, 1));
        check(seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_OPTIMIZE, 2));  // a search instead of a long list
    }

    void allow(int call) { check(seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, call, 0)); }
    template <typename... Conditions>
    void allowWhen(int call, Conditions... conditions) {
        check(seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, call, sizeof...(conditions), conditions...));
    }
    void set() { check(seccomp_load(filter.get())); }

private:
    static void check(int result) {
        if (result < 0) fail("set the system-call filter", -result);
    }

    std::unique_ptr<void, FilterEnd> filter;
};

constexpr int kOfDescriptors[] = {
    SCMP_SYS(read),        SCMP_SYS(readv),      SCMP_SYS(write),      SCMP_SYS(writev),          SCMP_SYS(close),
    SCMP_SYS(recvfrom),    SCMP_SYS(recvmsg),    SCMP_SYS(accept),     SCMP_SYS(accept4),         SCMP_SYS(getsockname),
    SCMP_SYS(getpeername), SCMP_SYS(getsockopt), SCMP_SYS(epoll_wait), SCMP_SYS(epoll_pwait),     SCMP_SYS(epoll_ctl),
    SCMP_SYS(poll),        SCMP_SYS(ppoll),      SCMP_SYS(lseek),      SCMP_SYS(timerfd_settime),
};
constexpr int kOfTheProcess[] = {
    SCMP_SYS(brk),          SCMP_SYS(munmap),       SCMP_SYS(mremap),         SCMP_SYS(madvise),
    SCMP_SYS(futex),        SCMP_SYS(sched_yield),  SCMP_SYS(clock_gettime),  SCMP_SYS(clock_nanosleep),
    SCMP_SYS(gettimeofday), SCMP_SYS(nanosleep),    SCMP_SYS(getrandom),      SCMP_SYS(getpid),
    SCMP_SYS(gettid),       SCMP_SYS(rt_sigreturn), SCMP_SYS(rt_sigprocmask), SCMP_SYS(restart_syscall),
    SCMP_SYS(exit),         SCMP_SYS(exit_group),   SCMP_SYS(rseq),           SCMP_SYS(set_robust_list),
};

void set(int resource, rlim_t most) {
    rlimit limit{};
    require(::getrlimit(static_cast<__rlimit_resource_t>(resource), &limit) == 0, "read a resource limit");
    if (limit.rlim_max != RLIM_INFINITY && limit.rlim_max < most) most = limit.rlim_max;
    limit = {most, most};
    require(::setrlimit(static_cast<__rlimit_resource_t>(resource), &limit) == 0, "set a resource limit");
}

}  // namespace

void closeInOnItself() {
    require(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0, "refuse new privileges");
#ifndef DISKMGT_EXITS_WHOLE  // a sanitizer looks in
    require(::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0, "keep others from looking in");
#endif
}

void endWithParent() {
    (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);  // cannot fail; one that has ended already shows by its closed sockets
}

void keepRightsOfCollector() {
    if (::geteuid() != 0) return;
    const std::uint32_t kept = (1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH);
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct present[2] = {};
    require(::syscall(SYS_capget, &header, present) == 0, "read the capabilities");
    if ((present[0].permitted & (1U << CAP_SETPCAP)) != 0) dropFromBoundingSet(kept);
    setCapabilities(present[0].permitted & kept);
}

void becomeAccount(unsigned user, unsigned group) {
    if (::geteuid() != 0) {
        if (::geteuid() != user) fail("become another account without root", EPERM);
        return;
    }
    dropFromBoundingSet(0);
    require(::setgroups(0, nullptr) == 0, "leave root's groups");
    require(::setresgid(group, group, group) == 0, "change the group");
    require(::setresuid(user, user, user) == 0, "change the account");
    if (::setuid(0) == 0) fail("change the account for good", EPERM);
}

void dropCapabilities() { setCapabilities(0); }

void limitResources() {
    constexpr rlim_t kDescriptors = 256;  // 64 connections, and what listens
    constexpr rlim_t kMemory = rlim_t{1} << 30;
    set(RLIMIT_CORE, 0);
    set(RLIMIT_NOFILE, kDescriptors);
#ifndef DISKMGT_EXITS_WHOLE  // a sanitizer's shadow is larger
    set(RLIMIT_AS, kMemory);
    set(RLIMIT_NPROC, 0);
#else
    (void)kMemory;
#endif
}

void filterSystemCalls() {
    Filter filter;
    for (const int call : kOfDescriptors) filter.allow(call);
    for (const int call : kOfTheProcess) filter.allow(call);
    // With this flag sending connects first.
    filter.allowWhen(SCMP_SYS(sendto), argument(3, SCMP_CMP_MASKED_EQ, MSG_FASTOPEN, 0));
    filter.allowWhen(SCMP_SYS(sendmsg), argument(2, SCMP_CMP_MASKED_EQ, MSG_FASTOPEN, 0));
    // A socket that listens is the keeper's too: this must not make it deaf.
    filter.allowWhen(SCMP_SYS(shutdown), argument(1, SCMP_CMP_EQ, SHUT_WR));
    // No lingering: the last process to close such a socket would wait for its peer.
    filter.allowWhen(SCMP_SYS(setsockopt), argument(1, SCMP_CMP_EQ, IPPROTO_TCP));
    // Memory is never executable, and no file becomes memory.
    filter.allowWhen(SCMP_SYS(mmap), argument(2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0),
                     argument(3, SCMP_CMP_MASKED_EQ, MAP_ANONYMOUS, MAP_ANONYMOUS));
    filter.allowWhen(SCMP_SYS(mprotect), argument(2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0));
    for (const int command : {F_GETFL, F_SETFL, F_GETFD, F_SETFD, F_GET_SEALS})
        filter.allowWhen(SCMP_SYS(fcntl), argument(1, SCMP_CMP_EQ, static_cast<scmp_datum_t>(command)));
    for (const unsigned long request : {static_cast<unsigned long>(FIONBIO), static_cast<unsigned long>(FIONREAD)})
        filter.allowWhen(SCMP_SYS(ioctl), argument(1, SCMP_CMP_EQ, request));
    // abort(3) ends this process and nothing else.
    filter.allowWhen(SCMP_SYS(tgkill), argument(0, SCMP_CMP_EQ, static_cast<scmp_datum_t>(::getpid())));
    filter.set();
}

}  // namespace diskmgt::serve
