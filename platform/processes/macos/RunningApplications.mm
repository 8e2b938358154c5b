#include "platform/processes/Applications.h"

#include "platform/files/MacText.h"
#include "platform/processes/ProcessTable.h"

#import <AppKit/AppKit.h>

namespace corvane {
namespace {

class MacRunningApplication final : public RunningApplication {
public:
    explicit MacRunningApplication(NSRunningApplication *application)
        : application(application), identity(livingProcess(application.processIdentifier)) {}

    void terminate() override { [application terminate]; }
    void forceTerminate() override { [application forceTerminate]; }
    /// AppKit learns of the end through the main thread's run loop, which the command line does not have:
    /// there the process itself is asked.
    bool isTerminated() const override {
        return application.terminated || (identity && livingProcess(identity->pid) != identity);
    }

private:
    NSRunningApplication *application;
    std::optional<ProcessIdentity> identity;
};

/// Finds running applications by bundle identifier, wherever they were started from.
class MacRunningApplications final : public RunningApplications {
public:
    std::shared_ptr<RunningApplication> find(const std::string &bundleIdentifier,
                                             const std::filesystem::path & /*program*/) const override {
        // One that has just ended is listed until the main thread's next turn.
        for (NSRunningApplication *each in
             [NSRunningApplication runningApplicationsWithBundleIdentifier:nsString(bundleIdentifier)])
            if (!each.terminated)
                return std::make_shared<MacRunningApplication>(each);
        return nullptr;
    }
};

} // namespace

std::unique_ptr<RunningApplications> makeRunningApplications() {
    return std::make_unique<MacRunningApplications>();
}

} // namespace corvane
