#include "base/Preconditions.h"

#include <cstdio>
#include <cstdlib>

namespace corvane {

void preconditionFailure(std::string_view message) {
    std::fprintf(stderr, "Corvane stops: %.*s\n", static_cast<int>(message.size()), message.data());
    std::abort();
}

} // namespace corvane
