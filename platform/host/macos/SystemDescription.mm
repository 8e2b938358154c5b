#include "platform/host/SystemDescription.h"

#include "platform/files/MacText.h"

namespace corvane {

std::string systemDescription() {
    NSString *version = NSProcessInfo.processInfo.operatingSystemVersionString;
    return "macOS " + (version ? utf8(version).value_or("") : std::string()) + ", " + kernelDescription();
}

} // namespace corvane
