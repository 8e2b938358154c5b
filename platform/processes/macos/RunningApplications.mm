#include "platform/host/macos/MacText.h"
#include "platform/macos/MacSystem.h"
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

} // namespace

std::shared_ptr<RunningApplication>
MacRunningApplications::find(const std::string &bundleIdentifier,
                             const std::filesystem::path & /*program*/) const {
    NSArray<NSRunningApplication *> *running =
        [NSRunningApplication runningApplicationsWithBundleIdentifier:nsString(bundleIdentifier)];
    NSRunningApplication *first = running.firstObject;
    if (!first)
        return nullptr;
    return std::make_shared<MacRunningApplication>(first);
}

} // namespace corvane
