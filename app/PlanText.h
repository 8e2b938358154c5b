#pragma once

#include "livetrax/session/UpdatePlan.h"

#include <string>
#include <vector>

namespace corvane {

/// What an update does to a session, one real change a line: what is added, is called otherwise, moves or
/// goes, and then with how many recordings. Tracks that only change in colour are counted in one line; those
/// that stay as they are do not count.
std::vector<std::string> planLines(const UpdatePlan &plan);

/// The lines under a title. A long list is cut short and ends with how many more there are. Empty when there
/// are no lines.
std::string listing(const std::string &title, const std::vector<std::string> &lines);

} // namespace corvane
