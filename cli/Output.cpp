#include "cli/Output.h"

#include "base/Text.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace corvane::cli {

namespace {

/// Writes all of it; false, with errno set, when that fails.
bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace

StandardOutput::StandardOutput() : terminal(::isatty(STDERR_FILENO) == 1) {}

StandardOutput::~StandardOutput() {
    clearProgress();
}

void StandardOutput::print(std::string_view text) {
    clearProgress();
    if (!writeAll(STDOUT_FILENO, text))
        throw std::system_error(errno, std::generic_category(), "Standard output cannot be written");
}

void StandardOutput::progress(const std::string &text) {
    if (!terminal)
        return;
    clearProgress();
    progressShown = writeAll(STDERR_FILENO, withoutControls(text));
}

void StandardOutput::clearProgress() {
    if (progressShown)
        writeAll(STDERR_FILENO, "\r\033[K");
    progressShown = false;
}

void secureStandardDescriptors() {
    // Opened the wrong way round on purpose: reading from or writing to a descriptor that was closed fails.
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) == -1 && errno == EBADF)
            ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

void printError(const std::string &message) {
    writeAll(STDERR_FILENO, withoutControls(message, "\n") + "\n");
}

} // namespace corvane::cli
