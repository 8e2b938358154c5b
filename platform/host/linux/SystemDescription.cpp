#include "platform/host/SystemDescription.h"

#include "platform/files/ShellValue.h"

namespace corvane {

std::string systemDescription() {
    return shellValue("/etc/os-release", "PRETTY_NAME").value_or("Linux") + ", " + kernelDescription();
}

} // namespace corvane
