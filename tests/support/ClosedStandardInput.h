#pragma once

#include <fcntl.h>
#include <unistd.h>

namespace corvane {

/// While it lives this program has no standard input, as when a service manager has started it: what is
/// opened next gets the number 0.
class ClosedStandardInput {
public:
    ClosedStandardInput() : kept(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
        ::close(STDIN_FILENO);
    }
    ClosedStandardInput(const ClosedStandardInput &) = delete;
    ClosedStandardInput &operator=(const ClosedStandardInput &) = delete;
    ~ClosedStandardInput() {
        ::dup2(kept, STDIN_FILENO);
        ::close(kept);
    }

private:
    int kept;
};

} // namespace corvane
