#pragma once

#include <string>

namespace corvane {

/// The system by its name and version, for support: "Debian GNU/Linux 12 (bookworm), Linux 6.1.0 x86_64".
std::string systemDescription();

/// The kernel alone.
std::string kernelDescription();

} // namespace corvane
