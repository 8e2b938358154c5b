#include "cli/Json.h"

namespace corvane::cli {

namespace {

/// Text that is not UTF-8 (a file's name may be anything) is shown with replacement characters.
constexpr auto onBadText = Json::error_handler_t::replace;

} // namespace

std::string document(const Json &json) {
    return json.dump(2, ' ', false, onBadText) + "\n";
}

std::string line(const Json &json) {
    return json.dump(-1, ' ', false, onBadText);
}

std::optional<std::pair<std::string, int>> addressOf(const NetService &service) {
    const auto host = service.hostName();
    if (!host || service.port() < 1)
        return std::nullopt;
    return std::pair(*host, service.port());
}

Json endpointJson(const LV1Endpoint &endpoint) {
    return {{"name", endpoint.name}, {"host", endpoint.host}, {"port", endpoint.port}, {"mac", endpoint.mac}};
}

Json serviceJson(const NetService &service) {
    Json json{{"name", service.name()}, {"host", nullptr}, {"port", nullptr}};
    if (const auto place = addressOf(service)) {
        json["host"] = place->first;
        json["port"] = place->second;
    }
    return json;
}

} // namespace corvane::cli
