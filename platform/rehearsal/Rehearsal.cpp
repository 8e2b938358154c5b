#include "platform/rehearsal/Rehearsal.h"

#include "platform/files/Files.h"
#include "platform/processes/ProcessTable.h"
#include "platform/processes/UDPPortHolders.h"

#include <algorithm>

#include <cerrno>
#include <string>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <fcntl.h>

namespace corvane {
namespace {

std::filesystem::path madeRoot(const std::filesystem::path &folder) {
    createFolders(folder);
    std::error_code error;
    std::filesystem::path root = std::filesystem::canonical(folder, error);
    if (error)
        throw FileError::cannot("read", folder, error.value());
    return root;
}

} // namespace

Rehearsal::Rehearsal(const std::filesystem::path &folder, const std::vector<std::uint16_t> &ports,
                     const HeldByParticipants &heldByParticipants)
    : folder(madeRoot(folder)), participation(FileHandle::openForAppending(participantsFile())) {
    createFolders(folders().home);
    createFolders(folders().applications);
    for (const std::uint16_t port : ports)
        if (isUDPPortInUse(port) && !heldByParticipants(port, *this))
            throw PortInUse(port);
}

StandardFolders Rehearsal::folders() const {
    const std::filesystem::path home = folder / "home";
    return {home, folder / "Applications", [home] { return musicFolderIn(home); }};
}

bool isUDPPortInUse(std::uint16_t port) {
    // Binding to every address without sharing fails if anybody else holds the port.
    const FileHandle socket(::socket(AF_INET, SOCK_DGRAM, 0));
    if (socket.fileDescriptor() < 0)
        throw FileError("A socket could not be opened: " + std::generic_category().message(errno) + ".");
    ::fcntl(socket.fileDescriptor(), F_SETFD, FD_CLOEXEC);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    return ::bind(socket.fileDescriptor(), reinterpret_cast<const sockaddr *>(&address), sizeof address) !=
               0 &&
           errno == EADDRINUSE;
}

bool isUDPPortHeldByParticipants(std::uint16_t port, const Rehearsal &rehearsal) {
    const auto holders = udpPortHolders(port);
    const auto ours = processesRunningBelow(rehearsal.root());
    return !holders.empty() && std::all_of(holders.begin(), holders.end(), [&](const UDPPortHolder &holder) {
        return hasOpen(holder.pid, rehearsal.participantsFile()) ||
               std::any_of(ours.begin(), ours.end(),
                           [&](const ProcessIdentity &process) { return process.pid == holder.pid; });
    });
}

} // namespace corvane
