#include "platform/processes/UDPPortHolders.h"

namespace corvane {

std::string described(const UDPPortHolder &holder) {
    if (holder.pid == 0)
        return "a program of another user";
    const std::string process = "process " + std::to_string(holder.pid);
    return holder.program.empty() ? process : holder.program.filename().string() + " (" + process + ")";
}

} // namespace corvane
