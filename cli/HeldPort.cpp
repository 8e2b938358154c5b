#include "cli/HeldPort.h"

#include "platform/rehearsal/Rehearsal.h"

#include <exception>

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

std::vector<UDPPortHolder> holdersOfUDPPort(std::uint16_t port) {
    auto holders = udpPortHolders(port);
    try {
        if (holders.empty() && isUDPPortInUse(port))
            holders.emplace_back();
    } catch (const std::exception &) {
        // Without a socket to try with, nothing more is known.
    }
    return holders;
}

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
