#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace corvane {

/// A program that holds a UDP port.
struct UDPPortHolder {
    /// 0 for one that the system does not tell of: another user's.
    pid_t pid = 0;
    std::filesystem::path program; ///< the file that it runs; empty when that cannot be told

    bool operator==(const UDPPortHolder &) const = default;
};

/// The holder as people are told of it: "corvane (process 4711)", "a program of another user".
std::string described(const UDPPortHolder &holder);

/// Whether a program holds the UDP port, on any address. Throws FileError when sockets cannot be made.
bool isUDPPortInUse(std::uint16_t port);

/// Who holds the UDP port of this machine, on whatever address; empty when nobody does. Any thread.
std::vector<UDPPortHolder> udpPortHolders(std::uint16_t port);

/// Whether a process has a file open, given without links in its path. False for one of another user.
bool hasOpen(pid_t pid, const std::filesystem::path &file);

} // namespace corvane
