#pragma once

#include <cstdint>
#include <vector>

namespace corvane {

/// Bytes as they go to or come from a file or a socket.
using Bytes = std::vector<std::uint8_t>;

} // namespace corvane
