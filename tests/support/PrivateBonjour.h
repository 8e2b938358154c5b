#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace corvane {

/// A program that a test has started; killed at the test's end, whatever that end is.
class Child {
public:
    Child() = default;
    /// `program` is looked for along the PATH. Its output goes to `log`.
    Child(const std::vector<std::string> &command, const std::string &log);
    Child(Child &&other) noexcept;
    Child &operator=(Child &&other) noexcept;
    ~Child() { kill(); }

    void kill();
    bool isRunning() const { return process > 0; }
    /// Whether it is there no more, for whatever reason.
    bool hasEnded();
    int processIdentifier() const { return process; }

private:
    int process = -1;
};

/// A DNS-SD daemon that nobody else can talk to: a network with just the loopback interface, a message bus
/// and an avahi-daemon, all of the test's own. Linux only.
class PrivateBonjour {
public:
    /// Moves the calling thread into the network and file system that all this happens in. False with
    /// `reason` when that is not permitted or a program is missing.
    bool enter(std::string &reason);

    /// The bus, which the daemon and its users meet on. Returns once it listens; false, with its own words on
    /// standard error, when it does not. So do those below.
    bool startBus();
    /// Returns once the daemon answers on the bus.
    bool startDaemon();
    void killDaemon() { daemon.kill(); }
    /// Stops the daemon in its tracks: it is there and does not answer.
    void freezeDaemon() const;
    void thawDaemon() const;

    /// Returns once the daemon announces the service.
    bool publish(const std::string &name, std::uint16_t port);
    void withdraw(const std::string &name) { published.erase(name); }

private:
    Child bus;
    Child daemon;
    std::map<std::string, Child> published;
};

} // namespace corvane
