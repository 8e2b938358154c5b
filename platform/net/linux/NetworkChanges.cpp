#include "platform/net/NetworkChanges.h"

#include "platform/net/Sockets.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

namespace corvane {

int openNetworkChanges() {
    const int descriptor = openSocket(AF_NETLINK, SOCK_RAW);
    sockaddr_nl groups{};
    groups.nl_family = AF_NETLINK;
    groups.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR;
    if (descriptor < 0 || ::bind(descriptor, reinterpret_cast<const sockaddr *>(&groups), sizeof groups) == 0)
        return descriptor;
    ::close(descriptor);
    return -1;
}

} // namespace corvane
