#include "platform/rehearsal/Rehearsal.h"

#include "platform/files/Files.h"
#include "platform/processes/ProcessTable.h"
#include "platform/processes/UDPPortHolders.h"

#include <algorithm>
#include <system_error>

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
