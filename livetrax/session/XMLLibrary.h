#pragma once

#include <string>

namespace corvane {

/// The version of the library that reads and writes sessions, "2.9.14".
std::string xmlLibraryVersion();

} // namespace corvane
