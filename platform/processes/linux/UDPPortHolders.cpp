#include "platform/processes/UDPPortHolders.h"

#include "base/Text.h"
#include "platform/files/Files.h"
#include "platform/processes/ProcessTable.h"

#include <charconv>
#include <set>
#include <sstream>
#include <string>
#include <system_error>

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
        std::uint16_t number = 0;
        std::from_chars(local.data() + colon + 1, local.data() + local.size(), number, 16);
        if (number == port)
            sockets.insert("socket:[" + inode + "]");
    }
}

/// What a process has open, as /proc names it: paths, or texts like "socket:[4711]". Empty for processes of
/// other users.
std::set<std::string> openFiles(pid_t pid) {
    std::set<std::string> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc/" + std::to_string(pid) + "/fd", error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::error_code gone;
        const std::filesystem::path target = std::filesystem::read_symlink(entry->path(), gone);
        if (!gone)
            files.insert(target.string());
    }
    return files;
}

} // namespace

std::vector<UDPPortHolder> udpPortHolders(std::uint16_t port) {
    std::set<std::string> sockets;
    addSockets("/proc/net/udp", port, sockets);
    addSockets("/proc/net/udp6", port, sockets);
    std::vector<UDPPortHolder> holders;
    if (sockets.empty())
        return holders;
    std::set<std::string> withoutHolder = sockets;
    for (const pid_t pid : processNumbers()) {
        bool holds = false;
        for (const std::string &file : openFiles(pid)) {
            holds = holds || sockets.count(file) > 0;
            withoutHolder.erase(file);
        }
        if (holds)
            holders.push_back({pid, programOf(pid).value_or("")});
    }
    if (!withoutHolder.empty())
        holders.emplace_back();
    return holders;
}

bool hasOpen(pid_t pid, const std::filesystem::path &file) {
    return openFiles(pid).count(file.string()) > 0;
}

} // namespace corvane
