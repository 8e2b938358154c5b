#include "platform/net/AsioNetwork.h"

#include "platform/net/AsioDatagramConnection.h"
#include "platform/net/AsioStreamConnection.h"
#include "platform/net/LocalNames.h"
#include "platform/queues/AsioRuntime.h"

namespace corvane {

AsioNetwork::AsioNetwork(const AsioRuntime &runtime, HostResolver::LookUp lookUp)
    : context(runtime.context()), resolver(context, std::move(lookUp)) {
    quietDNSServiceLibrary();
}

std::shared_ptr<StreamConnection> AsioNetwork::makeStream(std::string host, std::uint16_t port,
                                                          std::shared_ptr<SerialQueue> queue) {
    return std::make_shared<AsioStreamConnection>(context, resolver, std::move(host), port, std::move(queue));
}

std::shared_ptr<DatagramConnection> AsioNetwork::makeDatagram(std::string remoteHost,
                                                              std::uint16_t remotePort, std::string localHost,
                                                              std::uint16_t localPort,
                                                              std::shared_ptr<SerialQueue> queue) {
    return std::make_shared<AsioDatagramConnection>(
        context, resolver, DatagramEnds{std::move(remoteHost), remotePort, std::move(localHost), localPort},
        std::move(queue));
}

} // namespace corvane
