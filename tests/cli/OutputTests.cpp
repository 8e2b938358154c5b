#include "cli/Output.h"

#include "tests/support/Peers.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <unistd.h>

namespace corvane::cli {
namespace {

/// A terminal in the place of standard error.
class Terminal {
public:
    Terminal() : screen(::posix_openpt(O_RDWR | O_NOCTTY)), usual(::dup(STDERR_FILENO)) {
        if (::grantpt(screen.get()) != 0 || ::unlockpt(screen.get()) != 0)
            return;
        const char *name = ::ptsname(screen.get());
        line = Descriptor(name ? ::open(name, O_RDWR | O_NOCTTY) : -1);
        isThere = line.get() >= 0 && ::dup2(line.get(), STDERR_FILENO) == STDERR_FILENO;
    }
    ~Terminal() { ::dup2(usual.get(), STDERR_FILENO); }

    /// What has been shown, as it was sent, once it has come up to `end`, or all that came.
    std::string shownUpTo(const std::string &end) const {
        constexpr int readTimeoutInMilliseconds = 10'000;
        std::string text;
        pollfd wanted{screen.get(), POLLIN, 0};
        while (text.find(end) == std::string::npos && ::poll(&wanted, 1, readTimeoutInMilliseconds) == 1) {
            char piece[256];
            const auto count = ::read(screen.get(), piece, sizeof piece);
            if (count <= 0)
                break;
            text.append(piece, static_cast<std::size_t>(count));
        }
        return text;
    }

    bool isThere = false;

private:
    Descriptor screen;
    Descriptor line;
    Descriptor usual;
};

TEST(Output, ProgressSteersNoTerminalAndGoesAway) {
    const Terminal terminal;
    if (!terminal.isThere)
        GTEST_SKIP() << "no terminal to be had";
    {
        StandardOutput output;
        output.progress("LV1 found: A\x1B]0;title\x07\u009B2J\nB");
    }
    EXPECT_EQ(terminal.shownUpTo("\033[K"), "LV1 found: A ]0;title  2J B\r\033[K");
}

TEST(Output, AMessageKeepsItsLinesAndNoOtherControls) {
    testing::internal::CaptureStderr();
    printError("Multicast: A\x1B[2J\nBonjour: B\r\u0085");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Multicast: A [2J\nBonjour: B  \n");
}

} // namespace
} // namespace corvane::cli
