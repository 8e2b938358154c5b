#include "platform/processes/ProgramRunningApplications.h"

#include "platform/files/Files.h"
#include "platform/processes/ProcessTable.h"

#include <algorithm>
#include <csignal>
#include <utility>

namespace corvane {
namespace {

class ProgramRunningApplication : public RunningApplication {
public:
    explicit ProgramRunningApplication(ProcessIdentity identity) : identity(identity) {}

    void terminate() override { send(SIGTERM); }
    void forceTerminate() override { send(SIGKILL); }
    bool isTerminated() const override {
        try {
            return livingProcess(identity.pid) != identity;
        } catch (const FileError &) {
            return false; // not known: only a process that is surely gone has terminated
        }
    }

private:
    /// Never to another process that has got the same number since.
    void send(int signal) const {
        if (!isTerminated())
            ::kill(identity.pid, signal);
    }

    ProcessIdentity identity;
};

} // namespace

ProgramRunningApplications::ProgramRunningApplications(std::optional<std::filesystem::path> within)
    : within(std::move(within)) {}

std::shared_ptr<RunningApplication>
ProgramRunningApplications::find(const std::string & /*bundleIdentifier*/,
                                 const std::filesystem::path &program) const {
    try {
        std::vector<ProcessIdentity> running = processesRunning(program);
        if (within && !running.empty()) { // each of the two looks through all processes
            const std::vector<ProcessIdentity> allowed = processesRunningBelow(*within);
            std::erase_if(running, [&](const ProcessIdentity &identity) {
                return std::find(allowed.begin(), allowed.end(), identity) == allowed.end();
            });
        }
        if (!running.empty())
            return std::make_shared<ProgramRunningApplication>(running.front());
    } catch (const FileError &) {
        // What cannot be looked for is not found.
    }
    return nullptr;
}

} // namespace corvane
