#include "lv1/HostChoice.h"

namespace corvane {

std::optional<std::string> chooseHost(LV1Client &client, const std::vector<LV1Endpoint> &endpoints,
                                      const std::vector<std::shared_ptr<NetService>> &services) {
    if (!endpoints.empty() || services.empty())
        return std::nullopt;
    if (services.size() > 1)
        return client.mayMentionServices() ? std::optional<std::string>(LV1Client::severalHostsStatus)
                                           : std::nullopt;
    if (!client.leadsTo(*services.front()))
        client.connect(services.front());
    return std::nullopt;
}

} // namespace corvane
