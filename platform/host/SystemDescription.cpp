#include "platform/host/SystemDescription.h"

#include <sys/utsname.h>

namespace corvane {

std::string kernelDescription() {
    utsname names{};
    if (::uname(&names) != 0)
        return "an unknown kernel";
    return std::string(names.sysname) + " " + names.release + " " + names.machine;
}

} // namespace corvane
