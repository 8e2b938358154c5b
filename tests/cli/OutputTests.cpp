#include "cli/Output.h"

#include "tests/support/Peers.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/time.h>
#include <system_error>
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

TEST(Output, ProgressMakesWayForWhatComesNext) {
    const Terminal terminal;
    if (!terminal.isThere)
        GTEST_SKIP() << "no terminal to be had";
    testing::internal::CaptureStdout();
    {
        StandardOutput output;
        output.progress("A");
        output.progress("B");
        output.print("result");
        output.print(" and more");
    }
    printError("end");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "result and more");
    EXPECT_EQ(terminal.shownUpTo("end\r\n"), "A\r\033[KB\r\033[Kend\r\n");
}

/// A pipe in the place of standard error. It is full, and signals come; with the third it is emptied.
class FullPipe {
public:
    FullPipe() : usual(::dup(STDERR_FILENO)) {
        int both[2] = {-1, -1};
        if (::pipe(both) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe");
        reading = Descriptor(both[0]);
        ::dup2(both[1], STDERR_FILENO);
        ::close(both[1]);
        ::fcntl(STDERR_FILENO, F_SETFL, O_NONBLOCK);
        while (::write(STDERR_FILENO, "x", 1) == 1) {
        }
        ::fcntl(STDERR_FILENO, F_SETFL, 0);
        ::fcntl(reading.get(), F_SETFL, O_NONBLOCK);
        emptied = reading.get();
        signals = 0;
        struct sigaction action {};
        action.sa_handler = [](int) {
            const int interrupted = errno; // by which whoever was interrupted sees it
            char byte = 0;
            signals = signals + 1;
            while (signals == 3 && ::read(emptied, &byte, 1) == 1) {
            }
            errno = interrupted;
        };
        ::sigaction(SIGALRM, &action, &before); // without SA_RESTART
        constexpr itimerval often{{0, 5000}, {0, 5000}};
        ::setitimer(ITIMER_REAL, &often, nullptr);
    }
    ~FullPipe() {
        constexpr itimerval never{};
        ::setitimer(ITIMER_REAL, &never, nullptr);
        ::sigaction(SIGALRM, &before, nullptr);
        ::dup2(usual.get(), STDERR_FILENO);
    }

    /// What is in it now, as far as a short message goes.
    std::string content() const {
        char text[16] = {};
        const auto count = ::read(reading.get(), text, sizeof text);
        return {text, count > 0 ? static_cast<std::size_t>(count) : 0U};
    }

private:
    inline static int emptied = -1;
    inline static volatile std::sig_atomic_t signals = 0;
    Descriptor reading;
    Descriptor usual;
    struct sigaction before {};
};

TEST(Output, ASignalThatComesWhileAMessageIsWrittenDoesNotCutItOff) {
    const FullPipe pipe;
    printError("message");
    EXPECT_EQ(pipe.content(), "message\n");
}

TEST(Output, AMessageKeepsItsLinesAndNoOtherControls) {
    testing::internal::CaptureStderr();
    printError("Multicast: A\x1B[2J\nBonjour: B\r\u0085");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Multicast: A [2J\nBonjour: B  \n");
}

} // namespace
} // namespace corvane::cli
