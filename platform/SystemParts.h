#pragma once

#include "platform/Applications.h"
#include "platform/HostInformation.h"
#include "platform/StandardFolders.h"
#include "platform/UserDefaults.h"

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
