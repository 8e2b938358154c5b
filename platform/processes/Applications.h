#pragma once

#include "platform/files/FileHandle.h"

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

/// A program that was running when it was looked for. Asked on the main queue.
class RunningApplication {
public:
    virtual ~RunningApplication() = default;
    /// An ordinary request to quit (SIGTERM on Linux).
    virtual void terminate() = 0;
    virtual void forceTerminate() = 0;
    virtual bool isTerminated() const = 0;
};

/// Finds running programs: by bundle identifier on macOS, by the exact path of the program file on Linux and
/// in a rehearsal.
class RunningApplications {
public:
    virtual ~RunningApplications() = default;
    /// The first one that runs; null when none does. Never throws.
    virtual std::shared_ptr<RunningApplication> find(const std::string &bundleIdentifier,
                                                     const std::filesystem::path &program) const = 0;
};

/// As this system finds them, outside a rehearsal.
std::unique_ptr<RunningApplications> makeRunningApplications();

/// A program to be started.
struct ProcessDescription {
    std::filesystem::path program;
    std::vector<std::string> arguments; ///< without the program itself
    /// Set in addition to this process's own environment, overwriting it.
    std::vector<std::pair<std::string, std::string>> environment;
};

/// Starts programs that live on after this one. A started program inherits nothing but its environment and
/// `output` as both standard output and standard error; when it ends it counts as terminated at once.
class ProcessLauncher {
public:
    virtual ~ProcessLauncher() = default;
    /// Throws FileError when the program cannot be started.
    virtual void start(const ProcessDescription &process, const FileHandle &output) = 0;
};

} // namespace corvane
