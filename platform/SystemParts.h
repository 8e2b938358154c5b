#pragma once

#include "platform/files/StandardFolders.h"
#include "platform/files/UserDefaults.h"
#include "platform/host/HostInformation.h"
#include "platform/processes/Applications.h"

#include <memory>

namespace corvane {

/// What every system has in its own way, outside a rehearsal.
struct SystemParts {
    std::unique_ptr<StandardFolders> folders;
    std::unique_ptr<UserDefaults> defaults;
    std::unique_ptr<RunningApplications> applications;
    std::unique_ptr<HostInformation> host;
};

/// The parts of the system that this was built for.
SystemParts makeSystemParts();

} // namespace corvane
