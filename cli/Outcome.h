#pragma once

#include <stdexcept>
#include <string>

namespace corvane::cli {

/// What scripts rely on; see the README's table.
namespace status {
constexpr int done = 0;
constexpr int refused = 1;
constexpr int wrongUsage = 2;
constexpr int noAnswer = 3;
constexpr int interrupted = 130;
} // namespace status

/// How a command ended: its exit status and, when it failed, the one message for standard error.
struct Outcome {
    int status = status::done;
    std::string message;
};

/// Ends a command with a status of its own. Any other exception means `refused`, with its text.
class CommandFailure : public std::runtime_error {
public:
    CommandFailure(int status, const std::string &message) : std::runtime_error(message), status(status) {}
    int status;
};

} // namespace corvane::cli
