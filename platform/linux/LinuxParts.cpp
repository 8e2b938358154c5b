#include "platform/SystemParts.h"

#include "platform/JsonUserDefaults.h"
#include "platform/ProgramRunningApplications.h"
#include "platform/linux/LinuxHostInformation.h"
#include "platform/linux/UserFolders.h"

namespace corvane {

SystemParts makeSystemParts() {
    SystemParts parts;
    auto folders = std::make_unique<UserFolders>();
    parts.defaults = std::make_unique<JsonUserDefaults>(folders->configuration() / "corvane/defaults.json");
    parts.folders = std::move(folders);
    parts.applications = std::make_unique<ProgramRunningApplications>();
    parts.host = std::make_unique<LinuxHostInformation>();
    return parts;
}

} // namespace corvane
