#pragma once

#include "platform/files/StandardFolders.h"
#include "platform/files/UserDefaults.h"
#include "platform/host/HostInformation.h"
#include "platform/processes/Applications.h"

namespace corvane {

/// What the session engine asks of the system it runs on, and no more. It holds nothing: what it refers to
/// must outlive the call that it is given to.
struct RecorderSystem {
    /// Taken out of a bundle that holds these under the same names, as Platform does. The engine sees neither
    /// that bundle nor the network in it.
    template <class Bundle>
    RecorderSystem(const Bundle &bundle)
        : folders(bundle.folders), resources(bundle.resources), defaults(*bundle.defaults),
          applications(*bundle.applications), processes(*bundle.processes), clock(bundle.clock) {}

    const StandardFolders &folders;
    const BundleResources &resources;
    UserDefaults &defaults;
    const RunningApplications &applications;
    ProcessLauncher &processes;
    const WallClock &clock;
};

} // namespace corvane
