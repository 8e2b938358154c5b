#include "platform/SystemParts.h"

#include "platform/macos/MacSystem.h"

namespace corvane {

SystemParts makeSystemParts() {
    SystemParts parts;
    parts.folders = std::make_unique<MacFolders>();
    parts.defaults = std::make_unique<MacUserDefaults>();
    parts.applications = std::make_unique<MacRunningApplications>();
    parts.host = std::make_unique<MacHostInformation>();
    return parts;
}

} // namespace corvane
