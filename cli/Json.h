#pragma once

#include "lv1/LV1Endpoint.h"
#include "platform/bonjour/ServiceBrowser.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <utility>

namespace corvane::cli {

/// Objects keep the order of their fields.
using Json = nlohmann::ordered_json;

/// One document, indented, with a line feed at its end.
std::string document(const Json &json);
/// The same on one line, without a line feed.
std::string line(const Json &json);

/// Host and port of a service that has been resolved; none of another.
std::optional<std::pair<std::string, int>> addressOf(const NetService &service);

Json endpointJson(const LV1Endpoint &endpoint);
/// Name, host and port; host and port are null until the service has been resolved.
Json serviceJson(const NetService &service);

} // namespace corvane::cli
