#pragma once

#include <string>
#include <vector>

namespace corvane {

/// The addresses of the interfaces whose link layer is Ethernet, in the system's order.
std::vector<std::string> linkLayerEthernetAddresses();

} // namespace corvane
