#pragma once

#include <string>

namespace corvane {

/// A new random UUID (RFC 4122, version 4), lower-case with hyphens.
std::string makeRandomUUID();

} // namespace corvane
