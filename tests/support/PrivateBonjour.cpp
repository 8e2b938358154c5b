#include "tests/support/PrivateBonjour.h"

#include "tests/support/Peers.h"
#include "tests/support/PrivateNetwork.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

#ifdef __linux__
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#endif

#ifdef __SANITIZE_THREAD__
// The libraries below dns_sd.h are not built for the thread sanitizer: what they do with their own locks it
// sees in part only, and gets wrong.
extern "C" const char *__tsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "called_from_lib:libdbus-1.so\n"
           "called_from_lib:libavahi-client.so\n"
           "called_from_lib:libavahi-common.so\n"
           "called_from_lib:libdns_sd.so\n"
           "deadlock:libdbus-1.so\n"
           "race:libdbus-1.so\n";
}
#endif

namespace corvane {

namespace {

const std::string busSocket = "/run/dbus/system_bus_socket";

constexpr const char *busConfiguration = R"(<busconfig>
  <type>system</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
)";

constexpr const char *daemonConfiguration = R"([server]
host-name=console
use-ipv4=yes
use-ipv6=no
allow-interfaces=lo,corvane0
enable-dbus=yes
cache-entries-max=16384
[publish]
publish-workstation=no
)";

bool isInstalled(const std::string &program) {
    return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

// An ordinary user's namespace knows one user and one group, both 0. The daemon insists that its folder is
// its own user's, and so that user is 0 here, whoever runs the test.
constexpr const char *userDatabase = "root:x:0:0::/:/bin/sh\navahi:x:0:0::/:/bin/false\n";
constexpr const char *groupDatabase = "root:x:0:\navahi:x:0:\n";

std::string textIn(const std::string &file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Looks again and again whether something real has happened, until then, until the program that is to make
/// it happen has ended, or until it has been long enough.
template <class Condition>
bool poll(Child &program, const std::string &log, Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + testTimeout;
    while (!condition()) {
        if (program.hasEnded() || std::chrono::steady_clock::now() > deadline) {
            std::cerr << textIn(log);
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

#ifdef __linux__
/// Puts another text in a file's place for those who live in this file system; the file itself stays as it
/// is.
bool replaceFile(const std::string &file, const char *text) {
    const std::string other = "/run/" + std::filesystem::path(file).filename().string();
    std::ofstream(other) << text;
    return ::mount(other.c_str(), file.c_str(), nullptr, MS_BIND, nullptr) == 0;
}
#endif

} // namespace

Child::Child(const std::vector<std::string> &command, const std::string &log) : process(::fork()) {
    if (process != 0)
        return;
#ifdef __linux__
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    const int output = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    ::dup2(output, 1);
    ::dup2(output, 2);
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const auto &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    ::execvp(arguments[0], arguments.data());
    ::_exit(127);
}

Child::Child(Child &&other) noexcept : process(std::exchange(other.process, -1)) {}

Child &Child::operator=(Child &&other) noexcept {
    std::swap(process, other.process);
    return *this;
}

void Child::kill() {
    if (process <= 0)
        return;
    ::kill(process, SIGKILL);
    ::waitpid(std::exchange(process, -1), nullptr, 0);
}

bool Child::hasEnded() {
    if (process > 0 && ::waitpid(process, nullptr, WNOHANG) == process)
        process = -1;
    return process <= 0;
}

bool PrivateBonjour::enter(std::string &reason) {
    for (const char *program : {"dbus-daemon", "avahi-daemon", "avahi-publish", "dbus-send"}) {
        if (!isInstalled(program)) {
            reason = std::string(program) + " is not installed";
            return false;
        }
    }
    if (!PrivateNetwork::enter(reason, {.loopbackMulticast = true}))
        return false;
#ifdef __linux__
    if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("tmpfs", "/run", "tmpfs", 0, nullptr) != 0 || !replaceFile("/etc/passwd", userDatabase) ||
        !replaceFile("/etc/group", groupDatabase)) {
        reason = "no file system of its own is permitted";
        return false;
    }
#endif
    std::filesystem::create_directories("/run/dbus");
    std::filesystem::create_directories("/run/avahi-daemon");
    std::ofstream("/run/bus.conf") << busConfiguration;
    std::ofstream("/run/avahi.conf") << daemonConfiguration;
    return true;
}

bool PrivateBonjour::startBus() {
    std::filesystem::remove(busSocket);
    bus = Child({"dbus-daemon", "--config-file=/run/bus.conf", "--nofork", "--nopidfile"}, "/run/bus.log");
    return poll(bus, "/run/bus.log", [] { return std::filesystem::exists(busSocket); });
}

bool PrivateBonjour::startDaemon() {
    std::filesystem::remove("/run/avahi-daemon/pid");
    daemon = Child({"avahi-daemon", "-f", "/run/avahi.conf", "--no-drop-root", "--no-chroot", "--no-rlimits"},
                   "/run/avahi.log");
    return poll(daemon, "/run/avahi.log", [] {
        return std::system("dbus-send --system --print-reply --dest=org.freedesktop.Avahi / "
                           "org.freedesktop.Avahi.Server.GetState 2>/dev/null | grep -q 'int32 2'") == 0;
    });
}

void PrivateBonjour::freezeDaemon() const {
    if (daemon.isRunning()) // else this would be everybody
        ::kill(daemon.processIdentifier(), SIGSTOP);
}

void PrivateBonjour::thawDaemon() const {
    if (daemon.isRunning())
        ::kill(daemon.processIdentifier(), SIGCONT);
}

bool PrivateBonjour::publish(const std::string &name, std::uint16_t port) {
    const std::string log = "/run/publish-" + std::to_string(port) + ".log";
    std::filesystem::remove(log);
    published[name] = Child({"avahi-publish", "-s", name, "_waveslv113._tcp", std::to_string(port)}, log);
    return poll(published[name], log,
                [&] { return textIn(log).find("Established under name") != std::string::npos; });
}

} // namespace corvane
