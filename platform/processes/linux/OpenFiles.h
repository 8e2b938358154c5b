#pragma once

#include <set>
#include <string>

#include <sys/types.h>

namespace corvane {

/// What a process has open, as /proc names it: paths, or texts like "socket:[4711]". Empty for processes of
/// other users.
std::set<std::string> openFiles(pid_t pid);

} // namespace corvane
