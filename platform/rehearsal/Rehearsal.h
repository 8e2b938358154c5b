#pragma once

#include "platform/files/FileHandle.h"
#include "platform/files/StandardFolders.h"
#include "platform/net/PortInUse.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

namespace corvane {

/// A folder that stands for a whole machine while this program runs. As long as a program takes part it keeps
/// a file of the folder open, by which the others know it.
class Rehearsal {
public:
    /// Tells whether all programs that hold a UDP port take part in the rehearsal: run from its folder, or
    /// have its file open.
    using HeldByParticipants = std::function<bool(std::uint16_t port, const Rehearsal &rehearsal)>;

    /// Makes the folders that are missing. Throws FileError, and PortInUse when one of the ports that the
    /// rehearsal needs for itself is held by somebody else's program.
    Rehearsal(const std::filesystem::path &folder, const std::vector<std::uint16_t> &ports,
              const HeldByParticipants &heldByParticipants);

    const std::filesystem::path &root() const { return folder; }
    StandardFolders folders() const;
    /// The file that every participant has open.
    std::filesystem::path participantsFile() const { return folder / ".rehearsal"; }
    /// Makes this program the one that has the stand-ins start and end. False when another one that runs is.
    bool lead() const { return participation.tryLock(); }

private:
    std::filesystem::path folder;
    FileHandle participation;
};

/// Whether every program that holds the UDP port takes part in the rehearsal. A holder that cannot be found
/// out (a program of another user) does not.
bool isUDPPortHeldByParticipants(std::uint16_t port, const Rehearsal &rehearsal);

} // namespace corvane
