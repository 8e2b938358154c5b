#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace corvane {

/// One process. Its pid alone is not enough: the system reuses pids.
struct ProcessIdentity {
    pid_t pid = 0;
    std::uint64_t startTime = 0; ///< in the system's own units

    bool operator==(const ProcessIdentity &) const = default;
    /// The one that was started first comes first.
    bool operator<(const ProcessIdentity &other) const {
        return std::pair(startTime, pid) < std::pair(other.startTime, other.pid);
    }
};

/// The living processes that run a program file, the one that was started first before the others. The file
/// may have been replaced or deleted since; links in its path are resolved. Throws FileError when the system
/// does not tell.
std::vector<ProcessIdentity> processesRunning(const std::filesystem::path &program);

/// All living processes whose program file is below a folder. Throws FileError when the system does not tell.
std::vector<ProcessIdentity> processesRunningBelow(const std::filesystem::path &folder);

// What each system answers in its own way

/// The process of that number; none when there is none or when it has ended and waits to be reaped (a
/// zombie). Throws FileError when the system does not tell.
std::optional<ProcessIdentity> livingProcess(pid_t pid);

/// The numbers of all processes.
std::vector<pid_t> processNumbers();

/// The program file that a process runs, by the name that it has or had; none when it cannot be told.
std::optional<std::filesystem::path> programOf(pid_t pid);

} // namespace corvane
