#include "platform/processes/ProgramRunningApplications.h"

namespace corvane {

std::unique_ptr<RunningApplications> makeRunningApplications() {
    return std::make_unique<ProgramRunningApplications>();
}

} // namespace corvane
