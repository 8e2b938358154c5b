#pragma once

#include "platform/processes/UDPPortHolders.h"

#include <string>
#include <vector>

namespace corvane::cli {

/// Who holds a UDP port of this computer, as people are told of it.
struct HeldPort {
    /// Of several the last of these is in the way.
    enum class Holder { nobody, liveTrax, corvane, other };

    Holder holder = Holder::nobody;
    std::string name; ///< of the program: "Thunderbird (process 4711)"
};

/// Of several holders the one that is in the way.
HeldPort heldPort(const std::vector<UDPPortHolder> &holders);

/// What is to be said beneath "UDP port … is in use by another program.": that this is LiveTrax or Corvane's
/// own window, which nobody would look for under that name. Empty for any other program.
std::string ownHolder(const std::vector<UDPPortHolder> &holders);

} // namespace corvane::cli
