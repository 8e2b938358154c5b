#include "platform/processes/UDPPortHolders.h"

#include "platform/files/Files.h"
#include "platform/processes/ProcessTable.h"

#include <algorithm>
#include <cstddef>

#include <arpa/inet.h>
#include <libproc.h>
#include <sys/proc_info.h>

namespace corvane {
namespace {

std::vector<proc_fdinfo> openDescriptors(pid_t pid) {
    const int size = ::proc_pidinfo(pid, PROC_PIDLISTFDS, 0, nullptr, 0);
    if (size <= 0)
        return {};
    std::vector<proc_fdinfo> descriptors(static_cast<std::size_t>(size) / sizeof(proc_fdinfo));
    const int got = ::proc_pidinfo(pid, PROC_PIDLISTFDS, 0, descriptors.data(), size);
    descriptors.resize(got <= 0 ? 0 : static_cast<std::size_t>(got) / sizeof(proc_fdinfo));
    return descriptors;
}

template <class Fits>
bool anyDescriptor(pid_t pid, Fits fits) {
    const auto descriptors = openDescriptors(pid);
    return std::any_of(descriptors.begin(), descriptors.end(), fits);
}

bool isUDPSocket(pid_t pid, const proc_fdinfo &descriptor, std::uint16_t port) {
    socket_fdinfo info{};
    if (descriptor.proc_fdtype != PROX_FDTYPE_SOCKET ||
        ::proc_pidfdinfo(pid, descriptor.proc_fd, PROC_PIDFDSOCKETINFO, &info, sizeof info) <= 0)
        return false;
    return info.psi.soi_kind == SOCKINFO_IN &&
           ntohs(static_cast<std::uint16_t>(info.psi.soi_proto.pri_in.insi_lport)) == port;
}

bool isFile(pid_t pid, const proc_fdinfo &descriptor, const std::filesystem::path &path) {
    vnode_fdinfowithpath info{};
    return descriptor.proc_fdtype == PROX_FDTYPE_VNODE &&
           ::proc_pidfdinfo(pid, descriptor.proc_fd, PROC_PIDFDVNODEPATHINFO, &info, sizeof info) > 0 &&
           path == info.pvip.vip_path;
}

} // namespace

std::vector<UDPPortHolder> udpPortHolders(std::uint16_t port) {
    std::vector<UDPPortHolder> holders;
    for (const pid_t pid : processNumbers())
        if (anyDescriptor(pid, [&](const proc_fdinfo &each) { return isUDPSocket(pid, each, port); }))
            holders.push_back({pid, programOf(pid).value_or("")});
    // Of other users' programs the system tells nothing; that the port is taken does.
    try {
        if (holders.empty() && isUDPPortInUse(port))
            holders.emplace_back();
    } catch (const FileError &) {
        // Without a socket to try with, nothing more is known.
    }
    return holders;
}

bool hasOpen(pid_t pid, const std::filesystem::path &file) {
    return anyDescriptor(pid, [&](const proc_fdinfo &each) { return isFile(pid, each, file); });
}

} // namespace corvane
