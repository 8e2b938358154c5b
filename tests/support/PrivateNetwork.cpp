#include "tests/support/PrivateNetwork.h"

#ifdef __linux__

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace corvane {

namespace {

std::string systemError(const std::string &what) {
    return what + ": " + std::generic_category().message(errno);
}

/// An ordinary user becomes the root of a user namespace, so that programs it starts may set up the network
/// too.
void becomeRoot(uid_t user, gid_t group) {
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
}

bool bringLoopbackUp(bool multicast, std::string &reason) {
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    bool isUp = ::ioctl(socket, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP | IFF_RUNNING);
    if (multicast)
        request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_MULTICAST);
    isUp = isUp && ::ioctl(socket, SIOCSIFFLAGS, &request) == 0;
    if (!isUp)
        reason = systemError("the loopback interface");
    ::close(socket);
    return isUp;
}

int openOwnNetwork() {
    return ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
}

/// Runs one command of the shell in the calling thread's network.
bool shell(const std::string &command, std::string &reason) {
    const int status = std::system((command + " >/dev/null 2>&1").c_str());
    if (status != 0)
        reason = "`" + command + "` failed";
    return status == 0;
}

} // namespace

bool PrivateNetwork::enter(std::string &reason, Options options) {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    const int before = openOwnNetwork();
    bool isEntered = ::unshare(CLONE_NEWNET) == 0;
    if (!isEntered && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0) {
        isEntered = true;
        becomeRoot(user, group);
    }
    if (!isEntered)
        reason = systemError("unshare");
    if (isEntered && !bringLoopbackUp(options.loopbackMulticast, reason)) {
        ::setns(before, CLONE_NEWNET);
        isEntered = false;
    }
    ::close(before);
    return isEntered;
}

std::unique_ptr<PrivateNetwork::Neighbour> PrivateNetwork::Neighbour::join(std::string &reason) {
    int descriptor = -1;
    std::thread([&] {
        if (::unshare(CLONE_NEWNET) == 0 && bringLoopbackUp(true, reason))
            descriptor = openOwnNetwork();
        else
            reason = systemError("unshare");
    }).join();
    if (descriptor < 0)
        return nullptr;

    std::unique_ptr<Neighbour> neighbour(new Neighbour(descriptor));
    const std::string network = "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(descriptor);
    bool isJoined = shell("ip link add corvane0 type veth peer name corvane1", reason) &&
                    shell("ip link set corvane1 netns " + network, reason) &&
                    shell("ip address add 10.77.0.1/24 dev corvane0", reason) &&
                    shell("ip link set corvane0 up", reason);
    neighbour->inside([&] {
        isJoined = isJoined && shell("ip address add 10.77.0.2/24 dev corvane1", reason) &&
                   shell("ip link set corvane1 up", reason);
    });
    if (!isJoined)
        neighbour.reset();
    return neighbour;
}

PrivateNetwork::Neighbour::~Neighbour() {
    ::close(descriptor);
}

void PrivateNetwork::Neighbour::inside(const std::function<void()> &action) const {
    std::thread([&] {
        if (::setns(descriptor, CLONE_NEWNET) == 0)
            action();
    }).join();
}

} // namespace corvane

#else

namespace corvane {

bool PrivateNetwork::enter(std::string &reason, Options) {
    reason = "this system has no network namespaces";
    return false;
}

std::unique_ptr<PrivateNetwork::Neighbour> PrivateNetwork::Neighbour::join(std::string &reason) {
    reason = "this system has no network namespaces";
    return nullptr;
}

PrivateNetwork::Neighbour::~Neighbour() {
    static_cast<void>(descriptor);
}

void PrivateNetwork::Neighbour::inside(const std::function<void()> &) const {}

} // namespace corvane

#endif
