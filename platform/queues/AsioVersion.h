#pragma once

#include <string>

namespace corvane {

/// The version of the library that queues and sockets are made with, "1.22.1".
std::string asioVersion();

} // namespace corvane
