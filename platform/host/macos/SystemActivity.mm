#include "platform/host/SystemActivity.h"

#import <Foundation/Foundation.h>

namespace corvane {

namespace {

/// Keeps a program whose window is hidden from being put to sleep (App Nap).
class MacSystemActivity final : public SystemActivity {
public:
    ~MacSystemActivity() override { MacSystemActivity::end(); }

    void begin() override {
        if (activity)
            return;
        const auto options = NSActivityUserInitiatedAllowingIdleSystemSleep | NSActivityLatencyCritical;
        activity = [NSProcessInfo.processInfo beginActivityWithOptions:options
                                                                reason:@"Linked to a mixing console"];
    }

    void end() override {
        if (activity)
            [NSProcessInfo.processInfo endActivity:activity];
        activity = nil;
    }

private:
    id activity = nil;
};

} // namespace

std::unique_ptr<SystemActivity> makeSystemActivity() {
    return std::make_unique<MacSystemActivity>();
}

} // namespace corvane
