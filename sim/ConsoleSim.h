#pragma once

#include "base/Bytes.h"
#include "lv1/LV1Channel.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane::sim {

struct ConsoleSimOptions {
    std::uint16_t port = 0; ///< TCP; 0 for any that is free
    std::string name = "LV1 Stand-in";
    /// The channels instead of the band's own.
    std::optional<std::vector<LV1Channel>> channels;
    /// Where to announce itself once a second: a host, by unicast, or "multicast" for the group. Without one,
    /// or with a host on loopback, only the loopback interface is listened on.
    std::optional<std::string> announce;
    std::chrono::milliseconds announceInterval{1000};
    std::chrono::milliseconds pingInterval{2000};
};

/// A stand-in for a console, on real sockets. It takes any number of clients and tells them all the same.
/// Everything happens on the thread that calls `run` or `poll`, callbacks included.
class ConsoleSim {
public:
    /// Listens from now on. Throws std::system_error when it cannot, or when the host to announce to is
    /// unknown.
    explicit ConsoleSim(ConsoleSimOptions options);
    ~ConsoleSim();

    ConsoleSim(const ConsoleSim &) = delete;
    ConsoleSim &operator=(const ConsoleSim &) = delete;

    /// Something that a client did wrong.
    std::function<void(const std::string &text)> onReport;
    /// Something that happened as it should.
    std::function<void(const std::string &text)> onNote;

    std::uint16_t port() const;
    /// How many clients are connected.
    std::size_t clients() const;
    /// How many of them have been accepted.
    std::size_t acceptedClients() const;

    /// Works until the command or a signal says that it ends.
    void run();
    /// Does what is due and returns: for programs with a loop of their own.
    void poll();
    /// SIGINT and SIGTERM quit.
    void quitOnSignals();
    /// Executes each line that comes from this file, until its end. A command that cannot be executed is
    /// reported. The descriptor stays the caller's.
    void readCommands(int descriptor);

    /// Executes one command line (see `commandHelp`); returns what is wrong with it, if anything.
    std::optional<std::string> command(const std::string &line);
    static const char *commandHelp();

    /// Misbehaves: sends these bytes to every client as they are.
    void sendRaw(const Bytes &bytes);
    /// Misbehaves: breaks every connection with a reset.
    void reset();
    /// Misbehaves: sends each byte in a segment of its own from now on.
    void trickle(bool on);

private:
    class Server;
    std::unique_ptr<Server> server;
};

} // namespace corvane::sim
