#include "platform/processes/UDPPortHolders.h"

#include "platform/files/FileHandle.h"
#include "platform/files/Files.h"

#include <cerrno>
#include <string>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <fcntl.h>

namespace corvane {

std::string described(const UDPPortHolder &holder) {
    if (holder.pid == 0)
        return "a program of another user";
    const std::string process = "process " + std::to_string(holder.pid);
    return holder.program.empty() ? process : holder.program.filename().string() + " (" + process + ")";
}

bool isUDPPortInUse(std::uint16_t port) {
    // Binding to every address without sharing fails if anybody else holds the port.
    const FileHandle socket(::socket(AF_INET, SOCK_DGRAM, 0));
    if (socket.fileDescriptor() < 0)
        throw FileError("A socket could not be opened: " + std::generic_category().message(errno) + ".");
    ::fcntl(socket.fileDescriptor(), F_SETFD, FD_CLOEXEC);
    sockaddr_in address{}; // every one
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    return ::bind(socket.fileDescriptor(), reinterpret_cast<const sockaddr *>(&address), sizeof address) !=
               0 &&
           errno == EADDRINUSE;
}

} // namespace corvane
