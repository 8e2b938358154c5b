#include "platform/SystemParts.h"

#include "platform/files/JsonUserDefaults.h"
#include "platform/files/linux/UserFolders.h"
#include "platform/host/linux/LinuxHostInformation.h"
#include "platform/processes/ProgramRunningApplications.h"

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
