#pragma once

#include <netinet/in.h>

#include <set>
#include <string>

namespace corvane {

/// The network interfaces on which a socket has joined a multicast group.
class GroupMemberships {
public:
    explicit GroupMemberships(in_addr group) : group(group) {}

    /// Joins on every interface that is up, supports multicast and has an IPv4 address, and leaves the
    /// others: the system allows few memberships, and counts those of interfaces that are gone. Returns what
    /// went wrong, as sentences for the user; empty when every such interface is joined.
    std::string update(int socket);

private:
    std::string join(int socket, unsigned interface, const std::string &name);

    in_addr group;
    std::set<unsigned> joined; ///< by the system's number of the interface
};

} // namespace corvane
