#pragma once

#include "lv1/LV1Client.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

/// What is to be done when the client reports its Bonjour hosts (`onServices`), in the window and on the
/// command line alike. Hosts heard by multicast take precedence: when there are any, nothing happens. A sole
/// service is connected to at once. Returns the status text to show, if any: that there are several is said
/// once a list while a console has accepted the link.
///
/// A sole service is reported at least twice: when it is found, without an address yet, and when it has been
/// resolved; and the resolver may answer again at any time. So a link that already leads to that service,
/// be it in the middle of its handshake, is left alone.
std::optional<std::string> chooseHost(LV1Client &client, const std::vector<LV1Endpoint> &endpoints,
                                      const std::vector<std::shared_ptr<NetService>> &services);

} // namespace corvane
