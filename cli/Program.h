#pragma once

#include <string>
#include <vector>

namespace corvane::cli {

/// Runs the command that the arguments ask for, to its end, and prints its message if it failed. Returns the
/// exit status. SIGINT and SIGTERM end the command in order. `arguments` are without the program's name.
int run(const std::vector<std::string> &arguments);

} // namespace corvane::cli
