// A program for tests to start: it prints what it was given, one "key=value" a line, then "end". With the
// argument --stay it lives on until a signal ends it, a minute at most; with --deaf it does so ignoring
// SIGTERM.

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

extern char **environ;

namespace {

void printDescriptors() {
    std::vector<std::string> lines;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const auto target = std::filesystem::read_symlink(entry.path(), error).string();
        // The one that lists them is not given.
        if (!error && target.find("/fd") == std::string::npos)
            lines.push_back("descriptor=" + entry.path().filename().string() + " " + target);
    }
    for (const std::string &line : lines)
        std::puts(line.c_str());
}

void printSignals() {
    sigset_t mask;
    sigprocmask(SIG_SETMASK, nullptr, &mask);
    for (int signal = 1; signal < NSIG; ++signal) {
        if (sigismember(&mask, signal) == 1)
            std::printf("blocked=%d\n", signal);
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
            std::printf("ignored=%d\n", signal);
    }
}

bool has(int count, char **arguments, const std::string &wanted) {
    for (int i = 1; i < count; ++i)
        if (arguments[i] == wanted)
            return true;
    return false;
}

/// Binds the UDP port that follows --hold, for as long as the program lives.
void holdPort(int count, char **arguments) {
    for (int i = 1; i + 1 < count; ++i) {
        if (std::string(arguments[i]) != "--hold")
            continue;
        const int held = ::socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(arguments[i + 1])));
        if (::bind(held, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
            std::perror("bind");
    }
}

} // namespace

int main(int count, char **arguments) {
    ::alarm(60);
    for (int i = 0; i < count; ++i)
        std::printf("argument=%s\n", arguments[i]);
    for (char **entry = environ; *entry; ++entry)
        std::printf("environment=%s\n", *entry);
    printDescriptors();
    printSignals();
    std::printf("pid=%d\nparent=%d\nsession=%d\n", ::getpid(), ::getppid(), ::getsid(0));
    holdPort(count, arguments);
    const bool deaf = has(count, arguments, "--deaf");
    if (deaf)
        std::signal(SIGTERM, SIG_IGN);
    std::puts("end");
    std::fflush(stdout);
    std::fputs("error output\n", stderr);
    if (deaf || has(count, arguments, "--stay"))
        for (;;)
            ::pause();
    return 0;
}
