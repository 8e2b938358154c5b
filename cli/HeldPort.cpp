#include "cli/HeldPort.h"

namespace corvane::cli {

namespace {

HeldPort::Holder kindOf(const std::string &program) {
    if (program == "LiveTrax3" || program == "LiveTrax1")
        return HeldPort::Holder::liveTrax;
    if (program == "corvane" || program == "Corvane" || program == "corvanectl")
        return HeldPort::Holder::corvane;
    return HeldPort::Holder::other;
}

} // namespace

HeldPort heldPort(const std::vector<UDPPortHolder> &holders) {
    HeldPort port;
    for (const UDPPortHolder &each : holders) {
        const HeldPort found{kindOf(each.program.filename().string()), described(each)};
        if (found.holder > port.holder)
            port = found;
    }
    return port;
}

std::string ownHolder(const std::vector<UDPPortHolder> &holders) {
    const HeldPort port = heldPort(holders);
    if (port.holder == HeldPort::Holder::liveTrax)
        return "\n  It is held by " + port.name + ".";
    if (port.holder == HeldPort::Holder::corvane)
        return "\n  It is held by " + port.name + ": as long as it runs, it alone talks to LiveTrax.";
    return {};
}

} // namespace corvane::cli
