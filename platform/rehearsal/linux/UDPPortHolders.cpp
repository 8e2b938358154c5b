#include "platform/rehearsal/UDPPortHolders.h"

#include "base/Text.h"
#include "platform/files/Files.h"
#include "platform/processes/ProcessTable.h"
#include "platform/processes/linux/OpenFiles.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <string>

namespace corvane {
namespace {

/// The sockets that are bound to the port, as /proc/PID/fd names them, from a table like /proc/net/udp:
/// "  sl  local_address rem_address st tx_queue:rx_queue tr:tm->when retrnsmt uid timeout inode …".
void addSockets(const char *table, std::uint16_t port, std::set<std::string> &sockets) {
    Bytes bytes;
    try {
        bytes = readFile(table);
    } catch (const FileError &) {
        return; // a system without IPv6 has one table only
    }
    for (const std::string &line :
         nonEmptyLines({reinterpret_cast<const char *>(bytes.data()), bytes.size()})) {
        std::istringstream fields(line);
        std::string field;
        std::string local;
        std::string inode;
        fields >> field >> local;
        for (int i = 0; i < 7; ++i)
            fields >> field;
        const auto colon = local.rfind(':');
        if (!(fields >> inode) || colon == std::string::npos)
            continue;
        unsigned number = 0;
        std::istringstream hexadecimal(local.substr(colon + 1));
        if (hexadecimal >> std::hex >> number && number == port)
            sockets.insert("socket:[" + inode + "]");
    }
}

bool takesPart(const ProcessIdentity &process, const std::set<std::string> &files,
               const Rehearsal &rehearsal) {
    const auto ours = processesRunningBelow(rehearsal.root());
    return files.count(rehearsal.participantsFile().string()) > 0 ||
           std::find(ours.begin(), ours.end(), process) != ours.end();
}

} // namespace

bool isUDPPortHeldByParticipants(std::uint16_t port, const Rehearsal &rehearsal) {
    std::set<std::string> sockets;
    addSockets("/proc/net/udp", port, sockets);
    addSockets("/proc/net/udp6", port, sockets);
    std::set<std::string> ofParticipants;
    for (const pid_t pid : processNumbers()) {
        const std::set<std::string> files = openFiles(pid);
        const bool holds = std::any_of(sockets.begin(), sockets.end(),
                                       [&](const std::string &socket) { return files.count(socket) > 0; });
        if (!holds)
            continue;
        const auto process = livingProcess(pid);
        if (!process || !takesPart(*process, files, rehearsal))
            return false;
        for (const std::string &socket : sockets)
            if (files.count(socket) > 0)
                ofParticipants.insert(socket);
    }
    return !sockets.empty() && ofParticipants == sockets;
}

} // namespace corvane
