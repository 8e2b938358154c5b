#pragma once

#include "platform/net/HostResolver.h"
#include "platform/net/Network.h"

#include <memory>
#include <string>

namespace corvane {

class AsioContext;
class AsioRuntime;

/// TCP and UDP by the system's sockets. Its connections may outlive it and the runtime; when the runtime is
/// gone they are closed and silent. A connection that is let go of without `cancel` closes and reports
/// nothing more.
class AsioNetwork final : public Network {
public:
    explicit AsioNetwork(const AsioRuntime &runtime, HostResolver::LookUp lookUp = lookUpHost);

    std::shared_ptr<StreamConnection> makeStream(std::string host, std::uint16_t port,
                                                 std::shared_ptr<SerialQueue> queue) override;
    std::shared_ptr<DatagramConnection> makeDatagram(std::string remoteHost, std::uint16_t remotePort,
                                                     std::string localHost, std::uint16_t localPort,
                                                     std::shared_ptr<SerialQueue> queue) override;

private:
    std::shared_ptr<AsioContext> context;
    HostResolver resolver;
};

} // namespace corvane
