#include "tests/support/RefusedCalls.h"

#ifdef __linux__

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <thread>
#include <utility>
#include <vector>

namespace corvane {

namespace {

/// The system looks at each call of the thread by this little program.
bool runFiltered(std::vector<sock_filter> filter, const std::function<void()> &action) {
    bool isRun = false;
    std::thread([&] {
        const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
        isRun = ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
        if (isRun)
            action();
    }).join();
    return isRun;
}

constexpr sock_filter loaded(std::size_t offset) {
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<unsigned>(offset));
}

constexpr sock_filter unless(unsigned number, unsigned char skipped) {
    return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, skipped);
}

constexpr sock_filter refused(int error = EPERM) {
    return BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error));
}

constexpr sock_filter allowed = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);

bool withoutCall(unsigned number, int error, const std::function<void()> &action) {
    return runFiltered({loaded(offsetof(seccomp_data, nr)), unless(number, 1), refused(error), allowed},
                       action);
}

bool withoutSocketsOf(unsigned family, int error, const std::function<void()> &action) {
    return runFiltered({loaded(offsetof(seccomp_data, nr)), unless(__NR_socket, 3),
                        loaded(offsetof(seccomp_data, args)), unless(family, 1), refused(error), allowed},
                       action);
}

} // namespace

bool withoutSocketOptions(const std::function<void()> &action) {
    return withoutCall(__NR_setsockopt, EPERM, action);
}

bool withoutInterfaceLists(const std::function<void()> &action) {
    return withoutSocketsOf(AF_NETLINK, EPERM, action);
}

bool withoutSockets(const std::function<void()> &action) {
    return withoutSocketsOf(AF_INET, EMFILE, action);
}

bool withoutPorts(const std::function<void()> &action) {
    return withoutCall(__NR_bind, EACCES, action);
}

bool withoutHardLinks(int error, const std::function<void()> &action) {
    std::vector filter{loaded(offsetof(seccomp_data, nr)), unless(__NR_linkat, 1), refused(error)};
#ifdef __NR_link
    filter.insert(filter.end(), {unless(__NR_link, 1), refused(error)});
#endif
    filter.push_back(allowed);
    return runFiltered(std::move(filter), action);
}

bool withoutOpening(const std::function<void()> &action) {
    return withoutCall(__NR_openat, EMFILE, action);
}

bool withoutNewNames(const std::function<void()> &action) {
    return runFiltered({loaded(offsetof(seccomp_data, nr)), unless(__NR_openat, 3),
                        loaded(offsetof(seccomp_data, args[2])),
                        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, O_EXCL, 0, 1), refused(EEXIST), allowed},
                       action);
}

bool withoutClosingRanges(const std::function<void()> &action) {
#ifdef __NR_close_range
    return withoutCall(__NR_close_range, ENOSYS, action);
#else
    action();
    return true;
#endif
}

} // namespace corvane

#else

namespace corvane {

bool withoutSocketOptions(const std::function<void()> &) {
    return false;
}

bool withoutInterfaceLists(const std::function<void()> &) {
    return false;
}

bool withoutSockets(const std::function<void()> &) {
    return false;
}

bool withoutPorts(const std::function<void()> &) {
    return false;
}

bool withoutHardLinks(int, const std::function<void()> &) {
    return false;
}

bool withoutOpening(const std::function<void()> &) {
    return false;
}

bool withoutNewNames(const std::function<void()> &) {
    return false;
}

bool withoutClosingRanges(const std::function<void()> &) {
    return false;
}

} // namespace corvane

#endif
