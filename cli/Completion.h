#pragma once

#include "cli/CommandTree.h"

#include <string>
#include <vector>

namespace corvane::cli {

/// The shells that completions can be made for.
std::vector<std::string> shells();

/// What such a shell completes a command line of corvanectl with.
std::string completion(const std::string &shell, const CommandTree &tree);

} // namespace corvane::cli
